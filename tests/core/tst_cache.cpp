#include "support/TestMain.h"

#include "app/AppGlobals.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "util/PathUtils.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <cmath>
#include <deque>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Row = QVariantList;

// Reads rows with a connection of the test's own; text comes back as its exact bytes.
QList<Row> query(const QByteArray& dbPath, const QByteArray& sql)
{
    QList<Row> rows;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(dbPath.constData(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return rows;
    }
    sqlite3_stmt* st = nullptr;
    if (sqlite3_prepare_v2(db, sql.constData(), -1, &st, nullptr) == SQLITE_OK) {
        while (sqlite3_step(st) == SQLITE_ROW) {
            Row row;
            for (int c = 0; c < sqlite3_column_count(st); ++c) {
                switch (sqlite3_column_type(st, c)) {
                case SQLITE_INTEGER:
                    row << qint64(sqlite3_column_int64(st, c));
                    break;
                case SQLITE_FLOAT:
                    row << sqlite3_column_double(st, c);
                    break;
                case SQLITE_NULL:
                    row << QVariant();
                    break;
                default: {
                    const void* p = sqlite3_column_blob(st, c);
                    row << QByteArray(static_cast<const char*>(p), sqlite3_column_bytes(st, c));
                }
                }
            }
            rows << row;
        }
    }
    sqlite3_finalize(st);
    sqlite3_close(db);
    return rows;
}

bool execSql(const QByteArray& dbPath, const QByteArray& sql, int flags = SQLITE_OPEN_READWRITE)
{
    sqlite3* db = nullptr;
    bool ok = sqlite3_open_v2(dbPath.constData(), &db, flags, nullptr) == SQLITE_OK &&
              sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}

QByteArray readBytes(const QByteArray& path)
{
    QFile f(QFile::decodeName(path));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool writeBytes(const QByteArray& path, const QByteArray& data)
{
    QFile f(QFile::decodeName(path));
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(data) == data.size();
}

QByteArray digest(int n)
{
    return QByteArray::number(n, 16).rightJustified(32, '0');
}

double nowSeconds()
{
    return double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
}

// The records of one simulated scan; pointers stay valid while more are added.
class Records
{
public:
    FileInfoNode* add(const QByteArray& path, const QByteArray& md5, double modDate,
                      double createDate = 1.6e9, quint64 size = 1000)
    {
        FileInfoNode& n = m_nodes.emplace_back();
        n.filePath = path;
        n.md5 = md5;
        n.modDate = modDate;
        n.createDate = createDate;
        n.fileSize = size;
        m_pointers.push_back(&n);
        return &n;
    }
    const std::vector<FileInfoNode*>& all() const { return m_pointers; }

private:
    std::deque<FileInfoNode> m_nodes;
    std::vector<FileInfoNode*> m_pointers;
};

// The three cache steps of a scan, as the engine takes them.
void lookUp(const std::vector<FileInfoNode*>& records)
{
    AppGlobals::dictDataBaseFilesMd5.clear();
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (PathUtils::exists(db)) {
        SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), db);
        SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, records);
    }
    if (PathUtils::exists(db))
        SqliteDBOperations::fetchHashInfoFromDbPath(db);
}

void store(const std::vector<FileInfoNode*>& batch)
{
    if (SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource()))
        SqliteDBOperations::insertDataInTable(QStringLiteral("hashTable"),
                                              SqliteDBOperations::getDbPathInLibrary(), batch);
}

int hashRowCount(const QByteArray& dbPath)
{
    const auto rows = query(dbPath, "select count(*) from hashTable");
    return rows.isEmpty() ? -1 : rows.first().first().toInt();
}

