#include "app/AppGlobals.h"
#include "libraries/iPhotoNode.h"
#include "model/FileInfoNode.h"
#include "platform/FileAttributes.h"
#include "support/TestMain.h"

#include <QFile>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Writes `size` bytes to the path given as exact bytes (names need not be UTF-8).
bool writeFile(const QByteArray& path, qint64 size)
{
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    const QByteArray data(size, 'x');
    const bool ok = ::write(fd, data.constData(), size_t(data.size())) == ssize_t(data.size());
    ::close(fd);
    return ok;
}

bool makeDir(const QByteArray& path)
{
    return ::mkdir(path.constData(), 0755) == 0;
}

// What a piece of code writes to the standard error stream while it runs.
template <typename F> QByteArray captureStderr(F&& run)
{
    std::fflush(stderr);
    char name[] = "/tmp/quillon-stderr-XXXXXX";
    const int capture = ::mkstemp(name);
    const int saved = ::dup(STDERR_FILENO);
    ::dup2(capture, STDERR_FILENO);
    run();
    std::fflush(stderr);
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    QFile file(QString::fromLocal8Bit(name));
    file.open(QIODevice::ReadOnly);
    const QByteArray text = file.readAll();
    ::close(capture);
    ::unlink(name);
    return text;
}

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
        QTest::newRow("one byte more") << quint64(10240) << qint64(10241) << true;
        QTest::newRow("empty file before the first scan") << quint64(0) << qint64(0) << true;
        QTest::newRow("empty file, minimum 1") << quint64(1) << qint64(0) << false;
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
        const std::optional<FileAttributes> attributes = FileAttributes::ofItem(path);
        QVERIFY(attributes);
        QCOMPARE(FileInfoNode::initWithPathForFile(path, *attributes).has_value(), kept);
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
        QTest::newRow("upper-case picture") << QByteArray("/p/IMG_0001.JPG") << true << int(CategoryImages);
        QTest::newRow("mixed-case video") << QByteArray("/p/clip.Mp4") << true << int(CategoryVideos);
        QTest::newRow("document listed twice")
            << QByteArray("/p/sheet.xls") << true << int(CategoryDocuments);
        QTest::newRow("music") << QByteArray("/p/song.m4a") << true << int(CategoryMusic);
        QTest::newRow("upper-case icns") << QByteArray("/p/App.ICNS") << true << int(CategoryImages);
        QTest::newRow("no extension") << QByteArray("/p/README") << true << int(CategoryOthers);
        QTest::newRow("hidden file without extension")
            << QByteArray("/p/.mp3") << true << int(CategoryOthers);
        QTest::newRow("double extension, last counts")
            << QByteArray("/p/movie.mov.txt") << true << int(CategoryDocuments);
        QTest::newRow("double extension, unknown last")
            << QByteArray("/p/backup.tar.gz") << true << int(CategoryOthers);
        QTest::newRow("archive from a folder scan")
            << QByteArray("/p/a.ZIP") << true << int(CategoryArchives);
        QTest::newRow("archive from a library") << QByteArray("/p/a.zip") << false << int(CategoryOthers);
        QTest::newRow("picture from a library") << QByteArray("/p/a.png") << false << int(CategoryImages);
        QTest::newRow("entry with a blank never matches")
            << QByteArray("/p/x.audio cd") << true << int(CategoryOthers);
        QTest::newRow("dotted entry never matches")
            << QByteArray("/p/book.audible.com") << true << int(CategoryOthers);
        QTest::newRow("non-ASCII letter lower-cases to an entry")
            << QByteArray("/p/a.p\xe2\x84\xaag") << true << int(CategoryArchives);
        QTest::newRow("extension not UTF-8") << QByteArray("/p/a.jp\xff") << true << int(CategoryOthers);
        QTest::newRow("very long extension")
            << QByteArray("/p/a." + QByteArray(200, 'j')) << true << int(CategoryOthers);
        QTest::newRow("dot only in a parent folder")
            << QByteArray("/p/album.jpg/README") << true << int(CategoryOthers);
        QTest::newRow("trailing slash") << QByteArray("/p/Song.MP3/") << true << int(CategoryMusic);
        QTest::newRow("bare name") << QByteArray("clip.avi") << true << int(CategoryVideos);
        QTest::newRow("trailing dot") << QByteArray("/p/name.") << true << int(CategoryOthers);
    }
    void categories()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, archives);
        QFETCH(int, code);
        QCOMPARE(FileInfoNode::categoryForPath(path, archives), code);
    }

    // Every plain entry of every list reaches its own category (the first list wins).
    void everyListEntryIsFound()
    {
        const std::pair<const QStringList*, int> lists[] = {
            {&AppGlobals::arrVideoExt(), CategoryVideos},
            {&AppGlobals::arrPictureExt(), CategoryImages},
            {&AppGlobals::arrDocumentExt(), CategoryDocuments},
            {&AppGlobals::arrMuiscExt(), CategoryMusic},
            {&AppGlobals::arrArchiveExt(), CategoryArchives}};
        int checked = 0;
        for (const auto& [list, code] : lists) {
            for (const QString& ext : *list) {
                if (ext.contains(QLatin1Char(' ')) || ext.contains(QLatin1Char('.')) || ext != ext.toLower())
                    continue;
                const QByteArray path = "/x/file." + ext.toUpper().toUtf8();
                QVERIFY2(FileInfoNode::categoryForPath(path, true) == code, path.constData());
                ++checked;
            }
        }
        QCOMPARE(checked, 18 + 29 + 25 + 17 + 5);
    }

    void scannedFileRecord()
    {
        const QByteArray path = root() + "/Report.PDF";
        QVERIFY(writeFile(path, 321));
        const std::optional<FileAttributes> attributes = FileAttributes::ofItem(path);
        const std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(path);
        QVERIFY(node && attributes);
        QCOMPARE(node->filePath, path);
        QCOMPARE(node->fileName(), QByteArray("Report.PDF"));
        QCOMPARE(node->fileSize, quint64(321));
        QCOMPARE(node->modDate, attributes->modDate);
        QCOMPARE(node->createDate, attributes->createDate);
        QVERIFY(node->modDate > 0);
        QCOMPARE(node->fileCategory, qint32(CategoryDocuments));
        QVERIFY(!node->isDirectory);
        QVERIFY(!node->isMd5Calucaluted);
        QVERIFY(node->md5.isEmpty());
        QVERIFY(node->fileType.isEmpty());
        QVERIFY(!node->iPhotoInfo && !node->isiPhotoNode);
    }

    void libraryPhotoRecord()
    {
        const QByteArray path = root() + "/Originals.zip";
        QVERIFY(writeFile(path, 77));
        const std::optional<FileInfoNode> node = FileInfoNode::initWithiPhotoOriginalPath(
            path, "/lib/Thumbs/1.jpg", "/lib/Previews/1.jpg", 4, "Summer");
        QVERIFY(node);
        QVERIFY(node->isiPhotoNode);
        QCOMPARE(node->fileSize, quint64(77));
        QCOMPARE(node->fileType, QStringLiteral("NSFileTypeRegular"));
        QCOMPARE(node->fileCategory, qint32(CategoryOthers));
        QVERIFY(node->iPhotoInfo);
        QCOMPARE(node->iPhotoInfo->oPath, path);
        QCOMPARE(node->iPhotoInfo->tPath, QByteArray("/lib/Thumbs/1.jpg"));
        QCOMPARE(node->iPhotoInfo->iPath, QByteArray("/lib/Previews/1.jpg"));
        QCOMPARE(node->iPhotoInfo->index, 4);
        QCOMPARE(node->iPhotoInfo->eventName, QStringLiteral("Summer"));
    }

    // A package counts every nested file and each link as itself, never the link's target.
    void packageSize()
    {
        const QByteArray pkg = root() + "/Tool.app";
        QVERIFY(makeDir(pkg));
        QVERIFY(makeDir(pkg + "/Contents"));
        QVERIFY(makeDir(pkg + "/Contents/Resources"));
        QVERIFY(makeDir(pkg + "/Empty"));
        QVERIFY(writeFile(pkg + "/Contents/Info.plist", 100));
        QVERIFY(writeFile(pkg + "/Contents/Resources/icon.icns", 2000));
        QVERIFY(writeFile(pkg + "/.hidden", 3));
        const QByteArray big = root() + "/big.bin";
        QVERIFY(writeFile(big, 50000));
        QVERIFY(::symlink(big.constData(), (pkg + "/Contents/link-to-big").constData()) == 0);
        QVERIFY(::symlink("Contents", (pkg + "/link-to-dir").constData()) == 0);
        QVERIFY(::symlink("/nowhere/at/all", (pkg + "/dangling").constData()) == 0);
        const qint64 links = big.size() + qint64(qstrlen("Contents")) + qint64(qstrlen("/nowhere/at/all"));
        const qint64 expected = 100 + 2000 + 3 + links;

        QCOMPARE(sizeForFolderStat(pkg.constData()), expected);

        AppGlobals::minAllowedFileSize = quint64(expected);
        const std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(pkg);
        QVERIFY(node);
        QVERIFY(node->isDirectory);
        QCOMPARE(node->fileSize, quint64(expected));
        QCOMPARE(node->fileCategory, qint32(CategoryOthers));
        AppGlobals::minAllowedFileSize = quint64(expected) + 1;
        QVERIFY(!FileInfoNode::initWithPathForFile(pkg));
    }

    void folderSizeErrors()
    {
        const QByteArray missing = root() + "/no-such-folder";
        qint64 size = -1;
        const QByteArray openError = captureStderr([&] { size = sizeForFolderStat(missing.constData()); });
        QCOMPARE(size, 0);
        QCOMPARE(openError,
                 "could not open directory '" + missing + "'\nerror is 2/No such file or directory\n");

        // An entry whose path does not fit the 1,024-byte buffer is cut, cannot be examined,
        // and adds nothing; its neighbours still count.
        QByteArray deep = root() + "/deep";
        QVERIFY(makeDir(deep));
        const QByteArray top = deep;
        for (int i = 0; i < 3; ++i) {
            deep += "/" + QByteArray(250, char('a' + i));
            QVERIFY(makeDir(deep));
        }
        QVERIFY(writeFile(deep + "/small", 10));
        const QByteArray longName(1100 - deep.size() > 255 ? 255 : 1100 - deep.size(), 'z');
        QVERIFY(deep.size() + 1 + longName.size() > 1023);
        QVERIFY(writeFile(deep + "/" + longName, 999));
        const QByteArray statError = captureStderr([&] { size = sizeForFolderStat(top.constData()); });
        QCOMPARE(size, 10);
        QVERIFY2(statError.startsWith("could not stat '" + longName + "': 2/"), statError.constData());
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
        QCOMPARE(a->filePath, latin1);
        QCOMPARE(a->fileName(), QByteArray("caf\xe9.txt"));
        QCOMPARE(a->fileSize, quint64(1));
        QCOMPARE(b->filePath, nfc);
        QCOMPARE(c->filePath, nfd);
        QVERIFY(b->filePath != c->filePath);
        QCOMPARE(b->fileSize, quint64(2));
        QCOMPARE(c->fileSize, quint64(3));
        QCOMPARE(a->fileCategory, qint32(CategoryDocuments));
    }

    // One record exists per scanned file: keep it small (measured with a typical path).
    void recordStaysSmall()
    {
        const QByteArray path = root() + "/Pictures/2023/Holiday/IMG_4711.JPG";
        FileInfoNode node;
        node.filePath = path;
        node.md5 = QByteArray(32, 'a');
        const size_t heap = size_t(node.filePath.capacity() + node.md5.capacity()) + 2 * 32;
        qInfo("record: %zu bytes, with path and digest about %zu", sizeof(FileInfoNode),
              sizeof(FileInfoNode) + heap);
        QVERIFY(sizeof(FileInfoNode) + heap < 600);
    }
};

QUILLON_TEST_MAIN(TestRecords)
#include "tst_records.moc"
