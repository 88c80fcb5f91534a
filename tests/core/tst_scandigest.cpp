#include "app/AppGlobals.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "model/ScanResult.h"
#include "scan/DigestGrouper.h"
#include "scan/IdenticalSetDigest.h"
#include "scan/ScanEngine.h"
#include "scan/ScanState.h"
#include "support/ScanRun.h"
#include "support/ScanTestCase.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFile>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QThread>

#include <fcntl.h>
#include <map>
#include <sqlite3.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// The hashing stage: digests of sets read side by side, stops, changed files, and the
// groups of the fast scans against the plain walk.
namespace {

using TestSupport::duplicateGroups;
using TestSupport::Groups;
using TestSupport::noCache;
using TestSupport::nodeFor;

// Sizes past two read chunks, so that copies part in a later chunk than the first.
constexpr qint64 kSize = 2 * IdenticalSetDigest::kChunk + 1000;

QByteArray randomBytes(QRandomGenerator& rng, qint64 size)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (char& c : bytes)
        c = char(rng.bounded(256));
    return bytes;
}

// Every cache row as "path size digest", in path order.
QList<QByteArray> cacheDump(const QByteArray& db)
{
    QList<QByteArray> rows;
    sqlite3* handle = nullptr;
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_open_v2(db.constData(), &handle, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(handle, "select filePath, fileSize, fileHash from hashTable order by filePath", -1,
                           &statement, nullptr) == SQLITE_OK)
        while (sqlite3_step(statement) == SQLITE_ROW)
            rows << QByteArray(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))) + ' ' +
                        QByteArray::number(sqlite3_column_int64(statement, 1)) + ' ' +
                        reinterpret_cast<const char*>(sqlite3_column_text(statement, 2));
    sqlite3_finalize(statement);
    sqlite3_close(handle);
    return rows;
}

} // namespace

