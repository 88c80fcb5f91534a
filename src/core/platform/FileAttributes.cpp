#include "platform/FileAttributes.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

double seconds(const struct statx_timestamp& t)
{
    return double(t.tv_sec) + double(t.tv_nsec) / 1e9;
}

std::optional<FileAttributes> fromStatx(int dirfd, const char* name)
{
    struct statx sx;
    const unsigned mask = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_BTIME | STATX_INO;
    if (::statx(dirfd, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, mask, &sx) != 0)
        return std::nullopt;
    FileAttributes a;
    if (S_ISREG(sx.stx_mode))
        a.type = FileAttributes::Type::Regular;
    else if (S_ISDIR(sx.stx_mode))
        a.type = FileAttributes::Type::Directory;
    else if (S_ISLNK(sx.stx_mode))
        a.type = FileAttributes::Type::SymbolicLink;
    a.size = sx.stx_size;
    a.modDate = seconds(sx.stx_mtime);
    if (sx.stx_mask & STATX_BTIME)
        a.createDate = seconds(sx.stx_btime);
    else
        a.createDate = std::min(a.modDate, seconds(sx.stx_ctime));
    a.device = (quint64(sx.stx_dev_major) << 32) | sx.stx_dev_minor;
    a.inode = sx.stx_ino;
    return a;
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
    if (path.isEmpty())
        return std::nullopt;
    return fromStatx(AT_FDCWD, path.constData());
}

std::optional<FileAttributes> FileAttributes::ofEntry(int dirfd, const char* name)
{
    return fromStatx(dirfd, name);
}
