#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "model/FileInfoNode.h"
#include "scan/IdenticalSetDigest.h"
#include "support/ScanRun.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QCryptographicHash>
#include <QFile>
#include <QRandomGenerator>

#include <sqlite3.h>

namespace {

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

} // namespace

class TestIdenticalSet : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
        m_tree->settings().setValue(Settings::kMinimumFileSize, 0);
        m_tree->settings().setExcludedFolders({});
        QFile::remove(QFile::decodeName(SqliteDBOperations::getDbPathInLibrary()));
    }
    void cleanup() { m_tree.reset(); }

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
            auto node =
                FileInfoNode::initWithPathForFile(m_tree->file("f" + QByteArray::number(i), contents[i]));
            QVERIFY(node);
            owned.push_back(std::move(*node));
            nodes.push_back(&owned.back());
        }
        QVERIFY(QFile::remove(QFile::decodeName(m_tree->path("f4"))));

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
            m_tree->file("t/d" + QByteArray::number(i % 4) + "/f" + QByteArray::number(i), bytes);
        }
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        const auto run = [&](int threads, bool share) {
            ScanOptions options;
            options.prefilter = false; // every candidate gets a cache row
            options.hashThreads = threads;
            options.shareDigests = share;
            QFile::remove(QFile::decodeName(db));
            auto result = TestSupport::runScan(m_tree->settings(), &m_alerts, {m_tree->path("t")}, options);
            return std::make_pair(std::move(result), cacheDump(db));
        };
        const auto [fast, fastRows] = run(2, true);
        const auto [plain, plainRows] = run(1, false);
        QVERIFY(fast && plain);
        QCOMPARE(TestSupport::duplicateGroups(*fast), TestSupport::duplicateGroups(*plain));
        QVERIFY(TestSupport::duplicateGroups(*plain).size() >= 3);
        QCOMPARE(fast->countDup, plain->countDup);
        QCOMPARE(fast->sizeDup, plain->sizeDup);
        QCOMPARE(fastRows.size(), 24);
        QCOMPARE(fastRows, plainRows);
    }
};

QUILLON_TEST_MAIN(TestIdenticalSet)
#include "tst_identicalset.moc"
