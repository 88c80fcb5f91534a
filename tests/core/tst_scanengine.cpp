#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "fixtures/PhotosLibraryFixture.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "scan/PathExclusion.h"
#include "scan/ScanEngine.h"
#include "support/ScanRun.h"
#include "support/ScanTestCase.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::duplicateGroups;
using TestSupport::Groups;
using TestSupport::noCache;
using TestSupport::nodeFor;

class TestScanEngine : public TestSupport::ScanTestCase
{
    Q_OBJECT

    static PhotosLibraryFixture::Photo photo(const QByteArray& masterPath)
    {
        return PhotosLibraryFixture::Photo(masterPath, "photo bytes");
    }

private Q_SLOTS:
    void cleanup() { m_tree.reset(); }

    void init() { QVERIFY(makeTree()); }

    void scanPathButtonState_data()
    {
        QTest::addColumn<QList<QByteArray>>("entries");
        QTest::addColumn<QList<int>>("states");
        QTest::addColumn<bool>("allowed");
        QTest::newRow("two ticked files") << QList<QByteArray>{"f1", "f2"} << QList<int>{1, 1} << true;
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
        QList<QByteArray> paths;
        for (const QByteArray& entry : entries)
            paths << p(entry);
        auto result = scan(paths, noCache(), std::vector<int>(states.begin(), states.end()));
        QCOMPARE(result != nullptr, allowed);
        QCOMPARE(m_alerts.alerts().size(), allowed ? 0 : 1);
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
        QCOMPARE(result->countScanned, 7u);
        QCOMPARE(result->totSizeScanned, quint64(13 * 4 + 2 * 2 + 17));
        QCOMPARE(duplicateGroups(*result), (Groups{{p("a/one"), p("a/sub/two"), p("b/three")}}));
        QCOMPARE(result->countDup, 2u);
        QCOMPARE(result->sizeDup, quint64(2 * 13));
        QCOMPARE(nodeFor(*result, p("a/one"))->parent->groupSize, quint64(3 * 13));
        QCOMPARE(nodeFor(*result, p("b/three"))->md5,
                 QCryptographicHash::hash("same contents", QCryptographicHash::Md5).toHex());
        QVERIFY(nodeFor(*result, p("lonely"))->md5.isEmpty()); // a size of its own is never read
        result->removeGroupsWithoutDuplicates();
        QCOMPARE(result->arrMainGroup.size(), size_t(1));
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
        for (const char* name : {"small1", "small2"})
            file(QByteArray("d/") + name, QByteArray(below - 1, 's'));
        for (const char* name : {"exact1", "exact2"})
            file(QByteArray("d/") + name, QByteArray(below, 'e'));
        auto result = scan({p("d")});
        QVERIFY(result);
        QCOMPARE(result->countScanned, 2u);
        QVERIFY(!nodeFor(*result, p("d/small1")));
        QCOMPARE(duplicateGroups(*result), (Groups{{p("d/exact1"), p("d/exact2")}}));
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
        QTest::newRow("same name elsewhere") << QStringList{"/a/b"} << QByteArray("/x/a/b/f") << false;
        QTest::newRow("plus is literal") << QStringList{"/a+b"} << QByteArray("/aab/f") << false;
        QTest::newRow("dot is literal") << QStringList{"/a.c"} << QByteArray("/abc/f") << false;
        QTest::newRow("bracket") << QStringList{"/[x", "/y"} << QByteArray("/[x/f") << true;
        QTest::newRow("others kept") << QStringList{"/(x", "/y"} << QByteArray("/y/f") << true;
        QTest::newRow("unusable skipped") << QStringList{"", "rel", "/y"} << QByteArray("/z/f") << false;
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
        QCOMPARE(duplicateGroups(*result), (Groups{{p("d/Bar.app"), p("d/Foo.app")}}));
        QCOMPARE(result->sizeDup, nodeFor(*result, p("d/Foo.app"))->fileSize);
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
        QVERIFY(a && a->photosInfo);
        QCOMPARE(a->photosInfo->uuIDRkVersion, first.photo(0).versionUuid);
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
        QCOMPARE(result->countScanned, quint32(scanned));
    }
};

QUILLON_TEST_MAIN(TestScanEngine)
#include "tst_scanengine.moc"
