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

#include <QFile>

#include <algorithm>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

using TestSupport::duplicateGroups;
using TestSupport::Groups;
using TestSupport::noCache;
using TestSupport::nodeFor;
using Photo = PhotosLibraryFixture::Photo;

class TestScanEngine : public TestSupport::ScanTestCase
{
    Q_OBJECT

private Q_SLOTS:
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
        file("lonely", "a size of its own");
        auto result = scan({p("a"), p("b"), p("lonely")});
        QVERIFY(result);
        QCOMPARE(result->countScanned, 5u);
        QCOMPARE(result->totSizeScanned, quint64(13 * 4 + 17));
        QCOMPARE(duplicateGroups(*result), (Groups{{p("a/one"), p("a/sub/two"), p("b/three")}}));
        QCOMPARE(result->countDup, 2u);
        QCOMPARE(result->sizeDup, quint64(2 * 13));
        QCOMPARE(nodeFor(*result, p("a/one"))->parent->groupSize, quint64(3 * 13));
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
        for (const QByteArray name : {"small1", "small2", "exact1", "exact2"})
            file("d/" + name, QByteArray(below - (name[0] == 's'), name[0]));
        auto result = scan({p("d")});
        QVERIFY(result);
        QCOMPARE(result->countScanned, 2u);
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
        QTest::newRow("same name elsewhere") << QStringList{"/a/b"} << QByteArray("/x/a/b/f") << false;
        QTest::newRow("dot is literal") << QStringList{"/a.c"} << QByteArray("/abc/f") << false;
        QTest::newRow("brackets literal") << QStringList{"/(x", "/[y"} << QByteArray("/[y/f") << true;
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
        // Not UTF-8, then NFC and NFD spellings of one name.
        const QList<QByteArray> names = {"quote\"s' new\nline", "-leading-dash", "latin1-\xe9\xff",
                                         "caf\xc3\xa9",         "cafe\xcc\x81",  "star*?[x] back\\slash"};
        QList<QByteArray> paths;
        for (const QByteArray& name : names)
            paths << file("d/" + name, "same");
        paths << file("d/sub/visible", "same") << file("e/visible", "same");
        file("d/other", "othr");
        file("d/.hidden", "same");
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

    void photoLibraries_data()
    {
        QTest::addColumn<int>("answer"); // -1: Photos is not running
        QTest::addColumn<quint32>("scanned");
        QTest::newRow("not running") << -1 << 2u;
        QTest::newRow("quit and retry") << 0 << 2u;
        QTest::newRow("skip the library") << 1 << 1u; // the next library is taken
    }

    // One Photos library per scan, the migrated one never read; a running Photos is asked about.
    void photoLibraries()
    {
        QFETCH(int, answer);
        QFETCH(quint32, scanned);
        PhotosLibraryFixture first(p("d"), "First");
        first.addPhoto(Photo("2020/a.jpg", "photo bytes"));
        first.addPhoto(Photo("2020/b.jpg", "photo bytes"));
        QVERIFY(first.write());
        PhotosLibraryFixture second(p("d"), "Second");
        second.addPhoto(Photo("2021/c.jpg", "photo bytes"));
        QVERIFY(second.write());
        file("d/Old.migratedphotolibrary/Masters/x.jpg", "photo bytes");
        int asked = 0;
        ScanOptions options = noCache();
        // Photos runs until it has been asked to quit once.
        options.applicationRunning = [&](const QString&) { return answer >= 0 && ++asked == 1; };
        if (answer >= 0)
            m_alerts.enqueueAnswer(answer);
        auto result = scan({p("d")}, options);
        QVERIFY(result);
        QCOMPARE(m_alerts.alerts().size(), answer >= 0 ? 1 : 0);
        QCOMPARE(result->countScanned, scanned);
        if (answer == 1)
            return;
        const FileInfoNode* a = nodeFor(*result, first.photo(0).imagePath);
        QVERIFY(a && a->photosInfo());
        QCOMPARE(a->photosInfo()->uuIDRkVersion, first.photo(0).versionUuid);
        QCOMPARE(duplicateGroups(*result), (Groups{{first.photo(0).imagePath, first.photo(1).imagePath}}));
    }
};

QUILLON_TEST_MAIN(TestScanEngine)
#include "tst_scanengine.moc"
