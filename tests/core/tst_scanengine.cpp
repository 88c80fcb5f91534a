#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "fixtures/PhotosLibraryFixture.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "scan/DigestGrouper.h"
#include "scan/PathExclusion.h"
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

// Every group, one-member groups too, as its paths in member order, in arrMainGroup order.
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

class TestScanEngine : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;

    Settings& settings() const { return m_tree->settings(); }
    QByteArray root() const { return m_tree->root(); }
    QByteArray p(const QByteArray& relative) const { return m_tree->path(relative); }
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const
    {
        return m_tree->file(relative, contents);
    }

    static PhotosLibraryFixture::Photo photo(const QByteArray& masterPath)
    {
        return PhotosLibraryFixture::Photo(masterPath, "photo bytes");
    }

    std::unique_ptr<ScanResult> scan(const QList<QByteArray>& paths, const ScanOptions& options = noCache(),
                                     const std::vector<int>& states = {})
    {
        return TestSupport::runScan(settings(), &m_alerts, paths, options, states);
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

    void scanPathButtonState_data()
    {
        QTest::addColumn<QList<QByteArray>>("entries");
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("two ticked files") << QList<QByteArray>{"f1", "f2"} << QList<int>{1, 1} << true;
        QTest::newRow("one ticked file") << QList<QByteArray>{"f1"} << QList<int>{1} << false;
        QTest::newRow("one ticked of two files")
            << QList<QByteArray>{"f1", "f2"} << QList<int>{1, 0} << false;
        QTest::newRow("a folder alone") << QList<QByteArray>{"d"} << QList<int>{1} << true;
        QTest::newRow("only unticked entries")
            << QList<QByteArray>{"d", "f1", "f2"} << QList<int>{0, 0, 0} << false;
        QTest::newRow("file and missing path")
            << QList<QByteArray>{"f1", "missing"} << QList<int>{1, 1} << true;
    }

    void scanPathButtonState()
    {
        QFETCH(QList<QByteArray>, entries);
        QFETCH(QList<int>, states);
        QFETCH(bool, allowed);
        file("f1", "one");
        file("f2", "two");
        m_tree->dir("d");
        std::vector<FilePathNode> nodes;
        QList<QByteArray> paths;
        for (qsizetype i = 0; i < entries.size(); ++i) {
            FilePathNode n = FilePathNode::initWithPathForFile(p(entries[i]));
            n.state = states[i];
            nodes.push_back(n);
            paths << p(entries[i]);
        }
        QCOMPARE(ScanEngine::scanPathButtonState(nodes), allowed);

        auto result = scan(paths, noCache(), std::vector<int>(states.begin(), states.end()));
        QCOMPARE(result != nullptr, allowed);
        if (allowed) {
            QVERIFY(m_alerts.alerts().isEmpty());
        } else {
            QCOMPARE(m_alerts.alerts().size(), 1);
            QCOMPARE(m_alerts.alerts().first().messageText, ScanEngine::kOnlyOneItemMessage);
            QCOMPARE(m_alerts.alerts().first().informativeText, ScanEngine::kOnlyOneItemHint);
            QCOMPARE(m_alerts.alerts().first().buttons, QStringList{QStringLiteral("OK")});
        }
    }

    void groupsByContent()
    {
        file("a/one", "same contents");
        file("a/sub/two", "same contents");
        file("b/three", "same contents");
        file("b/other", "SAME CONTENTS"); // same size, other bytes
        file("c/x1", "xx");
        file("c/x2", "yy");
        file("lonely", "a size of its own");
        auto result = scan({p("a"), p("b"), p("c"), p("lonely")});
        QVERIFY(result);
        QVERIFY(!result->aborted);
        QCOMPARE(result->countScanned, 7u);
        QCOMPARE(result->totSizeScanned, quint64(13 * 4 + 2 * 2 + 17));
        QCOMPARE(duplicateGroups(*result), (Groups{{p("a/one"), p("a/sub/two"), p("b/three")}}));
        QCOMPARE(result->countDup, 2u);
        QCOMPARE(result->sizeDup, quint64(2 * 13));
        const DuplicateGroup* group = nodeFor(*result, p("a/one"))->parent;
        QCOMPARE(group->groupSize, quint64(3 * 13));
        QCOMPARE(group->filteredChildren, group->children);
        QCOMPARE(nodeFor(*result, p("b/three"))->md5,
                 QCryptographicHash::hash("same contents", QCryptographicHash::Md5).toHex());
        // Same size, other contents: no group.
        QVERIFY(!nodeFor(*result, p("c/x1"))->parent && !nodeFor(*result, p("c/x2"))->parent);
        QVERIFY(!nodeFor(*result, p("lonely"))->parent); // a size of its own is never read
        QVERIFY(result->isAnyGroupContainsDuplicate());
        result->removeGroupsWithoutDuplicates();
        QCOMPARE(result->arrMainGroup.size(), size_t(1));

        // Only same-size strangers: nothing to report, nothing left after the hand-off.
        auto none = scan({p("c")});
        QVERIFY(none);
        QCOMPARE(none->countDup, 0u);
        QVERIFY(!none->isAnyGroupContainsDuplicate());
        none->removeGroupsWithoutDuplicates();
        QVERIFY(none->arrMainGroup.empty());
    }

    void minimumSizeBoundary_data()
    {
        QTest::addColumn<int>("minimum");
        QTest::addColumn<int>("unit");
        QTest::addColumn<qint64>("below");
        QTest::newRow("1 MB") << 1 << 1 << qint64(1048576);
        QTest::newRow("3 KB") << 3 << 0 << qint64(3072);
        QTest::newRow("unknown unit counts as KB") << 2 << 7 << qint64(2048);
    }

    void minimumSizeBoundary()
    {
        QFETCH(int, minimum);
        QFETCH(int, unit);
        QFETCH(qint64, below);
        settings().setValue(Settings::kMinimumFileSize, minimum);
        settings().setValue(Settings::kFileSizeUnit, unit);
        QVERIFY(makeSparse(p("d/small1"), below - 1));
        QVERIFY(makeSparse(p("d/small2"), below - 1));
        QVERIFY(makeSparse(p("d/exact1"), below));
        QVERIFY(makeSparse(p("d/exact2"), below));
        auto result = scan({p("d")});
        QVERIFY(result);
        QCOMPARE(AppGlobals::minAllowedFileSize.load(), quint64(below));
        QCOMPARE(result->countScanned, 2u);
        QVERIFY(!nodeFor(*result, p("d/small1")));
        QCOMPARE(duplicateGroups(*result), (Groups{{p("d/exact1"), p("d/exact2")}}));
    }

    void exclusions_data()
    {
        QTest::addColumn<QString>("excluded");
        QTest::newRow("exact case") << QStringLiteral("M");
        QTest::newRow("other case") << QStringLiteral("m");
    }

    void exclusions()
    {
        QFETCH(QString, excluded);
        file("M/a", "same");
        file("M/deep/b", "same");
        file("M1/c", "same");
        file("N/d", "same");
        file("N/M/e", "same"); // a folder named M elsewhere is not the excluded one
        settings().setExcludedFolders({QFile::decodeName(root()) + QLatin1Char('/') + excluded});
        auto result = scan({root()});
        QVERIFY(result);
        QCOMPARE(duplicateGroups(*result), (Groups{{p("M1/c"), p("N/M/e"), p("N/d")}}));

        // The excluded folder itself as an entry of the list is skipped too.
        auto direct = scan({p("M"), p("N/d")});
        QVERIFY(direct);
        QCOMPARE(direct->countScanned, 1u);
    }

    void exclusionPattern_data()
    {
        QTest::addColumn<QStringList>("excluded");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<bool>("isExcluded");
        QTest::newRow("folder itself") << QStringList{"/a/b"} << QByteArray("/a/b") << true;
        QTest::newRow("below, other case") << QStringList{"/a/b"} << QByteArray("/A/B/c/d") << true;
        QTest::newRow("newline in a name") << QStringList{"/x"} << QByteArray("/x/new\nline") << true;
        QTest::newRow("name prefix") << QStringList{"/a/b"} << QByteArray("/a/bc") << false;
        QTest::newRow("parent") << QStringList{"/a/b"} << QByteArray("/a") << false;
        QTest::newRow("plus") << QStringList{"/a+b"} << QByteArray("/a+b/f") << true;
        QTest::newRow("plus is literal") << QStringList{"/a+b"} << QByteArray("/aab/f") << false;
        QTest::newRow("dot is literal") << QStringList{"/a.c"} << QByteArray("/abc/f") << false;
        QTest::newRow("bracket") << QStringList{"/[x", "/y"} << QByteArray("/[x/f") << true;
        QTest::newRow("others kept") << QStringList{"/(x", "/y"} << QByteArray("/y/f") << true;
        QTest::newRow("unusable skipped") << QStringList{"", "rel", "/y"} << QByteArray("/z/f") << false;
        QTest::newRow("nothing") << QStringList{} << QByteArray("/a") << false;
    }

    void exclusionPattern()
    {
        QFETCH(QStringList, excluded);
        QFETCH(QByteArray, path);
        QFETCH(bool, isExcluded);
        PathExclusion exclusion;
        exclusion.makeRegExDirPath(excluded);
        QCOMPARE(exclusion.isPathExcluded(path), isExcluded);
    }

    // What the walk takes: hidden names, links and special files are left out, every other
    // name is kept byte for byte, and an entry inside another entry is recorded once.
    void walkSelection()
    {
        const QList<QByteArray> names = {"with space",      "quote\"s'",  "new\nline", "-leading-dash",
                                         "latin1-\xe9\xff", // not UTF-8
                                         "caf\xc3\xa9",     // NFC
                                         "cafe\xcc\x81",    // NFD
                                         "star*?[x]",       "back\\slash"};
        QList<QByteArray> paths;
        for (const QByteArray& name : names)
            paths << file("d/" + name, "same");
        paths << file("d/sub/visible", "same") << file("e/visible", "same");
        file("d/other", "othr");
        file("d/.hidden", "same");
        file("d/.DS_Store", "same");
        file("d/.dir/inside", "same");
        QVERIFY(::symlink(p("d/sub/visible").constData(), p("d/link").constData()) == 0);
        QVERIFY(::symlink(p("e").constData(), p("d/linkdir").constData()) == 0);
        QVERIFY(::mkfifo(p("d/fifo").constData(), 0644) == 0);
        auto result = scan({p("d"), p("e"), p("d/sub"), p("d/sub/visible")});
        QVERIFY(result); // the FIFO is never opened, so the scan cannot block on it
        QCOMPARE(result->countScanned, quint32(paths.size() + 1));
        std::sort(paths.begin(), paths.end()); // walk order: names byte for byte
        QCOMPARE(duplicateGroups(*result), (Groups{paths}));
    }

    void entryBeginningWithDot()
    {
        file("d/a", "same");
        file("d/b", "same");
        const QString saved = QDir::currentPath();
        QDir::setCurrent(QFile::decodeName(root()));
        auto result = scan({"./d", p("d/a"), p("d/b")}, noCache(), {1, 0, 0});
        QDir::setCurrent(saved);
        QVERIFY(result);
        QCOMPARE(result->countScanned, 0u);
    }

    void packagesAreOneItem()
    {
        for (const QByteArray& pkg : {QByteArray("Foo.app"), QByteArray("Bar.app"), QByteArray("Baz.app")}) {
            file("d/" + pkg + "/Contents/Info.plist", "plist");
            file("d/" + pkg + "/Contents/MacOS/binary", "binary");
            file("d/" + pkg + "/.DS_Store", pkg); // skipped: differs per package
        }
        file("d/Baz.app/Contents/.hidden", "hidden files count"); // makes Baz differ
        file("d/Qux.app/Contents/Info.plist", "plist");
        file("d/Qux.app/Contents/MacOS/binary", "BINARY"); // same size, other bytes
        auto result = scan({p("d")});
        QVERIFY(result);
        QCOMPARE(result->countScanned, 4u);
        const FileInfoNode* foo = nodeFor(*result, p("d/Foo.app"));
        QVERIFY(foo);
        QVERIFY(foo->isDirectory);
        const QByteArray plist = QCryptographicHash::hash("plist", QCryptographicHash::Md5).toHex();
        const QByteArray binary = QCryptographicHash::hash("binary", QCryptographicHash::Md5).toHex();
        // Sorted listing: "Info.plist" < "MacOS".
        QCOMPARE(foo->md5, plist + binary);
        QCOMPARE(duplicateGroups(*result), (Groups{{p("d/Bar.app"), p("d/Foo.app")}}));
        QCOMPARE(result->countDup, 1u);
        QCOMPARE(result->sizeDup, foo->fileSize);
    }

    void photoLibraries()
    {
        PhotosLibraryFixture first(p("d"), "First");
        first.addPhoto(photo("2020/a.jpg"));
        first.addPhoto(photo("2020/b.jpg"));
        QVERIFY(first.write());
        PhotosLibraryFixture second(p("d"), "Second");
        second.addPhoto(photo("2021/c.jpg"));
        QVERIFY(second.write());
        file("d/Old.migratedphotolibrary/Masters/x.jpg", "photo bytes");
        auto result = scan({p("d")});
        QVERIFY(result);
        // One Photos library per scan; the migrated library is never read.
        QCOMPARE(result->countScanned, 2u);
        const FileInfoNode* a = nodeFor(*result, first.photo(0).imagePath);
        QVERIFY(a);
        QVERIFY(a->isPhotosNode);
        QCOMPARE(a->libraryPath, first.libraryPath());
        QVERIFY(a->photosInfo);
        QCOMPARE(a->photosInfo->uuIDRkVersion, first.photo(0).versionUuid);
        QVERIFY(a->photosInfo->tPath.isEmpty());
        QCOMPARE(duplicateGroups(*result), (Groups{{first.photo(0).imagePath, first.photo(1).imagePath}}));
    }

    void photosLibraryOpenInItsApplication_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("scanned");
        QTest::newRow("quit and retry") << 0 << 2;
        QTest::newRow("skip the library") << 1 << 0;
    }

    void photosLibraryOpenInItsApplication()
    {
        QFETCH(int, answer);
        QFETCH(int, scanned);
        PhotosLibraryFixture library(p("d"), "Open");
        library.addPhoto(photo("a.jpg"));
        library.addPhoto(photo("b.jpg"));
        QVERIFY(library.write());
        QStringList asked;
        ScanOptions options = noCache();
        // Photos runs until it has been asked to quit once.
        options.applicationRunning = [&](const QString& id) {
            asked << id;
            return asked.size() == 1;
        };
        m_alerts.enqueueAnswer(answer);
        auto result = scan({p("d")}, options);
        QVERIFY(result);
        QCOMPARE(asked.first(), QStringLiteral("com.apple.Photos"));
        QCOMPARE(m_alerts.alerts().size(), 1);
        const Alert alert = m_alerts.alerts().first();
        QCOMPARE(alert.messageText, QStringLiteral("Quit iPhoto/Photos Library and Continue"));
        QCOMPARE(alert.informativeText, QStringLiteral("Quit iPhoto/Photos and click Retry"));
        QCOMPARE(alert.buttons,
                 (QStringList{QStringLiteral("Quit & Retry"), QStringLiteral("Skip iPhoto/Photos Library")}));
        QCOMPARE(result->countScanned, quint32(scanned));
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

    void timeSpan_data()
    {
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << qint64(0) << QStringLiteral("Days:0  Hour:0  Minutes:0  Seconds:0");
        QTest::newRow("mixed") << qint64(2 * 86400 + 3 * 3600 + 4 * 60 + 5)
                               << QStringLiteral("Days:2  Hour:3  Minutes:4  Seconds:5");
        QTest::newRow("negative") << qint64(-3661) << QStringLiteral("Days:0  Hour:1  Minutes:1  Seconds:1");
    }

    void timeSpan()
    {
        QFETCH(qint64, seconds);
        QFETCH(QString, text);
        QCOMPARE(ScanEngine::getTimeSpan(seconds), text);
    }
};

QUILLON_TEST_MAIN(TestScanEngine)
#include "tst_scanengine.moc"
