#pragma once

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

// How one scan runs beyond the user's settings. The defaults give the application's scan;
// quillon-scan overrides the minimum size, the exclusions and the cache.
struct ScanOptions
{
    std::optional<quint64> minimumFileSize;     // bytes; unset: the settings' minimum size
    std::optional<QStringList> excludedFolders; // unset: the settings' "excludedFolders"
    bool useCache = true;                       // false: the three cache steps are skipped
    int hashThreads = 2;                        // threads that read and digest files
    // Skips the full digest of a file whose first and last blocks differ from those of every
    // other file of its size. Never changes a group of two or more, nor the counts.
    bool prefilter = true;
    // Digests same-size candidates with equal edges side by side, one MD5 per set of
    // byte-identical files. Never changes a digest, a group or the counts.
    bool shareDigests = true;
    // Reads folders ahead of the walk on a second thread. Never changes a record, its order
    // or what is said to be skipped.
    bool listAhead = true;
    // Whether the application with a bundle identifier runs (the photo-library wait);
    // unset: CommonFuncs::checkAppOpen.
    std::function<bool(const QString&)> applicationRunning;
    // Called on the worker thread for each folder the walk enters (tests stop a walk there).
    std::function<void(const QByteArray&)> folderEntered;
};
