#include "support/TestMain.h"
#include "support/TestTree.h"

#include "app/AppGlobals.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "util/PathUtils.h"

#include <QFile>

#include <cmath>
#include <deque>
#include <sqlite3.h>

namespace {

const QString kHash = QStringLiteral("hashTable");

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
    }
    void cleanup()
    {
        SqliteDBOperations::setDbPathOverride({});
        AppGlobals::dictDataBaseFilesMd5.clear();
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<double>("modDate");
        QTest::addColumn<double>("scannedDate");
        QTest::addColumn<quint64>("size");
        const double t = 1700000000.25;
        QTest::newRow("newline, over 4 GB")
            << QByteArray("two\nlines") << 1.5e9 << 1.5e9 << quint64(5000000000ULL);
        QTest::newRow("not utf8") << QByteArray("caf\xe9 \xff\xfe.mp3") << 1.4e9 << 1.4e9 << quint64(3);
        // Dates match to the six decimals that a printed statement keeps.
        QTest::newRow("half a microsecond apart")
            << QByteArray("a") << t << t + std::ldexp(1.0, -21) << quint64(1);
        QTest::newRow("small, below a microsecond") << QByteArray("b") << 1.5 << 1.5000004 << quint64(1);
        QTest::newRow("2 us later: miss") << QByteArray("c") << t << t + 2e-6 << quint64(1);
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

        // A record taken from the cache is not stored again.
        second.all()[0]->md5 = digest(7);
        store(second.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 2);
    }

    void badCacheFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("random bytes") << "random";
        QTest::newRow("foreign tables") << "foreign";
        QTest::newRow("folder in its place") << "folder";
    }
    // A broken or foreign cache file costs only speed: nothing wrong is handed out, a file that
    // is not a database is moved aside and replaced by a fresh cache, and other files are not
    // written to.
    void badCacheFile()
    {
        QFETCH(QString, kind);
        Records good;
        for (int i = 0; i < 1000; ++i)
            good.add(dir() + "/files/" + QByteArray::number(i), digest(i + 1), 1000 + i);
        QVERIFY(TestSupport::makeDir(dir() + "/cache"));
        if (kind == "random")
            QVERIFY(TestSupport::writeFile(m_db, QByteArray(8192, '\x5a')));
        else if (kind == "foreign")
            QVERIFY(TestSupport::writeFile(m_db, QByteArray()) &&
                    TestSupport::cacheExec(
                        m_db, "CREATE TABLE notes (p TEXT); INSERT INTO notes VALUES ('a');") == 1);
        else
            QVERIFY(TestSupport::makeDir(m_db));
        const QByteArray before = readBytes(m_db);
        lookUp(good.all());
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty());
        store(good.all());
        if (kind == "random") {
            QCOMPARE(readBytes(m_db + ".corrupt"), before);
            QCOMPARE(TestSupport::cacheRows(m_db), 1000);
        } else {
            QCOMPARE(readBytes(m_db), before);
        }
    }

    // A cache locked by another connection: calls return, the changed file is never given its
    // old digest (the scan list still holds the previous scan's dates), and nothing is lost.
    void lockedCache()
    {
        const QByteArray path = dir() + "/doc.txt";
        Records first, changed;
        first.add(path, digest(1), 1000);
        store(first.all());
        changed.add(path, digest(2), 2000);
        changed.add(dir() + "/new.txt", digest(3), 3000);
        lookUp(first.all());
        sqlite3* locker = nullptr;
        QCOMPARE(sqlite3_open_v2(m_db.constData(), &locker, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
        const auto lock = [&] { return sqlite3_exec(locker, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr); };
        // Released between the scan's steps: the previous scan list must not answer.
        QCOMPARE(lock(), SQLITE_OK);
        AppGlobals::dictDataBaseFilesMd5.clear();
        SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), m_db);
        sqlite3_exec(locker, "ROLLBACK", nullptr, nullptr, nullptr);
        SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), m_db, changed.all());
        SqliteDBOperations::fetchHashInfoFromDbPath(m_db);
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.value(path).fileMd5 != digest(1));
        QCOMPARE(lock(), SQLITE_OK);
        store(changed.all());
        sqlite3_close(locker); // rolls back
        QCOMPARE(TestSupport::cacheRows(m_db), 1);
        store(changed.all());
        QCOMPARE(TestSupport::cacheRows(m_db), 2);
    }
};

QUILLON_TEST_MAIN(TestCache)
#include "tst_cache.moc"
