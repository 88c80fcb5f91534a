#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "model/ScanResult.h"
#include "scan/DigestGrouper.h"
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
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

// The scan with its cache: digests reused until a file changes, rows replaced and shared.
namespace {

using TestSupport::duplicateGroups;
using TestSupport::Groups;
using TestSupport::noCache;
using TestSupport::nodeFor;
using TestSupport::sortedGroups;

// Every group as its paths in member order, in arrMainGroup order.
Groups allGroups(const ScanResult& result)
{
    Groups out;
    for (const DuplicateGroup* g : result.arrMainGroup) {
        QList<QByteArray> paths;
        for (const FileInfoNode* n : g->children)
            paths << n->filePath;
        out << paths;
    }
    return out;
}

} // namespace

class TestScanCache : public QObject
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

    void cacheReusedUntilModified()
    {
        const QByteArray a = file("d/a", QByteArray(10000, 'a'));
        const QByteArray b = file("d/b", QByteArray(10000, 'a'));
        file("d/c", QByteArray(10000, 'c'));
        ScanOptions withCache;
        auto first = scan({p("d")}, withCache);
        QVERIFY(first);
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QCOMPARE(TestSupport::cacheRows(db, a), 1);
        QCOMPARE(TestSupport::cacheRows(db, b), 1);
        QCOMPARE(duplicateGroups(*first), (Groups{{a, b}}));

        // New bytes, same size and modification date: the cached digest is taken, the file
        // is not read again.
        struct stat st;
        QVERIFY(::stat(b.constData(), &st) == 0);
        TestSupport::writeFile(b, QByteArray(10000, 'b'));
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        QVERIFY(::utimensat(AT_FDCWD, b.constData(), times, 0) == 0);
        auto second = scan({p("d")}, withCache);
        QVERIFY(second);
        QCOMPARE(duplicateGroups(*second), (Groups{{a, b}}));
        QCOMPARE(nodeFor(*second, b)->md5,
                 QCryptographicHash::hash(QByteArray(10000, 'a'), QCryptographicHash::Md5).toHex());

        // A new modification date misses the cache: the file is read.
        const struct timespec later[2] = {st.st_atim, {st.st_mtim.tv_sec + 5, 0}};
        QVERIFY(::utimensat(AT_FDCWD, b.constData(), later, 0) == 0);
        auto third = scan({p("d")}, withCache);
        QVERIFY(third);
        QVERIFY(duplicateGroups(*third).isEmpty());
        QCOMPARE(nodeFor(*third, b)->md5,
                 QCryptographicHash::hash(QByteArray(10000, 'b'), QCryptographicHash::Md5).toHex());

        // Without the cache nothing is read from or written to it.
        QFile::remove(QFile::decodeName(db));
        auto uncached = scan({p("d")}, noCache());
        QVERIFY(uncached);
        QVERIFY(!QFile::exists(QFile::decodeName(db)));
    }

    // A re-scan takes every digest from the cache. The lookup's keys are the records' own
    // path bytes and the records hold the cached digests' bytes, not copies of either; the
    // outcome is the first scan's.
    void rescanSharesCachedBytes()
    {
        // Pairs and more, same-size strangers, a size of its own, names with a quote; more
        // groups than the digest table starts with.
        for (int i = 0; i < 120; ++i) {
            const QByteArray contents = "contents " + QByteArray::number(i) + QByteArray(i % 7, 'x');
            file("t/d" + QByteArray::number(i % 5) + "/p" + QByteArray::number(i), contents);
            if (i % 3 == 0)
                file("t/e/q" + QByteArray::number(i), contents);
            if (i % 10 == 0)
                file("t/e/it's " + QByteArray::number(i), contents);
        }
        const QByteArray lonely = file("t/lonely", QByteArray(5000, 'l'));
        ScanOptions withCache;
        auto first = scan({p("t")}, withCache);
        QVERIFY(first);
        QVERIFY(AppGlobals::dictDataBaseFilesMd5.isEmpty()); // no cache file before the first
        auto second = scan({p("t")}, withCache);
        QVERIFY(second);

        QCOMPARE(allGroups(*second), allGroups(*first));
        QCOMPARE(duplicateGroups(*second).size(), qsizetype(48));
        QCOMPARE(second->countScanned, first->countScanned);
        QCOMPARE(second->countDup, first->countDup);
        QCOMPARE(second->sizeDup, first->sizeDup);

        const auto& dict = AppGlobals::dictDataBaseFilesMd5;
        qsizetype found = 0;
        for (const FileInfoNode* node : second->arrFileNodes) {
            const FileInfoNode* before = nodeFor(*first, node->filePath);
            QVERIFY(before);
            QCOMPARE(node->md5, before->md5);
            const auto it = dict.constFind(node->filePath);
            if (node->filePath == lonely) {
                QVERIFY(it == dict.constEnd()); // never a candidate, never stored
                continue;
            }
            QVERIFY2(it != dict.constEnd(), node->filePath.constData());
            ++found;
            QVERIFY(it.key().constData() == node->filePath.constData());
            QVERIFY(node->md5.constData() == it->fileMd5.constData());
            QCOMPARE(it->fileMd5, before->md5);
            QCOMPARE(it->modDate, SqliteDBOperations::storedSeconds(node->modDate));
            QCOMPARE(it->fileSize, qint64(node->fileSize));
        }
        QCOMPARE(found, dict.size());
        QCOMPARE(found, qsizetype(second->arrFileNodes.size()) - 1);
    }

    // The lookup given the list the scratch table was written from shares its paths; given
    // any other list it finds the same rows and copies the paths.
    void lookupSharesOnlyTheWrittenRecordsPaths()
    {
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QVERIFY(SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource()));
        std::vector<FileInfoNode> records(6);
        std::vector<FileInfoNode*> written;
        for (size_t i = 0; i < records.size(); ++i) {
            records[i].filePath = p("r/it's " + QByteArray::number(qulonglong(i)));
            records[i].modDate = 1700000000.25 + double(i);
            records[i].createDate = 1600000000.5;
            records[i].fileSize = 100 + i;
            records[i].md5 = QCryptographicHash::hash(records[i].filePath, QCryptographicHash::Md5).toHex();
            written.push_back(&records[i]);
        }
        AppGlobals::dictDataBaseFilesMd5.clear();
        SqliteDBOperations::insertDataInTable(QStringLiteral("hashTable"), db, written);

        const auto lookUp = [&](const std::vector<FileInfoNode*>& scanned) {
            AppGlobals::dictDataBaseFilesMd5.clear();
            SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, written);
            SqliteDBOperations::fetchHashInfoFromDbPath(db, scanned);
        };
        const auto check = [&](bool shared) {
            const auto& dict = AppGlobals::dictDataBaseFilesMd5;
            QCOMPARE(dict.size(), qsizetype(records.size()));
            for (const FileInfoNode& record : records) {
                const auto it = dict.constFind(record.filePath);
                QVERIFY(it != dict.constEnd());
                QCOMPARE(it.key().constData() == record.filePath.constData(), shared);
                QCOMPARE(it->fileMd5, record.md5);
                QCOMPARE(it->fileSize, qint64(record.fileSize));
                QCOMPARE(it->modDate, record.modDate);
                QCOMPARE(it->creationDate, record.createDate);
            }
        };
        lookUp(written);
        check(true);
        std::vector<FileInfoNode*> reversed(written.rbegin(), written.rend());
        lookUp(reversed);
        check(false);
        lookUp({}); // the lookup without a list
        check(false);
        std::vector<FileInfoNode*> shorter(written.begin(), written.begin() + 2);
        lookUp(shorter);
        for (size_t i = 0; i < records.size(); ++i)
            QCOMPARE(AppGlobals::dictDataBaseFilesMd5.constFind(records[i].filePath).key().constData() ==
                         records[i].filePath.constData(),
                     i < 2);
    }

    // A cached digest counts only with the row's size; a new digest replaces the row, and the
    // rows of files that are gone are dropped.
    void staleCachedDigestOfOtherSize()
    {
        const QByteArray a = file("d/a", "1234");
        const QByteArray c = file("d/c", "1234");
        ScanOptions withCache;
        QVERIFY(scan({p("d")}, withCache));
        struct stat st;
        QVERIFY(::stat(a.constData(), &st) == 0);
        TestSupport::writeFile(a, "5678abcd");
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        QVERIFY(::utimensat(AT_FDCWD, a.constData(), times, 0) == 0);
        const QByteArray e = file("d/e", "5678abcd");
        QFile::remove(QFile::decodeName(c));
        auto result = scan({p("d")}, withCache);
        QVERIFY(result);
        QCOMPARE(sortedGroups(duplicateGroups(*result)), (Groups{{a, e}}));
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QCOMPARE(TestSupport::cacheRows(db, a), 1);
        QCOMPARE(TestSupport::cacheRows(db, c), 0);
        auto again = scan({p("d")}, withCache);
        QCOMPARE(nodeFor(*again, a)->md5,
                 QCryptographicHash::hash("5678abcd", QCryptographicHash::Md5).toHex());
    }
};

QUILLON_TEST_MAIN(TestScanCache)
#include "tst_scancache.moc"
