#pragma once

#include "review/ReviewMarking.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

// The parsed command line of quillon-scan. Arguments stay bytes: a path given on the command
// line reaches the scan exactly as the file system names it.
struct CommandLine
{
    QList<QByteArray> paths;                // absolute, "." and ".." resolved lexically
    std::optional<quint64> minimumFileSize; // bytes
    std::optional<QStringList> excludedFolders;
    std::optional<QByteArray> cacheFile;
    bool noCache = false;
    std::optional<KeepRule> keep; // --keep: mark all but one member of every group
    bool trash = false;           // --trash: move the marked files (only with --keep)
    bool json = false;
    bool quiet = false;
    bool help = false;
    bool version = false;

    // Parses argv; on a usage error returns nothing and sets error to the message.
    static std::optional<CommandLine> parse(int argc, char** argv, QString& error);

    // "0", "500", "10K", "1M", "2GiB"...: bytes, suffixes in powers of 1,024. Nothing when the
    // text is not a size or does not fit in 64 bits.
    static std::optional<quint64> parseSize(const QByteArray& text);

    // The path made absolute against the working folder, with "." and ".." components and
    // repeated slashes removed, without resolving links.
    static QByteArray absolutePath(const QByteArray& path);

    static QString helpText();
};
