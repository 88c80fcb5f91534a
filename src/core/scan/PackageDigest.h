#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

// The digest of a folder package: the digests of all its files, concatenated in sorted
// listing order, subfolders descended, ".DS_Store" and ".localized" skipped, other hidden
// files included. A symbolic link inside adds its target text; other special files add
// nothing. A package with a part that cannot be read gets no digest at all.
class PackageDigest
{
public:
    // Empty when stopped or when a part cannot be read; reason then holds the system's text
    // (empty after a stop).
    static QByteArray calculateMd5ForPackageFile(const QByteArray& path, const std::atomic<bool>* abortFlag,
                                                 QString* reason = nullptr);
};
