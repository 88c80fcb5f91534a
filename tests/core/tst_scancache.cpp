#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "model/ScanResult.h"
#include "scan/ScanEngine.h"
#include "support/ScanRun.h"
#include "support/ScanTestCase.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QCryptographicHash>
#include <QFile>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
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

class TestScanCache : public TestSupport::ScanTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { m_tree.reset(); }

    void init() { QVERIFY(makeTree()); }

    void cacheReusedUntilModified_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("prefilter");
        QTest::newRow("small file") << 100 << true;
        QTest::newRow("first block, then the rest") << 10000 << true;
        QTest::newRow("full digests only") << 10000 << false;
    }
    // The cached digest is taken only while size and modification date are the file's.
    void cacheReusedUntilModified()
    {
        QFETCH(int, size);
        QFETCH(bool, prefilter);
        const QByteArray a = file("d/a", QByteArray(size, 'a'));
        const QByteArray b = file("d/b", QByteArray(size, 'a'));
        file("d/c", QByteArray(size, 'c'));
        ScanOptions withCache;
        withCache.prefilter = prefilter;
        auto first = scan({p("d")}, withCache);
        QVERIFY(first);
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QCOMPARE(TestSupport::cacheRows(db, b), 1);
        QCOMPARE(duplicateGroups(*first), (Groups{{a, b}}));

        // New bytes, same size and modification date: the cached digest is taken, the file
        // is not read again, and its row is not written again (the marked dates stay).
        const int rows = TestSupport::cacheExec(db, "update hashTable set fileCreationDate = 1");
        QVERIFY(rows >= 2);
        struct stat st;
        QVERIFY(::stat(b.constData(), &st) == 0);
        TestSupport::writeFile(b, QByteArray(size, 'b'));
        const struct timespec times[2] = {st.st_atim, st.st_mtim};
        QVERIFY(::utimensat(AT_FDCWD, b.constData(), times, 0) == 0);
        auto second = scan({p("d")}, withCache);
        QVERIFY(second);
        QCOMPARE(duplicateGroups(*second), (Groups{{a, b}}));
        QCOMPARE(nodeFor(*second, b)->md5,
                 QCryptographicHash::hash(QByteArray(size, 'a'), QCryptographicHash::Md5).toHex());
        QCOMPARE(TestSupport::cacheExec(
                     db, "update hashTable set fileCreationDate = 1 where fileCreationDate = 1"),
                 rows);

        // A new modification date misses the cache: the file is read.
        const struct timespec later[2] = {st.st_atim, {st.st_mtim.tv_sec + 5, 0}};
        QVERIFY(::utimensat(AT_FDCWD, b.constData(), later, 0) == 0);
        auto third = scan({p("d")}, withCache);
        QVERIFY(third);
        QVERIFY(duplicateGroups(*third).isEmpty());
        QCOMPARE(nodeFor(*third, b)->md5,
                 QCryptographicHash::hash(QByteArray(size, 'b'), QCryptographicHash::Md5).toHex());
    }

    // A re-scan takes every digest from the cache and gives the first scan's outcome.
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
            QCOMPARE(it->fileMd5, before->md5);
        }
        QCOMPARE(found, dict.size());
        QCOMPARE(found, qsizetype(second->arrFileNodes.size()) - 1);
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
