#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "model/ScanResult.h"
#include "scan/DigestGrouper.h"
#include "scan/IdenticalSetDigest.h"
#include "scan/ScanEngine.h"
#include "scan/ScanState.h"
#include "support/ScanRun.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QThread>

#include <algorithm>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sqlite3.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// The hashing stage: digests of sets read side by side, stops, changed files, and the
// groups against a brute-force reference and the plain walk.
namespace {

using TestSupport::duplicateGroups;
using TestSupport::Groups;
using TestSupport::noCache;
using TestSupport::nodeFor;
using TestSupport::sortedGroups;

bool makeSparse(const QByteArray& path, qint64 size)
{
    if (!TestSupport::writeFile(path, QByteArray()))
        return false;
    return ::truncate(path.constData(), size) == 0;
}

// Sizes past two read chunks, so that copies part in a later chunk than the first.
constexpr qint64 kSize = 2 * IdenticalSetDigest::kChunk + 1000;

QByteArray md5Hex(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
}

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

// The walk as a user expects it: sorted by name byte for byte, hidden names skipped,
// links and special files left out; the reference the engine is compared with.
void referenceWalk(const QByteArray& dir, QList<QByteArray>& files)
{
    QList<QByteArray> names;
    for (const QString& n :
         QDir(QFile::decodeName(dir))
             .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot))
        names << QFile::encodeName(n);
    std::sort(names.begin(), names.end());
    for (const QByteArray& name : names) {
        if (name.startsWith('.'))
            continue;
        const QByteArray path = dir + '/' + name;
        struct stat st;
        if (::lstat(path.constData(), &st) != 0)
            continue;
        if (S_ISDIR(st.st_mode))
            referenceWalk(path, files);
        else if (S_ISREG(st.st_mode))
            files << path;
    }
}

struct Reference
{
    Groups groups;
    quint32 countDup = 0;
    quint64 sizeDup = 0;
};

// Brute force: every file of a shared size fully digested, grouped by digest in walk order.
Reference referenceGroups(const QByteArray& root)
{
    QList<QByteArray> files;
    referenceWalk(root, files);
    std::map<qint64, int> sizeCount;
    for (const QByteArray& f : files)
        ++sizeCount[QFileInfo(QFile::decodeName(f)).size()];
    std::map<QByteArray, QList<QByteArray>> byDigest;
    Reference ref;
    for (const QByteArray& f : files) {
        QFile file(QFile::decodeName(f));
        if (sizeCount[file.size()] < 2 || !file.open(QIODevice::ReadOnly))
            continue;
        QCryptographicHash hash(QCryptographicHash::Md5);
        hash.addData(&file);
        QList<QByteArray>& members = byDigest[hash.result()];
        if (!members.isEmpty()) {
            ++ref.countDup;
            ref.sizeDup += quint64(file.size());
        }
        members << f;
    }
    for (const auto& [digest, members] : byDigest)
        if (members.size() > 1)
            ref.groups << members;
    ref.groups = sortedGroups(ref.groups);
    return ref;
}

} // namespace

class TestScanDigest : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;

    Settings& settings() const { return m_tree->settings(); }
    QByteArray p(const QByteArray& relative) const { return m_tree->path(relative); }
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const
    {
        return m_tree->file(relative, contents);
    }
    std::unique_ptr<ScanResult> scan(const QList<QByteArray>& paths, const ScanOptions& options = noCache())
    {
        return TestSupport::runScan(settings(), &m_alerts, paths, options);
    }

