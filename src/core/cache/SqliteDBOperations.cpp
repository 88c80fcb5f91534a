#include "cache/SqliteDBOperations.h"

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
#include <unistd.h>

namespace {

constexpr char kDatabaseFileName[] = "Quillon.db";
constexpr int kBusyTimeoutMs = 3000;
// After a call found the cache locked, later calls wait only briefly, so that a cache held by
// another program costs a scan seconds rather than minutes (one wait per batch otherwise).
constexpr int kBusyTimeoutAfterBusyMs = 250;

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
constexpr char kInsertHashSql[] =
    "INSERT INTO hashtable (fileID,fileHash,fileCreationDate,fileModDate,filePath,"
    "fileSize) VALUES (?, ?,?,?,?,?)";

QMutex g_stateMutex;
QByteArray g_dbPathOverride;
// The database whose tempTable holds exactly the paths this process wrote last. The lookup
// trusts no other: rows left by an earlier scan carry old modification dates and would hand
// out the digests of files that have changed since.
QByteArray g_freshTempTable;
std::atomic<bool> g_recentlyBusy{false};

void initialiseSqlite()
{
    static std::once_flag once;
    std::call_once(once, [] { sqlite3_initialize(); });
}

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

// The text "%f" prints: six decimals, locale-independent.
QByteArray sixDecimals(double value)
{
    char buffer[400]; // enough for the widest double in fixed notation
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
    if (result.ec != std::errc())
        return QByteArray::number(value, 'f', 6);
    return QByteArray(buffer, int(result.ptr - buffer));
}

// A stored date: exactly 0 reads back as now; anything else (NaN too) counts from 1970.
double dateFromStored(double seconds, double now)
{
    return seconds == 0 ? now : seconds;
}

// Stored sizes are read as doubles and converted to an unsigned 64-bit count.
qint64 sizeFromStored(double size)
{
    if (!(size > 0))
        return 0;
    if (size >= 18446744073709551616.0)
        return qint64(std::numeric_limits<quint64>::max());
    return qint64(quint64(size));
}

// A digest is one or more 32-digit lower-case hexadecimal MD5 texts (a package's digests are
// concatenated). Anything else in a row was not written by us and is not handed out.
bool isDigestText(const QByteArray& text)
{
    if (text.isEmpty() || text.size() % 32 != 0)
        return false;
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')))
            return false;
    }
    return true;
}

// Whether a column holds exactly these bytes.
bool columnEquals(sqlite3_stmt* statement, int column, const QByteArray& bytes)
{
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    if (size != bytes.size() || size <= 0 || !data)
        return false;
    return std::memcmp(data, bytes.constData(), size_t(size)) == 0;
}

QByteArray columnBytes(sqlite3_stmt* statement, int column)
{
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    if (!data || size <= 0)
        return {};
    return QByteArray(static_cast<const char*>(data), size);
}