// A child sqlite3 process that holds a lock on a cache file until released.
class Locker
{
public:
    Locker(const QByteArray& dbPath, const QByteArray& beginSql)
    {
        const QString sqlite = QStandardPaths::findExecutable(QStringLiteral("sqlite3"));
        if (sqlite.isEmpty())
            return;
        m_process.start(sqlite, {QFile::decodeName(dbPath)});
        if (m_process.waitForStarted()) {
            m_process.write(beginSql + ";\nSELECT 'locked';\n");
            m_held = waitFor("locked");
        }
    }
    ~Locker()
    {
        release();
        m_process.closeWriteChannel();
        if (!m_process.waitForFinished(5000))
            m_process.kill();
    }
    bool held() const { return m_held; }
    void release()
    {
        if (m_held) {
            m_process.write("ROLLBACK;\nSELECT 'free';\n");
            waitFor("free");
            m_held = false;
        }
    }

private:
    bool waitFor(const QByteArray& word)
    {
        QByteArray out;
        QElapsedTimer t;
        t.start();
        while (!out.contains(word) && t.elapsed() < 10000 && m_process.state() == QProcess::Running) {
            m_process.waitForReadyRead(200);
            out += m_process.readAllStandardOutput();
        }
        return out.contains(word);
    }
    bool m_held = false;
    QProcess m_process;
};

} // namespace

