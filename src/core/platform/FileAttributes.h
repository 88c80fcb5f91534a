#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// What the file manager reports about one item, read without following a final symbolic link.
struct FileAttributes
{
    enum class Type { Regular, Directory, SymbolicLink, Other };

    Type type = Type::Other;
    quint64 size = 0;      // st_size of the item itself (a link's own size)
    double modDate = 0;    // seconds since 1970, with the sub-second part
    double createDate = 0; // birth time where the file system keeps one, else the earlier of mtime and ctime
    quint64 device = 0;
    quint64 inode = 0;
    qint64 modTimeNs = 0;    // modification time in nanoseconds since 1970, exact
    qint64 changeTimeNs = 0; // status-change time in nanoseconds since 1970, exact

    bool isDirectory() const { return type == Type::Directory; }
    bool isRegular() const { return type == Type::Regular; }
    // The platform's file-type attribute text ("NSFileTypeRegular", ...), kept for iPhoto items.
    QString typeName() const;

    // lstat/statx of the path; nothing when it cannot be examined.
    static std::optional<FileAttributes> ofItem(const QByteArray& path);
    // The same for an entry of an open directory (fstatat/statx relative to dirfd).
    static std::optional<FileAttributes> ofEntry(int dirfd, const char* name);
};
