#include "scan/FolderListing.h"

#include "platform/Platform.h"
#include "util/PathUtils.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Need { Nothing, Folder, Attributes };

// Hidden names (".DS_Store", ".localized", every other dot name), links and special files are
// never taken; a folder without a dot in its name cannot be a package, so it needs no attributes.
Need needOf(const char* name, unsigned char type)
{
    if (name[0] == '.')
        return Need::Nothing;
    switch (type) {
    case DT_LNK:
    case DT_FIFO:
    case DT_SOCK:
    case DT_CHR:
    case DT_BLK:
        return Need::Nothing;
    case DT_DIR:
        return std::strchr(name, '.') ? Need::Attributes : Need::Folder;
    default:
        return Need::Attributes;
    }
}

// The names of an open folder into listing.names and listing.entries, "." and ".." left out,
// sorted byte for byte; fd stays open.
void readNames(int fd, FolderListing& listing, const std::atomic<bool>* abortFlag)
{
    const auto add = [&](const char* name, unsigned char type) {
        const size_t size = std::strlen(name);
        FolderListing::Entry entry;
        entry.nameAt = quint32(listing.names.size());
        entry.nameSize = quint32(size);
        entry.type = type;
        listing.names.append(name, qsizetype(size + 1));
        listing.entries.push_back(entry);
    };
#ifdef __linux__
    alignas(8) char buffer[32768];
    for (;;) {
        if (abortFlag && abortFlag->load(std::memory_order_relaxed))
            break;
        const ssize_t n = ::getdents64(fd, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0)
                listing.listError = errno;
            break;
        }
        for (ssize_t offset = 0; offset < n;) {
            const auto* e = reinterpret_cast<const struct dirent64*>(buffer + offset);
            offset += e->d_reclen;
            const char* name = e->d_name;
            if (!(name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))))
                add(name, e->d_type);
        }
    }
#else
    const int listed = ::dup(fd);
    if (listed < 0) {
        listing.listError = errno;
        return;
    }
    for (const PathUtils::DirEntry& e : PathUtils::sortedEntries(listed, &listing.listError, abortFlag))
        add(e.name.constData(), e.type);
#endif
    const char* names = listing.names.constData();
    std::sort(listing.entries.begin(), listing.entries.end(),
              [names](const FolderListing::Entry& a, const FolderListing::Entry& b) {
                  return std::strcmp(names + a.nameAt, names + b.nameAt) < 0;
              });
}

} // namespace

FolderListing FolderListing::read(int parentFd, const char* name, const QByteArray& path,
                                  const std::atomic<bool>* abortFlag, int* keptFd)
{
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    FolderListing listing;
    const int fd = parentFd >= 0 ? ::openat(parentFd, name, kFlags) : PathUtils::openDeep(path, kFlags);
    struct stat st;
    if (fd < 0 || ::fstat(fd, &st) != 0) {
        listing.openError = errno;
        if (fd >= 0)
            ::close(fd);
        return listing;
    }
    listing.opened = true;
    listing.device = quint64(st.st_dev);
    listing.inode = quint64(st.st_ino);
    readNames(fd, listing, abortFlag);
    for (size_t i = 0; i < listing.entries.size(); ++i) {
        if (abortFlag && abortFlag->load(std::memory_order_relaxed)) {
            listing.entries.resize(i);
            break;
        }
        Entry& entry = listing.entries[i];
        if (needOf(listing.nameOf(entry), entry.type) == Need::Attributes) {
            errno = 0;
            entry.attributes = FileAttributes::ofEntry(fd, listing.nameOf(entry));
            if (!entry.attributes)
                entry.error = errno;
        }
    }
    // Only a folder with subfolders needs its descriptor afterwards.
    const bool hasFolders = std::any_of(listing.entries.begin(), listing.entries.end(), [](const Entry& e) {
        return e.type == DT_DIR || e.type == DT_UNKNOWN;
    });
    if (keptFd && hasFolders)
        *keptFd = fd;
    else
        ::close(fd);
    return listing;
}

QByteArray FolderListing::pathOf(const QByteArray& folder, const Entry& entry) const
{
    QByteArray path;
    path.reserve(folder.size() + 1 + qsizetype(entry.nameSize));
    path.append(folder);
    if (!folder.isEmpty() && !folder.endsWith('/'))
        path.append('/');
    path.append(nameOf(entry), qsizetype(entry.nameSize));
    return path;
}

FolderListing::Kind FolderListing::kindOf(const Entry& entry) const
{
    switch (needOf(nameOf(entry), entry.type)) {
    case Need::Nothing:
        return Kind::None;
    case Need::Folder:
        return Kind::Folder;
    case Need::Attributes:
        break;
    }
    return entry.attributes ? Kind::Item : Kind::Unreadable;
}

bool FolderListing::isWalkedFolder(const QByteArray& path, const FileAttributes& attributes)
{
    if (!attributes.isDirectory())
        return false;
    const QString ext = PathUtils::lowerExtension(path);
    return ext.isEmpty() || !Platform::isPackageExtension(ext);
}
