#include "platform/FileAttributes.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#if __has_include(<sys/sysmacros.h>)
#include <sys/sysmacros.h>
#endif

namespace {

FileAttributes::Type typeOf(mode_t mode)
{
    if (S_ISREG(mode))
        return FileAttributes::Type::Regular;
    if (S_ISDIR(mode))
        return FileAttributes::Type::Directory;
    if (S_ISLNK(mode))
        return FileAttributes::Type::SymbolicLink;
    return FileAttributes::Type::Other;
}

double seconds(qint64 sec, qint64 nsec)
{
    return double(sec) + double(nsec) / 1e9;
}

qint64 nanoseconds(qint64 sec, qint64 nsec)
{
    return sec * 1000000000 + nsec;
}

#ifdef STATX_BTIME
// statx is the one call that reports the birth time; kernels or sandboxes without it (ENOSYS,
// EPERM from a seccomp filter) get the fstatat answer instead.
std::optional<FileAttributes> fromStatx(int dirfd, const char* name, bool* unsupported)
{
    struct statx sx;
    const unsigned mask = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_BTIME | STATX_INO;
    if (::statx(dirfd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, mask, &sx) != 0) {
        *unsupported = errno == ENOSYS || errno == EPERM;
        return std::nullopt;
    }
    FileAttributes a;
    a.type = typeOf(sx.stx_mode);
    a.size = sx.stx_size;
    a.modDate = seconds(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec);
    const double changed = seconds(sx.stx_ctime.tv_sec, sx.stx_ctime.tv_nsec);
    if ((sx.stx_mask & STATX_BTIME) && (sx.stx_btime.tv_sec != 0 || sx.stx_btime.tv_nsec != 0))
        a.createDate = seconds(sx.stx_btime.tv_sec, sx.stx_btime.tv_nsec);
    else
        a.createDate = std::min(a.modDate, changed);
    // The same number st_dev holds, so it can be compared with a plain stat.
    a.device = quint64(makedev(sx.stx_dev_major, sx.stx_dev_minor));
    a.inode = sx.stx_ino;
    a.modTimeNs = nanoseconds(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec);
    a.changeTimeNs = nanoseconds(sx.stx_ctime.tv_sec, sx.stx_ctime.tv_nsec);
    return a;
}
#endif

std::optional<FileAttributes> fromStat(int dirfd, const char* name)
{
    struct stat st;
    if (::fstatat(dirfd, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    FileAttributes a;
    a.type = typeOf(st.st_mode);
    a.size = quint64(st.st_size);
#ifdef Q_OS_MACOS
    a.modDate = seconds(st.st_mtimespec.tv_sec, st.st_mtimespec.tv_nsec);
    a.createDate = seconds(st.st_birthtimespec.tv_sec, st.st_birthtimespec.tv_nsec);
#else
    a.modDate = seconds(st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
    a.createDate = std::min(a.modDate, seconds(st.st_ctim.tv_sec, st.st_ctim.tv_nsec));
#endif
    a.device = quint64(st.st_dev);
    a.inode = quint64(st.st_ino);
#ifdef Q_OS_MACOS
    a.modTimeNs = nanoseconds(st.st_mtimespec.tv_sec, st.st_mtimespec.tv_nsec);
    a.changeTimeNs = nanoseconds(st.st_ctimespec.tv_sec, st.st_ctimespec.tv_nsec);
#else
    a.modTimeNs = nanoseconds(st.st_mtim.tv_sec, st.st_mtim.tv_nsec);
    a.changeTimeNs = nanoseconds(st.st_ctim.tv_sec, st.st_ctim.tv_nsec);
#endif
    return a;
}

std::optional<FileAttributes> examine(int dirfd, const char* name)
{
#ifdef STATX_BTIME
    bool unsupported = false;
    if (std::optional<FileAttributes> a = fromStatx(dirfd, name, &unsupported))
        return a;
    if (!unsupported)
        return std::nullopt;
#endif
    return fromStat(dirfd, name);
}

} // namespace

QString FileAttributes::typeName() const
{
    switch (type) {
    case Type::Regular:
        return QStringLiteral("NSFileTypeRegular");
    case Type::Directory:
        return QStringLiteral("NSFileTypeDirectory");
    case Type::SymbolicLink:
        return QStringLiteral("NSFileTypeSymbolicLink");
    case Type::Other:
        break;
    }
    return QStringLiteral("NSFileTypeUnknown");
}

std::optional<FileAttributes> FileAttributes::ofItem(const QByteArray& path)
{
    if (path.isEmpty() || path.contains('\0'))
        return std::nullopt;
    return examine(AT_FDCWD, path.constData());
}

std::optional<FileAttributes> FileAttributes::ofEntry(int dirfd, const char* name)
{
    if (!name || !*name)
        return std::nullopt;
    return examine(dirfd, name);
}
