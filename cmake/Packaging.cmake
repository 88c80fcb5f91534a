# The Debian package: `cpack -G DEB` in the build folder makes quillon_<version>-1_<arch>.deb.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillon)
set(CPACK_PACKAGE_VENDOR "The Quillon developers")
set(CPACK_PACKAGE_CONTACT "Quillon developers <quillon@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "desktop duplicate-file finder")
set(CPACK_PACKAGE_DESCRIPTION
    "Quillon finds files with identical contents in folders, files and photo\n"
    "libraries. It groups them by exact size, then by MD5 digest, keeps the\n"
    "digests in a small cache, and moves the copies you mark only to the Trash,\n"
    "after comparing them byte for byte with a copy that stays. The package also\n"
    "contains quillon-scan, the same scanner on the command line. Quillon sends\n"
    "nothing over the network.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QUILLON_HOMEPAGE_URL})
# Library dependencies as dpkg-shlibdeps finds them in the executables.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

include(CPack)
