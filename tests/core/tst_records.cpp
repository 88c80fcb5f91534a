#include "app/AppGlobals.h"
#include "libraries/iPhotoNode.h"
#include "model/FileInfoNode.h"
#include "platform/FileAttributes.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Writes `size` bytes to the path given as exact bytes (names need not be UTF-8).
bool writeFile(const QByteArray& path, qint64 size)
{
    return TestSupport::writeFile(path, QByteArray(size, 'x'));
}

using TestSupport::makeDir;

} // namespace

class TestRecords : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QByteArray root() const { return QFile::encodeName(m_dir.path()); }

private Q_SLOTS:
    void cleanup() { AppGlobals::minAllowedFileSize = 0; }

    // Both initialisers and the walk's overload apply the same strict minimum.
    void minimumSizeIsStrict_data()
    {
        QTest::addColumn<quint64>("minimum");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<bool>("kept");
        QTest::newRow("exactly the minimum") << quint64(10240) << qint64(10240) << true;
        QTest::newRow("one byte less") << quint64(10240) << qint64(10239) << false;

        QTest::newRow("empty file before the first scan") << quint64(0) << qint64(0) << true;
    }
    void minimumSizeIsStrict()
    {
        QFETCH(quint64, minimum);
        QFETCH(qint64, size);
        QFETCH(bool, kept);
        const QByteArray path = root() + "/sized.zip";
        QVERIFY(writeFile(path, size));
        AppGlobals::minAllowedFileSize = minimum;

        const std::optional<FileInfoNode> scanned = FileInfoNode::initWithPathForFile(path);
        QCOMPARE(scanned.has_value(), kept);
        QCOMPARE(FileInfoNode::initWithPathForFile(path, *FileAttributes::ofItem(path)).has_value(), kept);
        QCOMPARE(FileInfoNode::initWithiPhotoOriginalPath(path, "/t.jpg", "/i.jpg", 3, "Trip").has_value(),
                 kept);
        if (kept)
            QCOMPARE(scanned->fileSize, quint64(size));
    }

    void categories_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<bool>("archives");
        QTest::addColumn<int>("code");
        const auto row = [](const char* tag, const QByteArray& path, int code, bool archives = true) {
            QTest::newRow(tag) << path << archives << code;
        };
        row("upper-case picture", "/p/IMG_0001.JPG", CategoryImages);
        row("hidden file without extension", "/p/.mp3", CategoryOthers);
        row("double extension, last counts", "/p/movie.mov.txt", CategoryDocuments);
        row("archive from a folder scan", "/p/a.ZIP", CategoryArchives);
        row("archive from a library", "/p/a.zip", CategoryOthers, false);
        row("non-ASCII letter lower-cases to an entry", "/p/a.p\xe2\x84\xaag", CategoryArchives);
        row("dot only in a parent folder", "/p/album.jpg/README", CategoryOthers);
        row("trailing slash", "/p/Song.MP3/", CategoryMusic);
    }
    void categories()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, archives);
        QFETCH(int, code);
        QCOMPARE(FileInfoNode::categoryForPath(path, archives), code);
    }

    // A library photo keeps its thumbnail, image, index and event.
    void libraryRecordKeepsItsPaths()
    {
        const QByteArray zip = root() + "/Originals.zip";
        QVERIFY(writeFile(zip, 77));
        const std::optional<FileInfoNode> photo = FileInfoNode::initWithiPhotoOriginalPath(
            zip, "/lib/Thumbs/1.jpg", "/lib/Previews/1.jpg", 4, "Summer");
        QVERIFY(photo && photo->isiPhotoNode && photo->iPhotoInfo);
        QCOMPARE(photo->fileSize, quint64(77));
        QCOMPARE(photo->iPhotoInfo->tPath + '|' + photo->iPhotoInfo->iPath,
                 QByteArray("/lib/Thumbs/1.jpg|/lib/Previews/1.jpg"));
        QCOMPARE(photo->iPhotoInfo->index, 4);
    }

    // A package counts every nested file and each link as itself, never the link's target.
    void packageSize()
    {
        const QByteArray pkg = root() + "/Tool.app";
        for (const char* dir : {"", "/Contents", "/Contents/Resources", "/Empty"})
            QVERIFY(makeDir(pkg + dir));
        QVERIFY(writeFile(pkg + "/Contents/Info.plist", 100));
        QVERIFY(writeFile(pkg + "/Contents/Resources/icon.icns", 2000));
        QVERIFY(writeFile(pkg + "/.hidden", 3));
        const QByteArray big = root() + "/big.bin";
        QVERIFY(writeFile(big, 50000));
        for (const auto& [target, link] : {std::pair{big, "/Contents/link-to-big"},
                                           {"Contents", "/link-to-dir"},
                                           {"/nowhere/at/all", "/dangling"}})
            QVERIFY(::symlink(target.constData(), (pkg + link).constData()) == 0);
        const qint64 links = big.size() + qint64(qstrlen("Contents")) + qint64(qstrlen("/nowhere/at/all"));
        const qint64 expected = 100 + 2000 + 3 + links;

        QCOMPARE(sizeForFolderStat(pkg.constData()), expected);

        AppGlobals::minAllowedFileSize = quint64(expected);
        const std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(pkg);
        QVERIFY(node && node->isDirectory);
        QCOMPARE(node->fileSize, quint64(expected));
        QCOMPARE(node->fileCategory, qint32(CategoryOthers));
        AppGlobals::minAllowedFileSize = quint64(expected) + 1;
        QVERIFY(!FileInfoNode::initWithPathForFile(pkg));
    }

    // A missing folder counts nothing; so does an entry whose path does not fit the 1,024-byte
    // buffer (it is cut and cannot be examined), while its neighbours still count.
    void folderSizeErrors()
    {
        QCOMPARE(sizeForFolderStat((root() + "/no-such-folder").constData()), 0);
        QByteArray deep = root() + "/deep";
        const QByteArray top = deep;
        QVERIFY(makeDir(deep));
        for (int i = 0; i < 3; ++i)
            QVERIFY(makeDir(deep += "/" + QByteArray(250, char('a' + i))));
        QVERIFY(writeFile(deep + "/small", 10));
        const QByteArray longName(qMin<qsizetype>(255, 1100 - deep.size()), 'z');
        QVERIFY(deep.size() + 1 + longName.size() > 1023);
        QVERIFY(writeFile(deep + "/" + longName, 999));
        QCOMPARE(sizeForFolderStat(top.constData()), 10);
    }

    // Names are bytes: a name that is not UTF-8 and two spellings of "é" stay distinct.
    void namesSurviveAsBytes()
    {
        const QByteArray latin1 = root() + "/caf\xe9.txt";
        const QByteArray nfc = root() + "/\xc3\xa9t\xc3\xa9.txt";
        const QByteArray nfd = root() + "/e\xcc\x81te\xcc\x81.txt";
        // The temporary folder is removed through text names, which cannot spell this one.
        const auto removeLatin1 = qScopeGuard([&] { ::unlink(latin1.constData()); });
        QVERIFY(writeFile(latin1, 1));
        QVERIFY(writeFile(nfc, 2));
        QVERIFY(writeFile(nfd, 3));
        const std::optional<FileInfoNode> a = FileInfoNode::initWithPathForFile(latin1);
        const std::optional<FileInfoNode> b = FileInfoNode::initWithPathForFile(nfc);
        const std::optional<FileInfoNode> c = FileInfoNode::initWithPathForFile(nfd);
        QVERIFY(a && b && c);
        QCOMPARE(a->fileName(), QByteArray("caf\xe9.txt"));
        QCOMPARE(QList<QByteArray>({a->filePath, b->filePath, c->filePath}),
                 QList<QByteArray>({latin1, nfc, nfd}));
        QCOMPARE(QList<quint64>({a->fileSize, b->fileSize, c->fileSize}), QList<quint64>({1, 2, 3}));
    }
};

QUILLON_TEST_MAIN(TestRecords)
#include "tst_records.moc"
