#include "support/TestMain.h"
#include "util/PathUtils.h"

class TestPathUtils : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void components_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("last");
        QTest::addColumn<QByteArray>("ext");
        QTest::newRow("plain") << QByteArray("/a/b.txt") << QByteArray("b.txt") << QByteArray("txt");
        QTest::newRow("trailing slash") << QByteArray("/a/Lib.photoslibrary/")
                                        << QByteArray("Lib.photoslibrary") << QByteArray("photoslibrary");
        QTest::newRow("hidden") << QByteArray("/a/.profile") << QByteArray(".profile") << QByteArray();
        QTest::newRow("root") << QByteArray("/") << QByteArray("/") << QByteArray();
        QTest::newRow("not utf8") << QByteArray("/a/caf\xe9.JPG") << QByteArray("caf\xe9.JPG")
                                  << QByteArray("JPG");
    }
    void components()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, last);
        QFETCH(QByteArray, ext);
        QCOMPARE(PathUtils::lastPathComponent(path), last);
        QCOMPARE(PathUtils::pathExtension(path), ext);
    }
    void joinAndTrim()
    {
        QCOMPARE(PathUtils::join("/a", "b"), QByteArray("/a/b"));
        QCOMPARE(PathUtils::join("/", "b"), QByteArray("/b"));
        QCOMPARE(PathUtils::removingLastComponents("/lib/Database/apdb/Library.apdb", 3), QByteArray("/lib"));
        QCOMPARE(PathUtils::removingLastComponents("/a/b", 2), QByteArray("/"));
        QCOMPARE(PathUtils::lowerExtension("/x/Photo.JPG"), QStringLiteral("jpg"));
    }
};

QUILLON_TEST_MAIN(TestPathUtils)
#include "tst_pathutils.moc"
