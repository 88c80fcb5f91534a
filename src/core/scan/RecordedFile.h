#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

struct FileInfoNode;
struct stat;

// A record's file as the hashing stage reads it: opened (any path length, never a FIFO or
// a link), and compared with what the walk saw before its bytes are trusted.
class RecordedFile
{
public:
    static inline const QString kChangedReason = QStringLiteral("changed during the scan");

    // Opens the record's file read-only; -1 with errno on failure.
    static int open(const FileInfoNode& node);
    // Whether an open file still is the regular file the walk recorded: same device, inode,
    // size, and modification and status-change times to the nanosecond.
    static bool matchesRecord(const FileInfoNode& node, const struct stat& st);
    // Whether two fstat results of one open file show no change in between.
    static bool unchanged(const struct stat& before, const struct stat& after);

    // The first and last block of the file: a hash of them in key, or the full digest in md5
    // when the file fits in one block; reason says why neither came.
    struct Edges
    {
        quint64 key = 0;
        QByteArray md5;
        QString reason;
    };
    static Edges readEdges(const FileInfoNode& node, qint64 blockSize);
    // The full digest, checked against the record before and after the read; empty with a
    // reason when the file cannot be read or changed (examined again once), empty without
    // one when stopped.
    static QByteArray digest(const FileInfoNode& node, const std::atomic<bool>* abortFlag, QString& reason);
};
