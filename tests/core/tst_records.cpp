#include "app/AppGlobals.h"
#include "model/FileInfoNode.h"
#include "platform/FileAttributes.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QScopeGuard>
#include <unistd.h>

using TestSupport::makeDir;

class TestRecords : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QByteArray root() const { return QFile::encodeName(m_dir.path()); }
    static bool fill(const QByteArray& p, qint64 n) { return TestSupport::writeFile(p, QByteArray(n, 'x')); }

private Q_SLOTS:
    void cleanup() { AppGlobals::minAllowedFileSize = 0; }

    // Both initialisers and the walk's overload apply the same strict minimum; a name that is
    // not UTF-8 keeps its exact bytes.
    void minimumSizeIsStrict()
    {
        const QByteArray path = root() + "/caf\xe9.zip";
        const auto remove = qScopeGuard([&] { ::unlink(path.constData()); }); // text names cannot spell it
        AppGlobals::minAllowedFileSize = 10240;
        for (const bool kept : {true, false}) {
            QVERIFY(fill(path, kept ? 10240 : 10239));
            const std::optional<FileInfoNode> scanned = FileInfoNode::initWithPathForFile(path);
            QCOMPARE(scanned.has_value(), kept);
            QCOMPARE(FileInfoNode::initWithPathForFile(path, *FileAttributes::ofItem(path)).has_value(),
                     kept);
            QCOMPARE(FileInfoNode::initWithiPhotoOriginalPath(path, "/t", "/i", 3, "Trip").has_value(), kept);
            if (kept)
                QVERIFY(scanned->fileSize == 10240 && scanned->fileName() == "caf\xe9.zip" &&
                        scanned->filePath == path);
        }
    }

    void categories_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<bool>("archives");
        QTest::addColumn<int>("code");
        QTest::newRow("hidden file, no extension") << QByteArray("/p/.mp3") << true << int(CategoryOthers);
        QTest::newRow("last extension counts")
            << QByteArray("/p/a.mov.txt") << true << int(CategoryDocuments);
        QTest::newRow("archive, folder scan") << QByteArray("/p/a.ZIP") << true << int(CategoryArchives);
        QTest::newRow("archive, library") << QByteArray("/p/a.zip") << false << int(CategoryOthers);
        QTest::newRow("non-ASCII lower-cases")
            << QByteArray("/p/a.p\xe2\x84\xaag") << true << int(CategoryArchives);
        QTest::newRow("dot in a parent only") << QByteArray("/p/a.jpg/README") << true << int(CategoryOthers);
        QTest::newRow("trailing slash") << QByteArray("/p/Song.MP3/") << true << int(CategoryMusic);
    }
    void categories()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, archives);
        QFETCH(int, code);
        QCOMPARE(FileInfoNode::categoryForPath(path, archives), code);
    }

    // A package counts every nested file and each link as itself, never the link's target; a
    // missing folder and an entry too long for the 1,024-byte buffer count nothing.
    void packageSize()
    {
        const QByteArray pkg = root() + "/Tool.app";
        QVERIFY(makeDir(pkg + "/Contents/Resources") && makeDir(pkg + "/Empty"));
        QVERIFY(fill(pkg + "/Contents/Info.plist", 100) && fill(pkg + "/.hidden", 3));
        const QByteArray big = root() + "/big.bin";
        QVERIFY(fill(big, 50000));
        QVERIFY(::symlink(big.constData(), (pkg + "/Contents/link").constData()) == 0 &&
                ::symlink("/nowhere", (pkg + "/dangling").constData()) == 0);
        const qint64 expected = 100 + 3 + big.size() + 8;
        QCOMPARE(sizeForFolderStat(pkg.constData()), expected);
        AppGlobals::minAllowedFileSize = quint64(expected);
        const std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(pkg);
        QVERIFY(node && node->isDirectory && node->fileSize == quint64(expected));

        QCOMPARE(sizeForFolderStat((root() + "/no-such-folder").constData()), 0);
        QByteArray deep = root() + "/deep";
        for (char c : {'a', 'b', 'c'})
            deep += "/" + QByteArray(250, c);
        QVERIFY(makeDir(deep) && fill(deep + "/small", 10));
        QVERIFY(deep.size() + 256 > 1023 && fill(deep + "/" + QByteArray(255, 'z'), 999));
        QCOMPARE(sizeForFolderStat((root() + "/deep").constData()), 10);
    }

    // A digest reads back exactly as assigned, whether held as raw bytes or as text, and
    // copies, moves, equality and hashing agree with the text.
    void digestRoundTrip_data()
    {
        QTest::addColumn<QByteArray>("text");
        const QByteArray md5 = "0123456789abcdef00ff10a0b0c0d0e9";
        QTest::newRow("md5") << md5;
        QTest::newRow("upper case") << md5.toUpper();
        QTest::newRow("package") << md5 + "d41d8cd98f00b204e9800998ecf8427e";
        QTest::newRow("not hex") << QByteArray("0123456789abcdef00ff10a0b0c0d0eg");
        QTest::newRow("empty") << QByteArray();
    }
    void digestRoundTrip()
    {
        QFETCH(QByteArray, text);
        FileInfoNode node;
        node.md5 = text;
        QCOMPARE(QByteArray(node.md5), text);
        QCOMPARE(node.md5.isEmpty(), text.isEmpty());
        const HexDigest copy = node.md5;
        const HexDigest moved = FileInfoNode(std::move(node)).md5;
        QVERIFY(copy == text && moved == copy && qHash(moved, 7) == qHash(HexDigest(text), 7));
        QCOMPARE(copy.toByteArray(), text);
        QVERIFY(text.isEmpty() || copy != HexDigest(QByteArray(text).replace(3, 1, "7")));
    }
};

QUILLON_TEST_MAIN(TestRecords)
#include "tst_records.moc"
