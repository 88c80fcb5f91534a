#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <atomic>
#include <limits>

// Upkeep of the cache file: putting the shipped empty database in place, replacing a file that
// is not a usable database, and dropping the rows of files that are gone.
class CacheUpkeep
{
public:
    // Writes the shipped database beside target and links it into place, so that no reader
    // ever sees half a file and a database that appeared meanwhile is never replaced.
    static bool install(const QByteArray& folder, const QByteArray& target, const QString& source,
                        QString* error);
    // Moves a corrupt cache aside to "<name>.corrupt" (once per process and file, with a log
    // line) and puts a fresh copy of the shipped database in its place.
    static void replaceCorrupt(const QByteArray& dbPath);
    // Removes the rows below the folders whose files no longer exist; a stop leaves all rows.
    // Only rows up to lastOldRow (fileID) are checked: later ones were written by this scan from
    // files it found. With scannedInTempTable, paths listed in tempTable (found by this scan)
    // are not checked either.
    static void removeRowsOfMissingFiles(const QByteArray& dbPath, const QList<QByteArray>& folders,
                                         const std::atomic<bool>* abortFlag,
                                         qint64 lastOldRow = std::numeric_limits<qint64>::max(),
                                         bool scannedInTempTable = false);
    // The highest fileID in hashTable: 0 when there is no row or no file, the largest value
    // when it cannot be read (then every row counts as old).
    static qint64 lastRowId(const QByteArray& dbPath);
};
