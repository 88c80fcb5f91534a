#include "cache/SqliteDBOperations.h"

#include "cache/CacheUpkeep.h"
#include "cache/CacheValues.h"
#include "cache/SqliteConnection.h"

#include "app/AppGlobals.h"
#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QDateTime>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>

#include <atomic>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <limits>
#include <mutex>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kDatabaseFileName[] = "Quillon.db";

constexpr char kJoinSql[] =
    "select t1.filePath, t1.fileModDate, t2.fileID, t2.fileHash, t2.fileCreationDate, "
    "t2.fileModDate, t2.filePath, t2.fileSize from temptable t1, hashtable t2 "
    "where t1.filePath = t2.filePath and t1.fileModDate = t2.fileModDate";
// The same join, with the row number of the scanned path: insertDataInTempTable gives record i
// of its list the row number i + 1, so the lookup can find the record without searching.
constexpr char kJoinWithRowSql[] =
    "select t1.filePath, t1.fileModDate, t2.fileID, t2.fileHash, t2.fileCreationDate, "
    "t2.fileModDate, t2.filePath, t2.fileSize, t1.rowid from temptable t1, hashtable t2 "
    "where t1.filePath = t2.filePath and t1.fileModDate = t2.fileModDate";
constexpr int kRowColumn = 8;
constexpr char kInsertTempSql[] = "INSERT INTO tempTable (filePath,fileModDate) VALUES (?,?)";
constexpr char kInsertTempWithRowSql[] = "INSERT INTO tempTable (rowid,filePath,fileModDate) VALUES (?,?,?)";
// A new digest for a known path replaces that path's row.
constexpr char kInsertHashSql[] =
    "INSERT INTO hashtable (fileID,fileHash,fileCreationDate,fileModDate,filePath,"
    "fileSize) VALUES (?, ?,?,?,?,?) ON CONFLICT(filePath) DO UPDATE SET fileHash=excluded.fileHash, "
    "fileCreationDate=excluded.fileCreationDate, fileModDate=excluded.fileModDate, "
    "fileSize=excluded.fileSize";

QMutex g_stateMutex;
QByteArray g_dbPathOverride;
// The database whose tempTable holds exactly the paths this process wrote last. The lookup
// trusts no other: rows left by an earlier scan carry old modification dates and would hand
// out the digests of files that have changed since.
QByteArray g_freshTempTable;

void setFreshTempTable(const QByteArray& dbPath)
{
    QMutexLocker lock(&g_stateMutex);
    g_freshTempTable = dbPath;
}

bool isFreshTempTable(const QByteArray& dbPath)
{
    QMutexLocker lock(&g_stateMutex);
    return !g_freshTempTable.isEmpty() && g_freshTempTable == dbPath;
}

void logException(const char* prefix, const std::exception* e)
{
    quillonLog(QString::fromLatin1(prefix) +
               (e ? QString::fromLocal8Bit(e->what()) : QStringLiteral("unknown exception")));
}

} // namespace

void SqliteDBOperations::setDbPathOverride(const QByteArray& path)
{
    QMutexLocker lock(&g_stateMutex);
    g_dbPathOverride = path;
}

QByteArray SqliteDBOperations::dbPathOverride()
{
    QMutexLocker lock(&g_stateMutex);
    return g_dbPathOverride;
}

QByteArray SqliteDBOperations::getDbPathInLibrary()
{
    const QByteArray override = dbPathOverride();
    if (!override.isEmpty())
        return override;
    return PathUtils::join(Platform::cachesFolder(), kDatabaseFileName);
}

QByteArray SqliteDBOperations::getCachePath()
{
    const QByteArray override = dbPathOverride();
    if (override.isEmpty())
        return Platform::cachesFolder();
    const qsizetype slash = override.lastIndexOf('/');
    if (slash < 0)
        return ".";
    return slash == 0 ? QByteArray("/") : override.left(slash);
}

QByteArray SqliteDBOperations::getDbPathInBundle()
{
    return getDbPathInLibrary();
}

QString SqliteDBOperations::shippedDatabaseResource()
{
    return QStringLiteral(":/Quillon.db");
}

