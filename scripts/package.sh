#!/usr/bin/env bash
# Builds the Debian package from ./build with CPack and checks it with lintian (errors fail).
set -euo pipefail
cd "$(dirname "$0")/../build"
# Brings the build (and the CPack configuration) up to date first.
cmake --build . -j2 --target quillon quillon-scan quillon_data >/dev/null
rm -f quillon_*.deb
cpack -G DEB >/dev/null
deb=$(ls quillon_*.deb)
echo "package: build/$deb"
lintian --fail-on error "$deb"
