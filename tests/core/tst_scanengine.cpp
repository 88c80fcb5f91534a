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