private Q_SLOTS:
    void cleanup() { m_tree.reset(); }

    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
        settings().setValue(Settings::kMinimumFileSize, 0);
        settings().setValue(Settings::kFileSizeUnit, 0);
        settings().setExcludedFolders({});
        m_alerts.clear();
        QFile::remove(QFile::decodeName(SqliteDBOperations::getDbPathInLibrary()));
    }

    // More members than are open at once: copies, and near-copies parting in the first,
    // a middle and the last chunk, each get the digest of their own bytes; a file gone
    // since the walk gets none, and a stopped run gives none at all.
    void digestsAreEachFilesOwn()
    {
        QRandomGenerator rng(15);
        const QByteArray base = randomBytes(rng, kSize);
        QList<QByteArray> contents;
        const qint64 middle = qint64(IdenticalSetDigest::kChunk) + 7;
        for (qint64 at :
             std::initializer_list<qint64>{-1, 0, -1, middle, -1, kSize - 1, -1, kSize - 1, -1, 10}) {
            QByteArray bytes = base;
            if (at >= 0)
                bytes[at] = char(bytes[at] ^ 0x40);
            contents << bytes;
        }
        std::vector<FileInfoNode> owned;
        owned.reserve(size_t(contents.size()));
        std::vector<FileInfoNode*> nodes;
        for (qsizetype i = 0; i < contents.size(); ++i) {
            auto node = FileInfoNode::initWithPathForFile(file("f" + QByteArray::number(i), contents[i]));
            QVERIFY(node);
            owned.push_back(std::move(*node));
            nodes.push_back(&owned.back());
        }
        QVERIFY(QFile::remove(QFile::decodeName(p("f4"))));

        const std::atomic<bool> running{false};
        const std::vector<QByteArray> digests = IdenticalSetDigest::digest(nodes, &running);
        for (qsizetype i = 0; i < contents.size(); ++i)
            QCOMPARE(digests[size_t(i)], i == 4 ? QByteArray() : md5Hex(contents[i]));

        const std::atomic<bool> stopped{true};
        for (const QByteArray& digest : IdenticalSetDigest::digest(nodes, &stopped))
            QVERIFY(digest.isEmpty());
    }

    // A tree of copies and near-copies: the scan with two threads and shared digests gives
    // the groups, counts and cache rows of the plain walk (one thread, each file on its own).
    void scanMatchesPlainWalk()
    {
        QRandomGenerator rng(7);
        const QByteArray base = randomBytes(rng, kSize);
        for (int i = 0; i < 24; ++i) {
            QByteArray bytes = base.left(i % 3 == 0 ? kSize : kSize - 1 - i % 2);
            const int variant = rng.bounded(4);
            if (variant > 0)
                bytes[IdenticalSetDigest::kChunk * (variant - 1) + 3] = char(rng.bounded(2));
            file("t/d" + QByteArray::number(i % 4) + "/f" + QByteArray::number(i), bytes);
        }
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        const auto run = [&](int threads, bool share) {
            ScanOptions options;
            options.prefilter = false; // every candidate gets a cache row
            options.hashThreads = threads;
            options.shareDigests = share;
            QFile::remove(QFile::decodeName(db));
            auto result = scan({p("t")}, options);
            return std::make_pair(std::move(result), cacheDump(db));
        };
        const auto [fast, fastRows] = run(2, true);
        const auto [plain, plainRows] = run(1, false);
        QVERIFY(fast && plain);
        QCOMPARE(duplicateGroups(*fast), duplicateGroups(*plain));
        QVERIFY(duplicateGroups(*plain).size() >= 3);
        QCOMPARE(fast->countDup, plain->countDup);
        QCOMPARE(fast->sizeDup, plain->sizeDup);
        QCOMPARE(fastRows.size(), 24);
        QCOMPARE(fastRows, plainRows);
    }

    void abortDuringHashing()
    {
        const QByteArray a1 = file("d/a1", "small pair");
        const QByteArray a2 = file("d/a2", "small pair");
        const qint64 big = qint64(1) << 31;
        QVERIFY(makeSparse(p("d/z1"), big));
        QVERIFY(makeSparse(p("d/z2"), big));
        ScanOptions options; // with the cache: its closing steps run after a stop too
        std::vector<FilePathNode> entries{FilePathNode::initWithPathForFile(p("d"))};
        ScanEngine engine(settings(), &m_alerts);
        engine.setOptions(options);
        QSignalSpy spy(&engine, &ScanEngine::finished);
        QVERIFY(engine.startScanning(entries));
        QVERIFY(engine.isScanning());
        QTRY_VERIFY_WITH_TIMEOUT(engine.currentFile().endsWith("/z1") || engine.currentFile().endsWith("/z2"),
                                 20000);
        QThread::msleep(100);
        std::thread stopper([&] { engine.abortScanning(); });
        stopper.join();
        QVERIFY(spy.wait(60000));
        QCOMPARE(spy.first().first().toBool(), true);
        QVERIFY(!engine.isScanning());
        auto result = engine.takeResult();
        QVERIFY(result->aborted);
        QVERIFY(nodeFor(*result, p("d/z1"))->md5.isEmpty());
        QVERIFY(nodeFor(*result, p("d/z2"))->md5.isEmpty());
        QCOMPARE(duplicateGroups(*result), (Groups{{a1, a2}}));
        QCOMPARE(result->countDup, 1u);
        QCOMPARE(TestSupport::cacheRows(SqliteDBOperations::getDbPathInLibrary(), a1), 1);
    }

    // Files that vanish or change (contents, dates, status) between the walk and the hashing
    // are skipped with the reason, never grouped; a FIFO that took a file's place is never opened.
    void vanishedOrChangedBeforeHashing()
    {
        AppGlobals::minAllowedFileSize = 0;
        const QByteArray big(20000, 'q');
        ScanResult result;
        for (const char* name : {"keep1", "keep2", "gone", "changed", "chmodded", "fifo"})
            result.addNode(*FileInfoNode::initWithPathForFile(file(QByteArray("d/") + name, big)));
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
            for (FileInfoNode* n : result.arrFileNodes) {
                n->md5.clear();
                n->isMd5Calucaluted = false;
                n->parent = nullptr;
            }
            result.groups.clear();
            result.arrMainGroup.clear();
            result.skipped.clear();
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

    void matchesFullDigestReference_data()
    {
        QTest::addColumn<quint32>("seed");
        QTest::newRow("seed 1") << 1u;
        QTest::newRow("seed 7") << 7u;
        QTest::newRow("seed 42") << 42u;
    }

    // Prefilter and hashing threads against a brute-force digest of every candidate.
    void matchesFullDigestReference()
    {
        QFETCH(quint32, seed);
        QRandomGenerator rng(seed);
        const QList<qint64> sizes = {0, 1, 100, 4095, 4096, 4097, 8191, 8192, 8193, 12288, 70000};
        QList<QByteArray> templates;
        for (int t = 0; t < 4; ++t) {
            QByteArray bytes(70000, Qt::Uninitialized);
            for (char& c : bytes)
                c = char(rng.bounded(256));
            templates << bytes;
        }
        const QList<QByteArray> dirs = {"", "a", "a/b", "a/b/c", "d", "d/e"};
        for (int i = 0; i < 160; ++i) {
            const qint64 size = sizes[rng.bounded(int(sizes.size()))];
            QByteArray contents = templates[rng.bounded(int(templates.size()))].left(size);
            const int variant = rng.bounded(5);
            if (size > 0 && variant == 1)
                contents[0] = char(contents[0] ^ 1); // differs in the first block
            else if (size > 0 && variant == 2)
                contents[size - 1] = char(contents[size - 1] ^ 1); // differs in the last byte
            else if (size > 5000 && variant == 3)
                contents[size / 2] = char(contents[size / 2] ^ 1); // differs only in the middle
            const QByteArray dir = dirs[rng.bounded(int(dirs.size()))];
            file("t/" + dir + (dir.isEmpty() ? "" : "/") + "f" + QByteArray::number(i), contents);
        }
        const Reference ref = referenceGroups(p("t"));
        QVERIFY(!ref.groups.isEmpty());

        ScanOptions fast = noCache();
        fast.prefilter = true;
        fast.hashThreads = 2;
        auto result = scan({p("t")}, fast);
        QVERIFY(result);
        QCOMPARE(sortedGroups(duplicateGroups(*result)), ref.groups);
        QCOMPARE(result->countDup, ref.countDup);
        QCOMPARE(result->sizeDup, ref.sizeDup);

        // The plain walk: one thread, every candidate fully digested; same groups in the
        // same order of arrMainGroup.
        ScanOptions plain = noCache();
        plain.prefilter = false;
        plain.hashThreads = 1;
        auto reference = scan({p("t")}, plain);
        QVERIFY(reference);
        QCOMPARE(duplicateGroups(*result), duplicateGroups(*reference));
        QCOMPARE(result->arrMainGroup.size(), reference->arrMainGroup.size());
        for (size_t g = 0; g < result->arrMainGroup.size(); ++g)
            QCOMPARE(result->arrMainGroup[g]->children.front()->filePath,
                     reference->arrMainGroup[g]->children.front()->filePath);
    }
};

QUILLON_TEST_MAIN(TestScanDigest)
#include "tst_scandigest.moc"