class TestCache : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QByteArray m_db;

    QByteArray dir() const { return QFile::encodeName(m_dir->path()); }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>(QFile::decodeName(TestSupport::testHome()) +
                                                QStringLiteral("/t-XXXXXX"));
        QVERIFY(m_dir->isValid());
        m_db = dir() + "/cache/Quillon.db";
        SqliteDBOperations::setDbPathOverride(m_db);
        AppGlobals::dictDataBaseFilesMd5.clear();
    }
    void cleanup()
    {
        SqliteDBOperations::setDbPathOverride({});
        AppGlobals::dictDataBaseFilesMd5.clear();
        m_dir.reset();
    }

    void shippedSchema()
    {
        QVERIFY(QFile::exists(SqliteDBOperations::shippedDatabaseResource()));
        store({});
        QVERIFY(PathUtils::exists(m_db));

        QStringList temp;
        for (const Row& r : query(m_db, "pragma table_info(tempTable)"))
            temp << QStringLiteral("%1 %2 nn%3 pk%4")
                        .arg(r[1].toString(), r[2].toString(), r[3].toString(), r[5].toString());
        QCOMPARE(temp, QStringList({"filePath TEXT nn1 pk0", "fileModDate REAL nn0 pk0"}));

        QStringList hash;
        for (const Row& r : query(m_db, "pragma table_info(hashTable)"))
            hash << QStringLiteral("%1 %2 pk%3").arg(r[1].toString(), r[2].toString(), r[5].toString());
        QCOMPARE(hash, QStringList({"fileID INTEGER pk1", "fileHash TEXT pk0", "fileCreationDate REAL pk0",
                                    "fileModDate REAL pk0", "filePath TEXT pk0", "fileSize INTEGER pk0"}));

        // filePath is unique in both tables (and the only unique index of each).
        for (const char* table : {"tempTable", "hashTable"}) {
            const auto indexes = query(m_db, QByteArray("pragma index_list(") + table + ")");
            QCOMPARE(indexes.size(), 1);
            QCOMPARE(indexes[0][2].toInt(), 1);
            const auto cols = query(m_db, "pragma index_info('" + indexes[0][1].toByteArray() + "')");
            QCOMPARE(cols.size(), 1);
            QCOMPARE(cols[0][2].toByteArray(), QByteArray("filePath"));
        }
        // fileID autoincrements (SQLite keeps sqlite_sequence only for AUTOINCREMENT tables).
        const auto names = query(m_db, "select name from sqlite_master where type = 'table' order by name");
        QCOMPARE(names.size(), 3);
        QCOMPARE(names[2][0].toByteArray(), QByteArray("tempTable"));
        QCOMPARE(names[1][0].toByteArray(), QByteArray("sqlite_sequence"));
        QCOMPARE(hashRowCount(m_db), 0);
    }

    // The copy step makes missing folders, leaves an existing file alone and reports failures.
    void copyIntoPlace()
    {
        // Default location: the caches folder does not exist yet.
        SqliteDBOperations::setDbPathOverride({});
        const QByteArray caches = Platform::cachesFolder();
        QDir(QFile::decodeName(caches)).removeRecursively();
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QCOMPARE(db, caches + "/Quillon.db");
        QCOMPARE(SqliteDBOperations::getCachePath(), caches);
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            caches, SqliteDBOperations::shippedDatabaseResource()));
        QVERIFY(PathUtils::exists(db));
        struct stat st;
        QCOMPARE(::stat(db.constData(), &st), 0);
        QVERIFY(st.st_mode & S_IWUSR);
        QCOMPARE(readBytes(db), readBytes(":/Quillon.db"));
        // No temporary file is left beside it.
        QCOMPARE(QDir(QFile::decodeName(caches)).entryList(QDir::Files),
                 QStringList{QStringLiteral("Quillon.db")});

        // An existing file is kept as it is.
        QVERIFY(execSql(db, "INSERT INTO tempTable VALUES ('/kept', 1)"));
        const QByteArray before = readBytes(db);
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            caches, SqliteDBOperations::shippedDatabaseResource()));
        QCOMPARE(readBytes(db), before);

        // The override's file name is used.
        SqliteDBOperations::setDbPathOverride(dir() + "/a/b/custom.sqlite");
        store({});
        QVERIFY(PathUtils::exists(dir() + "/a/b/custom.sqlite"));
        QVERIFY(!PathUtils::exists(dir() + "/a/b/Quillon.db"));

        // Failures are logged, answer YES, and the store after them returns quietly.
        QVERIFY(writeBytes(dir() + "/plain", "x"));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression("^There is Error in copying database at Path " +
                                                           QRegularExpression::escape(m_dir->path()) +
                                                           "/plain/sub Error .+"));
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            dir() + "/plain/sub", SqliteDBOperations::shippedDatabaseResource()));
        QTest::ignoreMessage(
            QtInfoMsg, QRegularExpression("^There is Error in copying database at Path .+/nodb Error .+"));
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            dir() + "/nodb", QStringLiteral(":/no/such/resource")));
        QVERIFY(!PathUtils::exists(dir() + "/nodb/Quillon.db"));
        Records r;
        r.add("/x", digest(1), 5);
        SqliteDBOperations::insertDataInTable(QStringLiteral("hashTable"), dir() + "/nodb/Quillon.db",
                                              r.all());
        QVERIFY(!PathUtils::exists(dir() + "/nodb/Quillon.db"));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<double>("modDate");
        QTest::addColumn<quint64>("size");
        QTest::newRow("plain") << QByteArray("photo.jpg") << 1700000000.123456 << quint64(1234);
        QTest::newRow("single quote") << QByteArray("Bob's file.txt") << 1600000000.5 << quint64(1);
        QTest::newRow("newline") << QByteArray("two\nlines") << 1500000000.25 << quint64(5000000000ULL);
        QTest::newRow("not utf8") << QByteArray("caf\xe9 \xff\xfe.mp3") << 1400000000.0 << quint64(3);
        QTest::newRow("non-ascii")
            << QByteArray("\xd0\x9c\xd0\xbe\xd1\x81\xd0\xba\xd0\xb2\xd0\xb0 \xf0\x9f\x8e\xb5.m4a")
            << 1300000000.999999 << quint64(42);
        QTest::newRow("before 1970") << QByteArray("old.doc") << -86400.5 << quint64(9);
    }
    // A stored digest is found again by the next scan for the same path and date.
    void roundTrip()
    {
        QFETCH(QByteArray, name);
        QFETCH(double, modDate);
        QFETCH(quint64, size);
        const QByteArray path = dir() + "/files/" + name;
        Records first;
        first.add(path, digest(7), modDate, 1200000000.75, size);
        first.add(dir() + "/other", digest(8), 1700000000, 1200000000, 10);
        store(first.all());
        QCOMPARE(hashRowCount(m_db), 2);

        // Stored as written: exact bytes, as text.
        const auto rows = query(m_db, "select filePath, typeof(filePath) from hashTable where fileHash = '" +
                                          digest(7) + "'");
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0][0].toByteArray(), path);
        QCOMPARE(rows[0][1].toByteArray(), QByteArray("text"));

        Records second;
        second.add(path, QByteArray(), modDate);
        lookUp(second.all());
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.size(), 1);
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.contains(path));
        const CachedDigest& hit = AppGlobals::dictDataBaseFilesMd5[path];
        QCOMPARE(hit.fileMd5, digest(7));
        QCOMPARE(hit.fileSize, qint64(size));
        QCOMPARE(hit.creationDate, 1200000000.75);
        QCOMPARE(hit.modDate, SqliteDBOperations::storedSeconds(modDate));

        // The record that came from the cache is not stored again (no failed insert either).
        second.all()[0]->md5 = digest(7);
        store(second.all());
        QCOMPARE(hashRowCount(m_db), 2);
    }

    void dateMatching_data()
    {
        QTest::addColumn<double>("stored");
        QTest::addColumn<double>("scanned");
        QTest::addColumn<bool>("found");
        const double base = 1700000000.25;
        QTest::newRow("equal") << base << base << true;
        QTest::newRow("half a microsecond apart") << base << base + std::ldexp(1.0, -21) << true;
        QTest::newRow("2 us later") << base << base + 2e-6 << false;
        QTest::newRow("small, below a microsecond") << 1.5 << 1.5000004 << true;
        QTest::newRow("small, 2 us") << 1.5 << 1.500002 << false;
        QTest::newRow("no date") << 0.0 << 0.0 << true;
    }
    // Dates match to the six decimals that a printed statement keeps.
    void dateMatching()
    {
        QFETCH(double, stored);
        QFETCH(double, scanned);
        QFETCH(bool, found);
        const QByteArray path = dir() + "/f";
        Records a;
        a.add(path, digest(1), stored);
        store(a.all());
        Records b;
        b.add(path, QByteArray(), scanned);
        lookUp(b.all());
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.contains(path), found);
    }

    // A changed file is a miss; its new digest cannot replace the old row, and each failed
    // insert is logged with its statement while the rest of the batch is stored.
    void changedFile()
    {
        const QByteArray path = dir() + "/Bob's file.txt";
        Records old;
        old.add(path, digest(1), 1700000000.5, 1600000000, 42);
        store(old.all());

        Records now;
        FileInfoNode* changed = now.add(path, QByteArray(), 1700000001.5, 1600000000, 42);
        lookUp(now.all());
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());

        changed->md5 = digest(2);
        Records batch;
        batch.add(dir() + "/before", digest(3), 10);
        batch.add(path, digest(2), 1700000001.5, 1600000000, 42);
        batch.add(dir() + "/after", digest(4), 11);
        const QString text =
            QStringLiteral("Unable to insert data INSERT INTO hashtable "
                           "(fileID,fileHash,fileCreationDate,fileModDate,filePath,fileSize) "
                           "VALUES (?, '%1',1600000000.000000,1700000001.500000,'%2/Bob''s file.txt',42)")
                .arg(QString::fromLatin1(digest(2)), m_dir->path());
        QTest::ignoreMessage(QtInfoMsg, text.toUtf8().constData());
        store(batch.all());
        QCOMPARE(hashRowCount(m_db), 3);
        const auto rows = query(m_db, "select fileHash, fileModDate from hashTable where filePath = '" +
                                          dir() + "/Bob''s file.txt'");
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0][0].toByteArray(), digest(1));
        QCOMPARE(rows[0][1].toDouble(), 1700000000.5);

        // Later scans keep missing it; the old date still finds the old digest.
        lookUp(now.all());
        QVERIFY(!AppGlobals::dictDataBaseFilesMd5.contains(path));
        lookUp(old.all());
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5, digest(1));
    }

    void zeroDatesReadAsNow()
    {
        const QByteArray path = dir() + "/z";
        Records r;
        r.add(path, digest(5), 1700000000, 0.0);
        r.add(dir() + "/nodate", digest(6), 0.0, 0.0);
        store(r.all());
        const double before = nowSeconds();
        lookUp(r.all());
        const double after = nowSeconds();
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.size(), 2);
        const CachedDigest z = AppGlobals::dictDataBaseFilesMd5.value(path);
        QVERIFY2(z.creationDate >= before - 0.001 && z.creationDate <= after + 0.001,
                 qPrintable(QString::number(z.creationDate, 'f')));
        QCOMPARE(z.modDate, 1700000000.0);
        const CachedDigest n = AppGlobals::dictDataBaseFilesMd5.value(dir() + "/nodate");
        QVERIFY(n.modDate >= before - 0.001 && n.modDate <= after + 0.001);
    }

    void scratchTable()
    {
        store({});
        Records r;
        r.add(dir() + "/same", QByteArray(), 100);
        r.add(dir() + "/same", QByteArray(), 200);
        r.add(dir() + "/other", QByteArray(), 300);
        QTest::ignoreMessage(QtInfoMsg, "deleteRecordsFromTable");
        QTest::ignoreMessage(QtInfoMsg, "Insert all scanned file path to temp_table - Started");
        QTest::ignoreMessage(QtInfoMsg, "Insert all scanned file path to temp_table - End");
        lookUp(r.all());
        auto rows = query(m_db, "select filePath, fileModDate from tempTable order by filePath");
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[1][0].toByteArray(), dir() + "/same");
        QCOMPARE(rows[1][1].toDouble(), 100.0);

        // The next scan replaces the list.
        Records next;
        next.add(dir() + "/new", QByteArray(), 1);
        lookUp(next.all());
        rows = query(m_db, "select filePath from tempTable");
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0][0].toByteArray(), dir() + "/new");
    }

    // Records already taken from the cache and records without a digest are not stored.
    void storeSkips()
    {
        Records r;
        r.add(dir() + "/cached", digest(1), 1);
        r.add(dir() + "/nodigest", QByteArray(), 2);
        r.add(dir() + "/new", digest(3), 3);
        AppGlobals::dictDataBaseFilesMd5.insert(dir() + "/cached", CachedDigest{1, 1, digest(1), 1000});
        store(r.all());
        const auto rows = query(m_db, "select filePath from hashTable");
        QCOMPARE(rows.size(), 1);
        QCOMPARE(rows[0][0].toByteArray(), dir() + "/new");
    }

    // Clearing the cache deletes the file; the next scan hashes everything and the next store
    // puts a fresh copy in place.
    void deletedCacheIsRecreated()
    {
        Records r;
        r.add(dir() + "/a", digest(1), 1);
        store(r.all());
        QVERIFY(QFile::remove(QFile::decodeName(m_db)));
        lookUp(r.all());
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());
        QVERIFY(!PathUtils::exists(m_db));
        Records n;
        n.add(dir() + "/b", digest(2), 2);
        store(n.all());
        QCOMPARE(hashRowCount(m_db), 1);
        lookUp(n.all());
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(dir() + "/b").fileMd5, digest(2));
    }

    void createTables_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("result");
        QTest::newRow("shipped database") << "shipped" << false;
        QTest::newRow("empty database") << "empty" << false;
        QTest::newRow("missing file") << "missing" << true;
    }
    // Kept as offered: it never creates a table.
    void createTables()
    {
        QFETCH(QString, kind);
        QFETCH(bool, result);
        const QByteArray path = dir() + "/t.db";
        if (kind == QLatin1String("shipped")) {
            QVERIFY(QFile::copy(SqliteDBOperations::shippedDatabaseResource(), QFile::decodeName(path)));
            QFile::setPermissions(QFile::decodeName(path), QFile::ReadOwner | QFile::WriteOwner);
        } else if (kind == QLatin1String("empty")) {
            QVERIFY(execSql(path, "PRAGMA user_version = 1", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));
        }
        const auto tablesBefore = query(path, "select name from sqlite_master");
        if (result) {
            QTest::ignoreMessage(QtInfoMsg, "Unable to open database");
        } else {
            QTest::ignoreMessage(QtInfoMsg, "database Insertation starts");
        }
        QCOMPARE(SqliteDBOperations::createTablesIfNotExists(path), result);
        QCOMPARE(query(path, "select name from sqlite_master"), tablesBefore);
        QCOMPARE(PathUtils::exists(path), kind != QLatin1String("missing"));
        // No lock is left behind.
        if (kind != QLatin1String("missing"))
            QVERIFY(execSql(path, "BEGIN IMMEDIATE; ROLLBACK;"));
    }

    void badCacheFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<bool>("unchanged");
        QTest::newRow("random bytes") << "random" << true;
        QTest::newRow("zero length") << "zero" << true;
        QTest::newRow("foreign tables") << "foreign" << true;
        QTest::newRow("truncated") << "truncated" << false;
        QTest::newRow("folder in its place") << "folder" << true;
    }
    // A cache file that is not ours, or broken, costs only speed: nothing throws, nothing
    // wrong is handed out, and a file that is not a cache is not written to.
    void badCacheFile()
    {
        QFETCH(QString, kind);
        QFETCH(bool, unchanged);
        const int count = 3000;
        Records good;
        for (int i = 0; i < count; ++i)
            good.add(dir() + "/files/" + QByteArray::number(i), digest(i + 1), 1000 + i);

        if (kind == QLatin1String("random")) {
            QByteArray noise;
            for (int i = 0; i < 8192; ++i)
                noise += char((i * 7919 + 13) % 251);
            QVERIFY(PathUtils::exists(dir()) && QDir().mkpath(QFile::decodeName(dir() + "/cache")));
            QVERIFY(writeBytes(m_db, noise));
        } else if (kind == QLatin1String("zero")) {
            QVERIFY(QDir().mkpath(QFile::decodeName(dir() + "/cache")));
            QVERIFY(writeBytes(m_db, QByteArray()));
        } else if (kind == QLatin1String("foreign")) {
            QVERIFY(QDir().mkpath(QFile::decodeName(dir() + "/cache")));
            QVERIFY(execSql(
                m_db, "CREATE TABLE notes (filePath TEXT, body TEXT); INSERT INTO notes VALUES ('a', 'b');",
                SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE));
        } else if (kind == QLatin1String("folder")) {
            QVERIFY(QDir().mkpath(QFile::decodeName(m_db)));
        } else {
            store(good.all());
            QCOMPARE(hashRowCount(m_db), count);
            QFile f(QFile::decodeName(m_db));
            QVERIFY(f.resize(f.size() / 2));
        }
        const QByteArray before = readBytes(m_db);

        Records scan;
        for (int i = 0; i < count; ++i)
            scan.add(dir() + "/files/" + QByteArray::number(i), QByteArray(), 1000 + i);
        lookUp(scan.all());
        // Whatever is found must be right.
        for (auto it = AppGlobals::dictDataBaseFilesMd5.cbegin();
             it != AppGlobals::dictDataBaseFilesMd5.cend(); ++it) {
            const int i = it.key().mid(it.key().lastIndexOf('/') + 1).toInt();
            QCOMPARE(it.value().fileMd5, digest(i + 1));
        }
        std::vector<FileInfoNode*> batch(good.all().begin(), good.all().begin() + 1000);
        AppGlobals::dictDataBaseFilesMd5.clear();
        store(batch);
        QVERIFY(!SqliteDBOperations::createTablesIfNotExists(m_db) || kind == QLatin1String("folder"));
        if (unchanged)
            QCOMPARE(readBytes(m_db), before);
    }

    void lockedCache_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::newRow("exclusive lock") << QByteArray("BEGIN EXCLUSIVE");
        QTest::newRow("another writer") << QByteArray("BEGIN IMMEDIATE");
    }
    // A cache locked by someone else: calls return, the changed file is never given its old
    // digest (the scratch table still holds the previous scan's dates), and nothing is lost.
    void lockedCache()
    {
        QFETCH(QByteArray, begin);
        const QByteArray path = dir() + "/doc.txt";
        Records first;
        first.add(path, digest(1), 1000);
        store(first.all());
        lookUp(first.all()); // the scratch table now holds path at 1000
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5, digest(1));

        Records changed;
        changed.add(path, digest(2), 2000);
        changed.add(dir() + "/new.txt", digest(3), 3000);
        QElapsedTimer timer;
        timer.start();
        // The lock may end between any two steps of a scan.
        for (int releaseAfter : {2, 1}) {
            Locker locker(m_db, begin);
            if (QStandardPaths::findExecutable(QStringLiteral("sqlite3")).isEmpty())
                QSKIP("no sqlite3 program to hold a lock");
            QVERIFY(locker.held());
            AppGlobals::dictDataBaseFilesMd5.clear();
            const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
            SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), db);
            if (releaseAfter == 1)
                locker.release();
            SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, changed.all());
            locker.release();
            SqliteDBOperations::fetchHashInfoFromDbPath(db);
            QVERIFY2(AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5 != digest(1),
                     releaseAfter == 1 ? "released after the delete" : "released after the insert");
        }
        {
            Locker locker(m_db, begin);
            QVERIFY(locker.held());
            store(changed.all());
        }
        qInfo("locked cache calls took %lld ms", qint64(timer.elapsed()));
        // Nothing was lost or changed; the cache works again once free.
        QCOMPARE(hashRowCount(m_db), 1);
        lookUp(first.all());
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5, digest(1));
        store(changed.all());
        QCOMPARE(hashRowCount(m_db), 2);
    }

    void readOnlyCache_data()
    {
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<int>("folderMode");
        QTest::newRow("read-only file") << 0444 << 0755;
        QTest::newRow("read-only folder") << 0666 << 0555;
    }
    // Root is not held back by permission bits, so as root the calls run in a child process
    // that has given up its privileges.
    void readOnlyCache()
    {
        QFETCH(int, fileMode);
        QFETCH(int, folderMode);
        const QByteArray path = dir() + "/files/a";
        Records r;
        r.add(path, digest(1), 1000);
        r.add(dir() + "/files/b", digest(2), 2000);
        store({r.all()[0]});
        lookUp(r.all()); // the scratch table holds both records
        Records changed;
        changed.add(path, digest(9), 5000);
        changed.add(dir() + "/files/b", digest(2), 2000);

        const QByteArray folder = dir() + "/cache";
        QCOMPARE(::chmod(dir().constData(), 0755), 0);
        QCOMPARE(::chmod(m_db.constData(), mode_t(fileMode)), 0);
        QCOMPARE(::chmod(folder.constData(), mode_t(folderMode)), 0);
        const QByteArray before = readBytes(m_db);

        // 0: nothing handed out and nothing stored; 1: wrong outcome; 2: could not drop rights.
        auto attempt = [&]() -> int {
            lookUp(changed.all());
            if (!AppGlobals::dictDataBaseFilesMd5.isEmpty())
                return 1;
            store(changed.all());
            return 0;
        };
        int outcome = 2;
        if (::geteuid() != 0) {
            outcome = attempt();
        } else {
            for (QByteArray p = dir(); p.size() > 1; p = p.left(p.lastIndexOf('/'))) {
                struct stat st;
                if (::stat(p.constData(), &st) != 0 || !(st.st_mode & S_IXOTH))
                    QSKIP("the test folder is not reachable by an unprivileged user");
            }
            const pid_t child = ::fork();
            QVERIFY(child >= 0);
            if (child == 0) {
                if (::setgid(65534) != 0 || ::setuid(65534) != 0)
                    ::_exit(2);
                ::_exit(attempt());
            }
            int status = 0;
            QCOMPARE(::waitpid(child, &status, 0), child);
            QVERIFY(WIFEXITED(status));
            outcome = WEXITSTATUS(status);
        }
        ::chmod(folder.constData(), 0755);
        ::chmod(m_db.constData(), 0644);
        if (outcome == 2)
            QSKIP("could not give up root rights");
        QCOMPARE(outcome, 0);
        QCOMPARE(readBytes(m_db), before);
    }

    // Not a timing assertion: shows what a large first scan costs, and checks the contents.
    void largeStore()
    {
        const int total = 100000;
        Records r;
        for (int i = 0; i < total; ++i)
            r.add(dir() + "/big/folder " + QByteArray::number(i % 97) + "/file-" + QByteArray::number(i) +
                      ".dat",
                  digest(i), 1600000000.0 + i * 0.001, 1500000000.0, quint64(i));
        QElapsedTimer timer;
        timer.start();
        for (int b = 0; b < total; b += 1000)
            store(std::vector<FileInfoNode*>(r.all().begin() + b, r.all().begin() + b + 1000));
        const qint64 storeMs = timer.restart();
        QCOMPARE(hashRowCount(m_db), total);
        lookUp(r.all());
        const qint64 lookupMs = timer.elapsed();
        qInfo(
            "stored %d digests in 100 batches in %lld ms; wrote the scan list and looked them up in %lld ms",
            total, storeMs, lookupMs);
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.size(), total);
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(r.all()[4321]->filePath).fileMd5, digest(4321));
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(r.all()[4321]->filePath).fileSize, qint64(4321));
    }
};

QUILLON_TEST_MAIN(TestCache)
#include "tst_cache.moc"
