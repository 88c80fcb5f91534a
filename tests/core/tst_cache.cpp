#include "support/TestMain.h"
#include "support/TestTree.h"

#include "app/AppGlobals.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "util/PathUtils.h"

#include <QDateTime>
#include <QFile>
#include <QRegularExpression>

#include <cmath>
#include <deque>
#include <sqlite3.h>
#include <sys/stat.h>

namespace {

using Row = QByteArrayList;
const QString kHash = QStringLiteral("hashTable");

// Reads rows with a connection of the test's own, every value as its exact text bytes.
QList<Row> query(const QByteArray& dbPath, const QByteArray& sql)
{
    QList<Row> rows;
    sqlite3* db = nullptr;
    sqlite3_stmt* st = nullptr;
    if (sqlite3_open_v2(dbPath.constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(db, sql.constData(), -1, &st, nullptr) == SQLITE_OK) {
        while (sqlite3_step(st) == SQLITE_ROW) {
            Row row;
            for (int c = 0; c < sqlite3_column_count(st); ++c)
                row << QByteArray(reinterpret_cast<const char*>(sqlite3_column_text(st, c)),
                                  sqlite3_column_bytes(st, c));
            rows << row;
        }
    }
    sqlite3_finalize(st);
    sqlite3_close(db);
    return rows;
}

bool execSql(const QByteArray& dbPath, const QByteArray& sql)
{
    sqlite3* db = nullptr;
    const bool ok = sqlite3_open_v2(dbPath.constData(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                                    nullptr) == SQLITE_OK &&
                    sqlite3_exec(db, sql.constData(), nullptr, nullptr, nullptr) == SQLITE_OK;
    sqlite3_close(db);
    return ok;
}

QByteArray readBytes(const QByteArray& path)
{
    QFile f(QFile::decodeName(path));
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

QByteArray digest(int n)
{
    return QByteArray::number(n, 16).rightJustified(32, '0');
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

// The cache steps of a scan, as the engine takes them.
void lookUp(const std::vector<FileInfoNode*>& records)
{
    AppGlobals::dictDataBaseFilesMd5.clear();
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (PathUtils::exists(db)) {
        SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), db);
        SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, records);
        SqliteDBOperations::fetchHashInfoFromDbPath(db);
    }
}

void store(const std::vector<FileInfoNode*>& batch)
{
    if (SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource()))
        SqliteDBOperations::insertDataInTable(kHash, SqliteDBOperations::getDbPathInLibrary(), batch);
}

QByteArray cachedMd5(const QByteArray& path)
{
    return AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5;
}

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
        store({});
        QByteArrayList columns;
        for (const char* table : {"tempTable", "hashTable"})
            for (const Row& r : query(m_db, QByteArray("pragma table_info(") + table + ")"))
                columns << r[1] + " " + r[2] + " pk" + r[5] + (r[3] == "1" ? " notnull" : "");
        QCOMPARE(columns,
                 QByteArrayList({"filePath TEXT pk0 notnull", "fileModDate REAL pk0", "fileID INTEGER pk1",
                                 "fileHash TEXT pk0", "fileCreationDate REAL pk0", "fileModDate REAL pk0",
                                 "filePath TEXT pk0", "fileSize INTEGER pk0"}));
        // sqlite_sequence exists only for AUTOINCREMENT tables.
        QCOMPARE(query(m_db, "select name from sqlite_master where type = 'table' order by name"),
                 QList<Row>({{"hashTable"}, {"sqlite_sequence"}, {"tempTable"}}));
        QCOMPARE(TestSupport::cacheRows(m_db), 0);
    }

    // The copy step makes missing folders, leaves an existing file alone and reports failures.
    void copyIntoPlace()
    {
        SqliteDBOperations::setDbPathOverride({});
        const QByteArray caches = Platform::cachesFolder();
        QDir(QFile::decodeName(caches)).removeRecursively();
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QCOMPARE(db, caches + "/Quillon.db");
        QCOMPARE(SqliteDBOperations::getCachePath(), caches);
        store({});
        struct stat st;
        QCOMPARE(::stat(db.constData(), &st), 0);
        QVERIFY(st.st_mode & S_IWUSR);
        QCOMPARE(readBytes(db), readBytes(":/Quillon.db"));

        SqliteDBOperations::setDbPathOverride(dir() + "/a/b/custom.sqlite");
        store({});
        QVERIFY(PathUtils::exists(dir() + "/a/b/custom.sqlite"));

        // A failure is logged and answers YES; a store after it creates no file.
        QTest::ignoreMessage(
            QtInfoMsg, QRegularExpression("^There is Error in copying database at Path .+/nodb Error .+"));
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(dir() + "/nodb", ":/no/such"));
        Records r;
        r.add("/x", digest(1), 5);
        SqliteDBOperations::insertDataInTable(kHash, dir() + "/nodb/Quillon.db", r.all());
        QVERIFY(!PathUtils::exists(dir() + "/nodb/Quillon.db"));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<double>("modDate");
        QTest::addColumn<double>("scannedDate");
        QTest::addColumn<quint64>("size");
        const double t = 1700000000.25;
        QTest::newRow("plain") << QByteArray("photo.jpg") << 1700000000.123456 << 1700000000.123456
                               << quint64(1234);
        QTest::newRow("single quote") << QByteArray("Bob's file.txt") << t << t << quint64(1);
        QTest::newRow("newline, over 4 GB")
            << QByteArray("two\nlines") << 1.5e9 << 1.5e9 << quint64(5000000000ULL);
        QTest::newRow("not utf8") << QByteArray("caf\xe9 \xff\xfe.mp3") << 1.4e9 << 1.4e9 << quint64(3);
        QTest::newRow("before 1970") << QByteArray("old.doc") << -86400.5 << -86400.5 << quint64(9);
        // Dates match to the six decimals that a printed statement keeps.
        QTest::newRow("half a microsecond apart")
            << QByteArray("a") << t << t + std::ldexp(1.0, -21) << quint64(1);
        QTest::newRow("small, below a microsecond") << QByteArray("b") << 1.5 << 1.5000004 << quint64(1);
        QTest::newRow("2 us later: miss") << QByteArray("c") << t << t + 2e-6 << quint64(1);
        QTest::newRow("small, 2 us: miss") << QByteArray("d") << 1.5 << 1.500002 << quint64(1);
    }
    // A stored digest is found again by the next scan for the same path and date.
    void roundTrip()
    {
        QFETCH(QByteArray, name);
        QFETCH(double, modDate);
        QFETCH(double, scannedDate);
        QFETCH(quint64, size);
        const QByteArray path = dir() + "/files/" + name;
        Records first, second;
        first.add(path, digest(7), modDate, 1200000000.75, size);
        first.add(dir() + "/other", digest(8), 1700000000);
        first.add(dir() + "/no digest", QByteArray(), 1700000000);
        store(first.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 2);
        QCOMPARE(query(m_db, "select filePath, typeof(filePath) from hashTable where fileHash = '" +
                                 digest(7) + "'"),
                 QList<Row>({{path, "text"}}));

        second.add(path, QByteArray(), scannedDate);
        lookUp(second.all());
        if (QByteArray(QTest::currentDataTag()).endsWith("miss")) {
            QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());
            return;
        }
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.keys(), QByteArrayList{path});
        const CachedDigest hit = AppGlobals::dictDataBaseFilesMd5.value(path);
        QCOMPARE(hit.fileMd5, digest(7));
        QCOMPARE(hit.fileSize, qint64(size));
        QCOMPARE(hit.creationDate, 1200000000.75);
        QCOMPARE(hit.modDate, SqliteDBOperations::storedSeconds(modDate));

        // A record taken from the cache is not stored again (and no failed insert is logged).
        second.all()[0]->md5 = digest(7);
        store(second.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 2);
    }

    // A changed file is a miss; its new digest replaces its row, which then answers for the
    // new date only.
    void changedFile()
    {
        const QByteArray path = dir() + "/Bob's file.txt";
        Records old, now, batch;
        old.add(path, digest(1), 1700000000.5, 1600000000, 42);
        store(old.all());
        now.add(path, QByteArray(), 1700000001.5, 1600000000, 43);
        lookUp(now.all());
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());

        batch.add(dir() + "/before", digest(3), 10);
        batch.add(path, digest(2), 1700000001.5, 1600000000, 43);
        batch.add(dir() + "/after", digest(4), 11);
        store(batch.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 3);
        lookUp(now.all());
        QCOMPARE(cachedMd5(path), digest(2));
        QCOMPARE(AppGlobals::dictDataBaseFilesMd5.value(path).fileSize, qint64(43));
        lookUp(old.all());
        QVERIFY(!AppGlobals::dictDataBaseFilesMd5.contains(path));
    }

    void zeroDatesReadAsNow()
    {
        Records r;
        r.add(dir() + "/z", digest(5), 1700000000, 0.0);
        r.add(dir() + "/nodate", digest(6), 0.0, 0.0);
        store(r.all());
        const double before = QDateTime::currentMSecsSinceEpoch() / 1000.0 - 0.001;
        lookUp(r.all());
        const double after = QDateTime::currentMSecsSinceEpoch() / 1000.0 + 0.001;
        const auto& found = AppGlobals::dictDataBaseFilesMd5;
        QCOMPARE(found.value(dir() + "/z").modDate, 1700000000.0);
        for (double d : {found.value(dir() + "/z").creationDate, found.value(dir() + "/nodate").modDate})
            QVERIFY2(d >= before && d <= after, qPrintable(QString::number(d, 'f')));
    }

    // The scan list keeps the first of repeated paths and is replaced by the next scan; a
    // deleted cache file means a full rehash and a fresh copy at the next store.
    void scratchTableAndDeletedCache()
    {
        store({});
        Records r, next;
        r.add(dir() + "/same", QByteArray(), 100);
        r.add(dir() + "/same", QByteArray(), 200);
        r.add(dir() + "/other", QByteArray(), 300);
        lookUp(r.all());
        QCOMPARE(query(m_db, "select filePath, fileModDate from tempTable order by filePath"),
                 QList<Row>({{dir() + "/other", "300.0"}, {dir() + "/same", "100.0"}}));
        next.add(dir() + "/new", digest(2), 1);
        lookUp(next.all());
        QCOMPARE(query(m_db, "select filePath from tempTable"), QList<Row>({{dir() + "/new"}}));

        QVERIFY(QFile::remove(QFile::decodeName(m_db)));
        lookUp(next.all());
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());
        QVERIFY(!PathUtils::exists(m_db));
        store(next.all());
        lookUp(next.all());
        QCOMPARE(cachedMd5(dir() + "/new"), digest(2));
    }

    void badCacheFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("random bytes") << "random";
        QTest::newRow("zero length") << "zero";
        QTest::newRow("foreign tables") << "foreign";
        QTest::newRow("folder in its place") << "folder";
    }
    // A broken or foreign cache file costs only speed: nothing wrong is handed out, a file that
    // is not a database is moved aside and replaced by a fresh cache, and other files are not
    // written to.
    void badCacheFile()
    {
        QFETCH(QString, kind);
        const int count = 3000;
        Records good, scan;
        for (int i = 0; i < count; ++i) {
            good.add(dir() + "/files/" + QByteArray::number(i), digest(i + 1), 1000 + i);
            scan.add(dir() + "/files/" + QByteArray::number(i), QByteArray(), 1000 + i);
        }
        QVERIFY(TestSupport::makeDir(dir() + "/cache"));
        if (kind == "random") {
            QVERIFY(TestSupport::writeFile(m_db, QByteArray(8192, '\x5a')));
        } else if (kind == "zero") {
            QVERIFY(TestSupport::writeFile(m_db, QByteArray()));
        } else if (kind == "foreign") {
            QVERIFY(execSql(
                m_db, "CREATE TABLE notes (filePath TEXT, body TEXT); INSERT INTO notes VALUES ('a', 'b');"));
        } else {
            QVERIFY(TestSupport::makeDir(m_db));
        }
        const QByteArray before = readBytes(m_db);

        lookUp(scan.all());
        for (auto it = AppGlobals::dictDataBaseFilesMd5.cbegin();
             it != AppGlobals::dictDataBaseFilesMd5.cend(); ++it)
            QCOMPARE(it.value().fileMd5, digest(it.key().mid(it.key().lastIndexOf('/') + 1).toInt() + 1));
        AppGlobals::dictDataBaseFilesMd5.clear();
        store(std::vector<FileInfoNode*>(good.all().begin(), good.all().begin() + 1000));
        if (kind == "random") {
            QCOMPARE(readBytes(m_db + ".corrupt"), before);
            QCOMPARE(TestSupport::cacheRows(m_db), 1000);
        } else {
            QCOMPARE(readBytes(m_db), before);
        }
    }

    void lockedCache_data()
    {
        QTest::addColumn<QByteArray>("begin");
        QTest::newRow("exclusive lock") << QByteArray("BEGIN EXCLUSIVE");
        QTest::newRow("another writer") << QByteArray("BEGIN IMMEDIATE");
    }
    // A cache locked by another connection: calls return, the changed file is never given its
    // old digest (the scan list still holds the previous scan's dates), and nothing is lost.
    void lockedCache()
    {
        QFETCH(QByteArray, begin);
        const QByteArray path = dir() + "/doc.txt";
        Records first, changed;
        first.add(path, digest(1), 1000);
        store(first.all());
        lookUp(first.all());
        QCOMPARE(cachedMd5(path), digest(1));
        changed.add(path, digest(2), 2000);
        changed.add(dir() + "/new.txt", digest(3), 3000);

        sqlite3* locker = nullptr;
        QCOMPARE(sqlite3_open_v2(m_db.constData(), &locker, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
        const auto lock = [&] { return sqlite3_exec(locker, begin.constData(), nullptr, nullptr, nullptr); };
        const auto release = [&] { sqlite3_exec(locker, "ROLLBACK", nullptr, nullptr, nullptr); };
        // The lock may end between any two steps of a scan.
        for (int releaseAfter : {2, 1}) {
            QCOMPARE(lock(), SQLITE_OK);
            AppGlobals::dictDataBaseFilesMd5.clear();
            SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), m_db);
            if (releaseAfter == 1)
                release();
            SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), m_db, changed.all());
            release();
            SqliteDBOperations::fetchHashInfoFromDbPath(m_db);
            QVERIFY2(cachedMd5(path) != digest(1),
                     releaseAfter == 1 ? "released after the delete" : "at the end");
        }
        QCOMPARE(lock(), SQLITE_OK);
        store(changed.all());
        release();
        sqlite3_close(locker);
        QCOMPARE(TestSupport::cacheRows(m_db), 1);
        lookUp(first.all());
        QCOMPARE(cachedMd5(path), digest(1));
        store(changed.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 2);
    }
};

QUILLON_TEST_MAIN(TestCache)
#include "tst_cache.moc"