bool isBusy(int rc)
{
    const int primary = rc & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

// One connection for the length of one call; the file is never created by opening it.
class Connection
{
public:
    explicit Connection(const QByteArray& path) : m_path(path)
    {
        initialiseSqlite();
        if (path.isEmpty() || path.contains('\0')) {
            m_error = QStringLiteral("no database path");
            return;
        }
        // A relative name is made explicit so that it can never be taken for a URI.
        const QByteArray name = path.startsWith('/') ? path : QByteArray("./") + path;
        const int rc = sqlite3_open_v2(name.constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
        if (rc != SQLITE_OK) {
            m_error = m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QString::fromUtf8(sqlite3_errstr(rc));
            sqlite3_close_v2(m_db);
            m_db = nullptr;
            return;
        }
        sqlite3_busy_timeout(m_db, g_recentlyBusy.load() ? kBusyTimeoutAfterBusyMs : kBusyTimeoutMs);
    }
    ~Connection()
    {
        if (m_db) {
            if (!sqlite3_get_autocommit(m_db))
                sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
            sqlite3_close_v2(m_db);
        }
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    explicit operator bool() const { return m_db != nullptr; }
    sqlite3* handle() const { return m_db; }
    bool isReadOnly() const { return m_db && sqlite3_db_readonly(m_db, "main") == 1; }

    bool exec(const char* sql)
    {
        if (!m_db)
            return false;
        const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
        noteResult(rc);
        return rc == SQLITE_OK;
    }

    // Remembers whether the cache was found locked, for the wait of the next call, and the
    // message of a failure for the log (later calls would overwrite SQLite's own).
    void noteResult(int rc)
    {
        if (isBusy(rc))
            g_recentlyBusy = true;
        else if (rc == SQLITE_OK || rc == SQLITE_DONE)
            g_recentlyBusy = false;
        if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW && m_db)
            m_error = QString::fromUtf8(sqlite3_errmsg(m_db));
    }

    QString error() const
    {
        if (!m_error.isEmpty() || !m_db)
            return m_error;
        return QString::fromUtf8(sqlite3_errmsg(m_db));
    }

    // One log line for a failure that leaves the cache unused for this call.
    void logFailure(const QString& what, bool withSqliteMessage = true) const
    {
        const QString line = QStringLiteral("Hash cache: %1 (%2)").arg(what, PathUtils::toDisplay(m_path));
        quillonLog(withSqliteMessage ? line + QStringLiteral(": ") + error() : line);
    }

private:
    QByteArray m_path;
    sqlite3* m_db = nullptr;
    QString m_error;
};

class Statement
{
public:
    Statement(const Connection& connection, const char* sql)
    {
        if (connection && sql)
            sqlite3_prepare_v2(connection.handle(), sql, -1, &m_statement, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }
    // Stepping a statement that failed to prepare answers misuse, as SQLite does for a null one.
    int step() const { return m_statement ? sqlite3_step(m_statement) : SQLITE_MISUSE; }
    void reset() const
    {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }

private:
    sqlite3_stmt* m_statement = nullptr;
};

void bindPath(sqlite3_stmt* statement, int index, const QByteArray& path)
{
    // The exact bytes of the path as TEXT, so names that are not UTF-8 survive and compare
    // byte for byte in the join.
    sqlite3_bind_text(statement, index, path.constData(), int(path.size()), SQLITE_STATIC);
}

// The statement as the log shows it: the values printed into the SQL text.
QString insertStatementText(const FileInfoNode& node)
{
    QString path = PathUtils::toDisplay(node.filePath);
    path.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QStringLiteral(
               "INSERT INTO hashtable (fileID,fileHash,fileCreationDate,fileModDate,filePath,fileSize) "
               "VALUES (?, '%1',%2,%3,'%4',%5)")
        .arg(QString::fromLatin1(node.md5), QString::fromLatin1(sixDecimals(node.createDate)),
             QString::fromLatin1(sixDecimals(node.modDate)), path, QString::number(node.fileSize));
}

// Writes the shipped database beside the target and links it into place, so that no reader
// ever sees half a file and a database that appeared meanwhile is never replaced. The copy is
// writable (the resource itself is read-only) and private to the user.
bool installDatabase(const QByteArray& folder, const QByteArray& target, const QString& source,
                     QString* error)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        *error = in.errorString();
        return false;
    }
    const QByteArray data = in.readAll();
    if (in.error() != QFileDevice::NoError || data.isEmpty()) {
        *error =
            in.error() != QFileDevice::NoError ? in.errorString() : QStringLiteral("the source is empty");
        return false;
    }
    if (!PathUtils::makeFolders(folder)) {
        *error = qt_error_string(errno);
        return false;
    }
    QByteArray temporary = target + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        *error = qt_error_string(errno);
        return false;
    }
    bool ok = Platform::writeAll(fd, data.constData(), data.size());
    int savedErrno = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        savedErrno = errno;
    }
    if (ok) {
        if (::link(temporary.constData(), target.constData()) != 0 && errno != EEXIST) {
            // File systems without hard links: rename, unless the target appeared meanwhile.
            if (!PathUtils::exists(target) && ::rename(temporary.constData(), target.constData()) != 0) {
                ok = false;
                savedErrno = errno;
            }
        }
    }
    ::unlink(temporary.constData());
    if (!ok)
        *error = qt_error_string(savedErrno);
    return ok;
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
        if (!installDatabase(destinationFolder, target, fromPath, &error)) {
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
        Connection db(dbPath);
        if (!db) {
            db.logFailure(QStringLiteral("cannot open"));
            return;
        }
        Statement statement(db, "delete from tempTable");
        if (!statement) {
            db.logFailure(QStringLiteral("cannot empty the scanned paths"));
            return;
        }
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
                                               const std::vector<FileInfoNode*>& values)
{
    Q_UNUSED(table);
    quillonLog(QStringLiteral("Insert all scanned file path to temp_table - Started"));
    try {
        setFreshTempTable({});
        Connection db(dbPath);
        if (!db) {
            db.logFailure(QStringLiteral("cannot open"));
        } else if (db.isReadOnly()) {
            db.logFailure(QStringLiteral("read-only, the lookup is skipped"), false);
        } else if (!db.exec("BEGIN IMMEDIATE TRANSACTION")) {
            db.logFailure(QStringLiteral("cannot write the scanned paths"));
        } else {
            // The table is emptied in the same transaction, so that after the commit it holds
            // exactly these records whatever happened to an earlier delete.
            bool ok = db.exec("DELETE FROM tempTable");
            // Row i + 1 for record i, so the lookup maps a row back to its record; a table
            // without row numbers takes the rows without them.
            Statement withRow(db, kInsertTempWithRowSql);
            Statement withoutRow(db, withRow ? nullptr : kInsertTempSql);
            const Statement& insert = withRow ? withRow : withoutRow;
            const int firstValue = withRow ? 2 : 1;
            ok = ok && insert;
            for (size_t i = 0; i < values.size(); ++i) {
                if (!ok)
                    break;
                const FileInfoNode* node = values[i];
                // A date that "%f" cannot print as a number never made a valid statement.
                if (!node || !std::isfinite(node->modDate))
                    continue;
                if (withRow)
                    sqlite3_bind_int64(insert.get(), 1, sqlite3_int64(i) + 1);
                bindPath(insert.get(), firstValue, node->filePath);
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
            if (!ok)
                db.logFailure(QStringLiteral("cannot write the scanned paths"));
            if (ok && db.exec("COMMIT TRANSACTION"))
                setFreshTempTable(dbPath);
            else if (ok)
                db.logFailure(QStringLiteral("cannot commit the scanned paths"));
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
        if (!isFreshTempTable(dbPath)) {
            quillonLog(QStringLiteral("Hash cache: lookup skipped, the scanned paths were not written to %1")
                           .arg(PathUtils::toDisplay(dbPath)));
            return;
        }
        Connection db(dbPath);
        if (!db) {
            db.logFailure(QStringLiteral("cannot open"));
            return;
        }
        Statement withRow(db, scanned.empty() ? nullptr : kJoinWithRowSql);
        Statement withoutRow(db, withRow ? nullptr : kJoinSql);
        const Statement& select = withRow ? withRow : withoutRow;
        if (!select) {
            db.logFailure(QStringLiteral("cannot read"));
            return;
        }
        auto& dict = AppGlobals::dictDataBaseFilesMd5;
        // At most one row per scanned path: no rehashing while the rows come in.
        if (!scanned.empty())
            dict.reserve(dict.size() + qsizetype(scanned.size()));
        const double now = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
        int rc;
        while ((rc = select.step()) == SQLITE_ROW) {
            sqlite3_stmt* row = select.get();
            CachedDigest entry;
            entry.fileMd5 = columnBytes(row, 3);
            if (!isDigestText(entry.fileMd5))
                continue;
            // The key shares the scanned record's own path bytes when the row number leads
            // to a record with exactly that path; otherwise it is a copy of the row's text.
            QByteArray key;
            if (withRow) {
                const sqlite3_int64 rowNumber = sqlite3_column_int64(row, kRowColumn);
                if (rowNumber >= 1 && quint64(rowNumber) <= scanned.size()) {
                    const FileInfoNode* node = scanned[size_t(rowNumber - 1)];
                    if (node && columnEquals(row, 0, node->filePath))
                        key = node->filePath;
                }
            }
            if (key.isEmpty())
                key = columnBytes(row, 0);
            if (key.isEmpty())
                continue;
            entry.creationDate = dateFromStored(sqlite3_column_double(row, 4), now);
            entry.modDate = dateFromStored(sqlite3_column_double(row, 1), now);
            entry.fileSize = sizeFromStored(sqlite3_column_double(row, 7));
            dict.insert(std::move(key), std::move(entry));
        }
        db.noteResult(rc);
        // Rows already read are right; a failure part way only means fewer files are found.
        if (rc != SQLITE_DONE)
            db.logFailure(QStringLiteral("lookup ended early"));
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
}

void SqliteDBOperations::insertDataInTable(const QString& table, const QByteArray& dbPath,
                                           const std::vector<FileInfoNode*>& values)
{
    Q_UNUSED(table);
    try {
        Connection db(dbPath);
        if (!db) {
            db.logFailure(QStringLiteral("cannot open"));
            return;
        }
        if (db.isReadOnly()) {
            db.logFailure(QStringLiteral("read-only, new digests are not stored"), false);
            return;
        }
        // One transaction per batch: each insert still succeeds or fails on its own (a failed
        // INSERT rolls back only itself), but the batch costs one commit instead of one each.
        if (!db.exec("BEGIN IMMEDIATE TRANSACTION")) {
            db.logFailure(QStringLiteral("cannot store new digests"));
            return;
        }
        Statement insert(db, kInsertHashSql);
        if (!insert) {
            db.logFailure(QStringLiteral("cannot store new digests"));
            return;
        }
        for (const FileInfoNode* node : values) {
            try {
                if (!node || node->md5.isEmpty() || AppGlobals::dictDataBaseFilesMd5.contains(node->filePath))
                    continue;
                // A date that "%f" cannot print as a number makes no valid statement.
                constexpr int kNoStatement = -1;
                int rc = kNoStatement;
                if (std::isfinite(node->createDate) && std::isfinite(node->modDate)) {
                    sqlite3_stmt* s = insert.get();
                    // Parameter 1 (fileID) stays unbound: NULL, so SQLite assigns the next key.
                    sqlite3_bind_text(s, 2, node->md5.constData(), int(node->md5.size()), SQLITE_STATIC);
                    sqlite3_bind_double(s, 3, storedSeconds(node->createDate));
                    sqlite3_bind_double(s, 4, storedSeconds(node->modDate));
                    bindPath(s, 5, node->filePath);
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
                    quillonLog(QStringLiteral("Unable to insert data ") + insertStatementText(*node));
                    // A path already stored fails on its own; anything else (read-only file or
                    // folder, full disk, I/O error) would fail for every record, so the batch
                    // is given up and its files are hashed again next time.
                    if (rc != kNoStatement && (rc & 0xff) != SQLITE_CONSTRAINT) {
                        db.logFailure(QStringLiteral("new digests dropped"));
                        return;
                    }
                    if (sqlite3_get_autocommit(db.handle())) {
                        db.logFailure(QStringLiteral("new digests dropped"));
                        return;
                    }
                }
            } catch (const std::exception& e) {
                logException("Exception Handled", &e);
            } catch (...) {
                logException("Exception Handled", nullptr);
            }
        }
        if (!db.exec("COMMIT TRANSACTION"))
            db.logFailure(QStringLiteral("new digests dropped"));
    } catch (const std::exception& e) {
        logException("Exception ", &e);
    }
}

bool SqliteDBOperations::createTablesIfNotExists(const QByteArray& dbPath)
{
    Connection db(dbPath);
    if (!db) {
        quillonLog(QStringLiteral("Unable to open database"));
        return true;
    }
    quillonLog(QStringLiteral("database Insertation starts"));
    db.exec("BEGIN TRANSACTION");

    const QByteArray createTemp = "CREATE TABLE IF NOT EXISTS `tempTable` (`filePath`\tTEXT NOT NULL UNIQUE ,"
                                  "`fileModDate`\tREAL );";
    {
        Statement statement(db, createTemp.constData());
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
        Statement statement(db, createHash.constData());
        if (statement.step() != SQLITE_DONE)
            return false;
    }

    db.exec("COMMIT TRANSACTION");
    quillonLog(QStringLiteral("database Insertation end"));
    return true;
}

double SqliteDBOperations::storedSeconds(double seconds)
{
    if (!std::isfinite(seconds))
        return seconds;
    const QByteArray text = sixDecimals(seconds);
    double value = 0;
    const auto result = std::from_chars(text.constData(), text.constData() + text.size(), value);
    if (result.ec != std::errc())
        return seconds;
    return value;
}
