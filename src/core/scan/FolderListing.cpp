#include "scan/FolderListing.h"

#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

enum class Need { Nothing, Folder, Attributes };

// Hidden names (".DS_Store", ".localized", every other dot name), links and special files are
// never taken; a folder without a dot in its name cannot be a package, so it needs no attributes.
Need needOf(const PathUtils::DirEntry& entry)
{
    if (entry.name.startsWith('.'))
        return Need::Nothing;
    switch (entry.type) {
    case DT_LNK:
    case DT_FIFO:
    case DT_SOCK:
    case DT_CHR:
    case DT_BLK:
        return Need::Nothing;
    case DT_DIR:
        return entry.name.contains('.') ? Need::Attributes : Need::Folder;
    default:
        return Need::Attributes;
    }
}

// The names of an open folder, "." and ".." left out, sorted byte for byte; fd stays open.
std::vector<PathUtils::DirEntry> sortedNames(int fd, int* error, const std::atomic<bool>* abortFlag)
{
#ifdef __linux__
    std::vector<PathUtils::DirEntry> entries;
    alignas(8) char buffer[32768];
    for (;;) {
        if (abortFlag && abortFlag->load(std::memory_order_relaxed))
            break;
        const ssize_t n = ::getdents64(fd, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0)
                *error = errno;
            break;
        }
        for (ssize_t offset = 0; offset < n;) {
            const auto* e = reinterpret_cast<const struct dirent64*>(buffer + offset);
            offset += e->d_reclen;
            const char* name = e->d_name;
            if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0)))
                continue;
            entries.push_back({QByteArray(name), e->d_type});
        }
    }
    std::sort(entries.begin(), entries.end(),
              [](const PathUtils::DirEntry& a, const PathUtils::DirEntry& b) { return a.name < b.name; });
    return entries;
#else
    const int listed = ::dup(fd);
    if (listed < 0) {
        *error = errno;
        return {};
    }
    return PathUtils::sortedEntries(listed, error, abortFlag);
#endif
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
    std::vector<PathUtils::DirEntry> names = sortedNames(fd, &listing.listError, abortFlag);
    listing.entries.reserve(names.size());
    for (PathUtils::DirEntry& item : names) {
        if (abortFlag && abortFlag->load(std::memory_order_relaxed))
            break;
        Entry entry{std::move(item), std::nullopt, 0};
        if (needOf(entry.item) == Need::Attributes) {
            errno = 0;
            entry.attributes = FileAttributes::ofEntry(fd, entry.item.name.constData());
            if (!entry.attributes)
                entry.error = errno;
        }
        listing.entries.push_back(std::move(entry));
    }
    if (keptFd)
        *keptFd = fd;
    else
        ::close(fd);
    return listing;
}

FolderListing::Kind FolderListing::kindOf(const Entry& entry)
{
    switch (needOf(entry.item)) {
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
