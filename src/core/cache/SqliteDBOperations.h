#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <atomic>
#include <vector>

struct FileInfoNode;

// The digest cache: class methods only, each opening the database file, doing its work and
// closing it. Values are bound as parameters; what is stored is what a statement with the
// values printed into it ("%f") would store: dates with exactly six decimals of seconds.
class SqliteDBOperations
{
public:
    SqliteDBOperations() = delete;

    // Process-wide: when non-empty, getDbPathInLibrary answers this file, getCachePath its
    // folder, and the copy step puts the shipped database under its file name. Empty restores
    // the caches folder. Set it before a scan starts (quillon-scan --cache FILE).
    static void setDbPathOverride(const QByteArray& path);
    static QByteArray dbPathOverride();

    static QByteArray getDbPathInLibrary(); // <caches folder>/Quillon.db
    static QByteArray getCachePath();       // the caches folder
    static QByteArray getDbPathInBundle();  // the same as getDbPathInLibrary; not called
    // The shipped empty database, as a resource path (":/Quillon.db").
    static QString shippedDatabaseResource();

    // Puts the shipped database in place (destination folder + "/Quillon.db") unless a file is
    // there; logs a failed copy; always true.
    static bool copyDataBaseIfRequieredAtDestination(const QByteArray& destinationFolder,
                                                     const QString& fromPath);
    static void deleteRecordsFromTable(const QString& table, const QByteArray& dbPath);
    // Fills tempTable with the records' paths and modification dates, replacing its rows in
    // the same transaction; record i gets the row number i + 1.
    // A set abortFlag ends the list early, rolled back.
    static void insertDataInTempTable(const QString& table, const QByteArray& dbPath,
                                      const std::vector<FileInfoNode*>& values,
                                      const std::atomic<bool>* abortFlag = nullptr);
    // Fills AppGlobals::dictDataBaseFilesMd5 from the join of tempTable and hashTable. Only
    // after insertDataInTempTable of this process succeeded on the same file: rows left by an
    // earlier scan carry old dates and would hand out the digests of changed files.
    static void fetchHashInfoFromDbPath(const QByteArray& dbPath);
    // The same, given the list that insertDataInTempTable wrote: each key then shares the
    // bytes of its record's filePath instead of holding a copy of its own.
    static void fetchHashInfoFromDbPath(const QByteArray& dbPath, const std::vector<FileInfoNode*>& scanned);
    // Stores the digests of records that have one and were not taken from the cache, a new
    // digest for a known path replacing its row; one transaction per batch.
    static void insertDataInTable(const QString& table, const QByteArray& dbPath,
                                  const std::vector<FileInfoNode*>& values);
    static bool createTablesIfNotExists(const QByteArray& dbPath);

    // The stored form of a date: the value "%f" prints, read back as a double.
    static double storedSeconds(double seconds);
    // Whether tempTable of the file holds exactly the records of the running scan.
    static bool hasFreshTempTable(const QByteArray& dbPath);
};