bool SqliteDBOperations::copyDataBaseIfRequieredAtDestination(const QByteArray& destinationFolder,
                                                              const QString& fromPath)
{
    try {
        const QByteArray override = dbPathOverride();
        const QByteArray name =
            override.isEmpty() ? QByteArray(kDatabaseFileName) : PathUtils::lastPathComponent(override);
        const QByteArray target = PathUtils::join(destinationFolder, name);
        if (PathUtils::exists(target))
            return true;
        QString error;
        if (!CacheUpkeep::install(destinationFolder, target, fromPath, &error)) {
            quillonLog(QStringLiteral("There is Error in copying database at Path %1 Error %2")
                           .arg(PathUtils::toDisplay(destinationFolder), error));
        }
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
    return true;
}

void SqliteDBOperations::deleteRecordsFromTable(const QString& table, const QByteArray& dbPath)
{
    Q_UNUSED(table); // every statement names its table
    try {
        setFreshTempTable({});
        SqliteConnection db(dbPath);
        SqliteStatement statement(db, "delete from tempTable");
        if (!statement)
            return;
        int rc;
        while ((rc = statement.step()) == SQLITE_ROW) {
        }
        db.noteResult(rc);
        quillonLog(QStringLiteral("deleteRecordsFromTable"));
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
}

void SqliteDBOperations::insertDataInTempTable(const QString& table, const QByteArray& dbPath,
                                               const std::vector<FileInfoNode*>& values,
                                               const std::atomic<bool>* abortFlag)
{
    Q_UNUSED(table);
    quillonLog(QStringLiteral("Insert all scanned file path to temp_table - Started"));
    try {
        setFreshTempTable({});
        SqliteConnection db(dbPath);
        if (db && !db.isReadOnly() && db.exec("BEGIN IMMEDIATE TRANSACTION")) {
            // The table is emptied in the same transaction, so that after the commit it holds
            // exactly these records whatever happened to an earlier delete.
            bool ok = db.exec("DELETE FROM tempTable");
            // Row i + 1 for record i, so the lookup maps a row back to its record; a table
            // without row numbers takes the rows without them.
            SqliteStatement withRow(db, kInsertTempWithRowSql);
            SqliteStatement withoutRow(db, withRow ? nullptr : kInsertTempSql);
            const SqliteStatement& insert = withRow ? withRow : withoutRow;
            const int firstValue = withRow ? 2 : 1;
            ok = ok && insert;
            for (size_t i = 0; i < values.size() && ok; ++i) {
                // A stop ends the list at once; the rollback leaves the lookup skipped.
                if (abortFlag && (i & 1023) == 0 && abortFlag->load(std::memory_order_relaxed))
                    ok = false;
                const FileInfoNode* node = values[i];
                // A date that "%f" cannot print as a number never made a valid statement.
                if (!ok || !node || !std::isfinite(node->modDate))
                    continue;
                if (withRow)
                    sqlite3_bind_int64(insert.get(), 1, sqlite3_int64(i) + 1);
                insert.bindPath(firstValue, node->filePath);
                sqlite3_bind_double(insert.get(), firstValue + 1, storedSeconds(node->modDate));
                const int rc = insert.step();
                insert.reset();
                // A path given twice fails its UNIQUE constraint and is skipped; any other
                // failure gives the whole list up (rolled back, so the lookup is skipped).
                if (rc != SQLITE_DONE && (rc & 0xff) != SQLITE_CONSTRAINT) {
                    db.noteResult(rc);
                    ok = false;
                }
            }
            if (ok && db.exec("COMMIT TRANSACTION"))
                setFreshTempTable(dbPath);
        }
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
    quillonLog(QStringLiteral("Insert all scanned file path to temp_table - End"));
}

void SqliteDBOperations::fetchHashInfoFromDbPath(const QByteArray& dbPath)
{
    fetchHashInfoFromDbPath(dbPath, {});
}

void SqliteDBOperations::fetchHashInfoFromDbPath(const QByteArray& dbPath,
                                                 const std::vector<FileInfoNode*>& scanned)
{
    try {
        // Rows left by an earlier scan carry old dates and would hand out the digests of
        // changed files.
        if (!isFreshTempTable(dbPath))
            return;
        SqliteConnection db(dbPath);
        SqliteStatement withRow(db, scanned.empty() ? nullptr : kJoinWithRowSql);
        SqliteStatement withoutRow(db, withRow ? nullptr : kJoinSql);
        const SqliteStatement& select = withRow ? withRow : withoutRow;
        if (!select)
            return;
        auto& dict = AppGlobals::dictDataBaseFilesMd5;
        // At most one row per scanned path: no rehashing while the rows come in.
        if (!scanned.empty())
            dict.reserve(dict.size() + qsizetype(scanned.size()));
        const double now = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
        int rc;
        while ((rc = select.step()) == SQLITE_ROW) {
            sqlite3_stmt* row = select.get();
            CachedDigest entry;
            const QByteArray digest = CacheValues::columnBytes(row, 3);
            if (!CacheValues::isDigestText(digest))
                continue;
            entry.fileMd5 = digest;
            // The key shares the scanned record's own path bytes when the row number leads
            // to a record with exactly that path; otherwise it is a copy of the row's text.
            QByteArray key;
            if (withRow) {
                const sqlite3_int64 rowNumber = sqlite3_column_int64(row, kRowColumn);
                if (rowNumber >= 1 && quint64(rowNumber) <= scanned.size()) {
                    const FileInfoNode* node = scanned[size_t(rowNumber - 1)];
                    if (node && CacheValues::columnEquals(row, 0, node->filePath))
                        key = node->filePath;
                }
            }
            if (key.isEmpty())
                key = CacheValues::columnBytes(row, 0);
            if (key.isEmpty())
                continue;
            entry.creationDate = CacheValues::dateFromStored(sqlite3_column_double(row, 4), now);
            entry.modDate = CacheValues::dateFromStored(sqlite3_column_double(row, 1), now);
            entry.fileSize = CacheValues::sizeFromStored(sqlite3_column_double(row, 7));
            dict.insert(std::move(key), std::move(entry));
        }
        // Rows already read are right; a failure part way only means fewer files are found.
        db.noteResult(rc);
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
}

namespace {

// Whether a record's digest is the cached one: then its row is already right.
bool isCachedDigest(const FileInfoNode& node)
{
    const auto it = AppGlobals::dictDataBaseFilesMd5.constFind(node.filePath);
    return it != AppGlobals::dictDataBaseFilesMd5.constEnd() && it->fileMd5 == node.md5 &&
           quint64(it->fileSize) == node.fileSize;
}

} // namespace

void SqliteDBOperations::insertDataInTable(const QString& table, const QByteArray& dbPath,
                                           const std::vector<FileInfoNode*>& values)
{
    Q_UNUSED(table);
    try {
        SqliteConnection db(dbPath);
        // One transaction per batch: each statement still succeeds or fails on its own, but
        // the batch costs one commit instead of one each.
        if (!db || db.isReadOnly() || !db.exec("BEGIN IMMEDIATE TRANSACTION"))
            return;
        SqliteStatement insert(db, kInsertHashSql);
        if (!insert)
            return;
        for (const FileInfoNode* node : values) {
            try {
                if (!node || node->md5.isEmpty() || isCachedDigest(*node))
                    continue;
                // A date that "%f" cannot print as a number makes no valid statement.
                constexpr int kNoStatement = -1;
                int rc = kNoStatement;
                if (std::isfinite(node->createDate) && std::isfinite(node->modDate)) {
                    sqlite3_stmt* s = insert.get();
                    // Parameter 1 (fileID) stays unbound: NULL, so SQLite assigns the next key.
                    const QByteArray digest = node->md5;
                    sqlite3_bind_text(s, 2, digest.constData(), int(digest.size()), SQLITE_TRANSIENT);
                    sqlite3_bind_double(s, 3, storedSeconds(node->createDate));
                    sqlite3_bind_double(s, 4, storedSeconds(node->modDate));
                    insert.bindPath(5, node->filePath);
                    if (node->fileSize > quint64(std::numeric_limits<sqlite3_int64>::max()))
                        sqlite3_bind_double(s, 6, double(node->fileSize)); // as the printed number reads
                    else
                        sqlite3_bind_int64(s, 6, sqlite3_int64(node->fileSize));
                    rc = insert.step();
                    if (rc != SQLITE_DONE)
                        db.noteResult(rc);
                    insert.reset();
                }
                if (rc != SQLITE_DONE) {
                    quillonLog(QStringLiteral("Unable to insert data ") +
                               CacheValues::insertStatementText(*node));
                    // Anything but a bad value (read-only file or folder, full disk, I/O
                    // error) would fail for every record: the batch is given up and its files
                    // are hashed again next time.
                    if (rc != kNoStatement || sqlite3_get_autocommit(db.handle()))
                        return;
                }
            } catch (const std::exception& e) {
                logException("Exception Handled", &e);
            } catch (...) {
                logException("Exception Handled", nullptr);
            }
        }
        db.exec("COMMIT TRANSACTION");
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
}

bool SqliteDBOperations::createTablesIfNotExists(const QByteArray& dbPath)
{
    SqliteConnection db(dbPath);
    if (!db) {
        quillonLog(QStringLiteral("Unable to open database"));
        return true;
    }
    quillonLog(QStringLiteral("database Insertation starts"));
    db.exec("BEGIN TRANSACTION");

    const QByteArray createTemp = "CREATE TABLE IF NOT EXISTS `tempTable` (`filePath`\tTEXT NOT NULL UNIQUE ,"
                                  "`fileModDate`\tREAL );";
    {
        SqliteStatement statement(db, createTemp.constData());
        if (statement.step() != SQLITE_DONE)
            return false; // the connection's end rolls the transaction back
    }

    // This statement does not parse (missing commas, a trailing comma, no fileSize column);
    // the working schema is the shipped database's, so the outcome is NO and no table.
    const QByteArray blanks(35, ' ');
    const QByteArray createHash = "CREATE TABLE IF NOT EXISTS `hashTable` (" + blanks +
                                  "`fileID`\tINTEGER  NOT NULL PRIMARY KEY AUTOINCREMENT UNIQUE," + blanks +
                                  "`filePath`\tTEXT NOT NULL UNIQUE" + blanks + "`fileHash`\tTEXT NOT NULL" +
                                  blanks + "`fileCreationDate`\tREAL," + blanks + "`fileModDate`\tREAL," +
                                  blanks + ");";
    {
        SqliteStatement statement(db, createHash.constData());
        if (statement.step() != SQLITE_DONE)
            return false;
    }

    db.exec("COMMIT TRANSACTION");
    quillonLog(QStringLiteral("database Insertation end"));
    return true;
}

bool SqliteDBOperations::hasFreshTempTable(const QByteArray& dbPath)
{
    return isFreshTempTable(dbPath);
}

double SqliteDBOperations::storedSeconds(double seconds)
{
    return CacheValues::storedSeconds(seconds);
}