class TestScanDigest : public TestSupport::ScanTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_tree.reset(); }

    void init() { QVERIFY(makeTree()); }

    void abortDuringHashing()
    {
        const QByteArray a1 = file("d/a1", "small pair");
        const QByteArray a2 = file("d/a2", "small pair");
        for (const char* sparse : {"d/z1", "d/z2"})
            QVERIFY(::truncate(file(sparse, {}).constData(), qint64(1) << 31) == 0);
        ScanEngine engine(settings(), &m_alerts); // with the cache: its closing steps run after a stop too
        QSignalSpy spy(&engine, &ScanEngine::finished);
        QVERIFY(engine.startScanning({FilePathNode::initWithPathForFile(p("d"))}));
        QTRY_VERIFY_WITH_TIMEOUT(engine.currentFile().endsWith("/z1") || engine.currentFile().endsWith("/z2"),
                                 20000);
        QThread::msleep(100);
        std::thread stopper([&] { engine.abortScanning(); });
        stopper.join();
        QVERIFY(spy.wait(60000));
        QCOMPARE(spy.first().first().toBool(), true);
        auto result = engine.takeResult();
        QVERIFY(result->aborted);
        QVERIFY(nodeFor(*result, p("d/z1"))->md5.isEmpty() && nodeFor(*result, p("d/z2"))->md5.isEmpty());
        QCOMPARE(duplicateGroups(*result), (Groups{{a1, a2}}));
        QCOMPARE(TestSupport::cacheRows(SqliteDBOperations::getDbPathInLibrary(), a1), 1);
    }

    // Files that vanish or change (contents, dates, status) between the walk and the hashing
    // are skipped with the reason, never grouped; a FIFO that took a file's place is never opened.
    void vanishedOrChangedBeforeHashing()
    {
        AppGlobals::minAllowedFileSize = 0;
        const QByteArray big(20000, 'q');
        ScanResult results[2];
        for (const char* name : {"keep1", "keep2", "gone", "changed", "chmodded", "fifo"}) {
            const QByteArray path = file(QByteArray("d/") + name, big);
            for (ScanResult& result : results)
                result.addNode(*FileInfoNode::initWithPathForFile(path));
        }
        QFile::remove(QFile::decodeName(p("d/gone")));
        struct stat st;
        QVERIFY(::stat(p("d/changed").constData(), &st) == 0);
        const struct timespec later[2] = {st.st_atim, {st.st_mtim.tv_sec + 10, 0}};
        QVERIFY(::utimensat(AT_FDCWD, p("d/changed").constData(), later, 0) == 0);
        QThread::msleep(20); // a status-change time of its own
        QVERIFY(::chmod(p("d/chmodded").constData(), 0640) == 0);
        QFile::remove(QFile::decodeName(p("d/fifo")));
        QVERIFY(::mkfifo(p("d/fifo").constData(), 0644) == 0);
        const QString changed = QStringLiteral("changed during the scan");
        const std::map<QByteArray, QString> reasons{{p("d/gone"), qt_error_string(ENOENT)},
                                                    {p("d/changed"), changed},
                                                    {p("d/chmodded"), changed},
                                                    {p("d/fifo"), changed}};

        for (bool prefilter : {true, false}) {
            ScanResult& result = results[prefilter];
            ScanState state;
            ScanOptions options;
            options.prefilter = prefilter;
            DigestGrouper grouper(result, state, options, [](const std::vector<FileInfoNode*>&) {});
            grouper.filterNodesWithSizeAndMd5();
            QCOMPARE(duplicateGroups(result), (Groups{{p("d/keep1"), p("d/keep2")}}));
            std::map<QByteArray, QString> skipped;
            for (const SkippedItem& item : result.skipped)
                skipped[item.path] = item.reason;
            QCOMPARE(skipped, reasons);
        }
    }

    void fastScansMatchPlainWalk_data()
    {
        QTest::addColumn<quint32>("seed");
        QTest::addColumn<QByteArray>("lanes"); // the MD5 lanes' width, where the CPU has it
        QTest::newRow("seed 1, widest lanes") << 1u << QByteArray();
        QTest::newRow("seed 7, 8 lanes") << 7u << QByteArray("avx2");
        QTest::newRow("seed 5, 8 lanes with rotates") << 5u << QByteArray("avx512vl");
        QTest::newRow("seed 3, one lane") << 3u << QByteArray("scalar");
    }

    // A seeded tree of copies and near-copies (parting in the first block, a later chunk, the
    // middle, the last byte): the fast scans, digesting side by side in MD5 lanes, give the
    // plain walk's groups in its order, its counts and the same cache rows.
    void fastScansMatchPlainWalk()
    {
        QFETCH(quint32, seed);
        QFETCH(QByteArray, lanes);
        qputenv("QUILLON_MD5_LANES", lanes);
        const auto restore = qScopeGuard([] { qunsetenv("QUILLON_MD5_LANES"); });
        QRandomGenerator rng(seed);
        const QList<qint64> sizes = {0, 1, 100, 4095, 4096, 4097, 8192, 8193, 70000, kSize - 1, kSize};
        const QList<QByteArray> templates = {randomBytes(rng, kSize), randomBytes(rng, kSize)};
        const QList<QByteArray> dirs = {"", "a/", "a/b/", "d/"};
        for (int i = 0; i < 120; ++i) {
            const qint64 size = sizes[rng.bounded(int(sizes.size()))];
            QByteArray bytes = templates[rng.bounded(2)].left(size);
            const qint64 at[] = {-1, -1, 0, size - 1, size / 2, qint64(IdenticalSetDigest::kChunk) + 3};
            const qint64 flip = at[rng.bounded(6)];
            if (flip >= 0 && flip < size)
                bytes[flip] = char(bytes[flip] ^ 1);
            file("t/" + dirs[rng.bounded(int(dirs.size()))] + "f" + QByteArray::number(i), bytes);
        }
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        const auto run = [&](int threads, bool share, bool prefilter) {
            ScanOptions options;
            options.hashThreads = threads;
            options.shareDigests = share;
            options.prefilter = prefilter;
            QFile::remove(QFile::decodeName(db));
            auto result = scan({p("t")}, options);
            return std::make_pair(std::move(result), cacheDump(db));
        };
        const auto [plain, plainRows] = run(1, false, false);
        const auto [fast, fastRows] = run(2, true, false);
        const auto [prefiltered, ignored] = run(2, true, true);
        QVERIFY(plain && fast && prefiltered);
        QVERIFY(duplicateGroups(*plain).size() >= 3 && !plainRows.isEmpty());
        for (const ScanResult* r : {fast.get(), prefiltered.get()}) {
            QCOMPARE(duplicateGroups(*r), duplicateGroups(*plain));
            QCOMPARE(r->countDup, plain->countDup);
            QCOMPARE(r->sizeDup, plain->sizeDup);
        }
        QCOMPARE(fastRows, plainRows);
    }
};

QUILLON_TEST_MAIN(TestScanDigest)
#include "tst_scandigest.moc"
