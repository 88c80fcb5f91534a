#include "fixtures/PhotosLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/PathUtils.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Photo = PhotosLibraryFixture::Photo;

// The file's bytes and modification time, or nothing; by the path's bytes, as the library may
// sit in a folder whose name is not UTF-8.
QByteArray stateOf(const QByteArray& path)
{
    struct stat st;
    QFile file;
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::fstat(fd, &st) != 0 || !file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return {};
    return file.readAll() + '@' + QByteArray::number(st.st_mtim.tv_sec) + '.' +
           QByteArray::number(st.st_mtim.tv_nsec);
}

QStringList modelIds(const QList<PhotoRecord>& records)
{
    QStringList ids;
    for (const PhotoRecord& r : records)
        ids.append(r.modelId);
    ids.sort();
    return ids;
}

} // namespace

class TestPhotosLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup()
    {
        // Every read removes its copy; a leftover would make the next case meaningless.
        const QDir caches(QFile::decodeName(Platform::cachesFolder()));
        QCOMPARE(caches.entryList({QStringLiteral("*.db*"), QStringLiteral("*.apdb*")}, QDir::Files),
                 QStringList());
    }

    void readsLiveUncollectedPhotos_data()
    {
        QTest::addColumn<QByteArray>("databaseName");
        QTest::addColumn<bool>("useWal");
        QTest::addColumn<QString>("albumName");
        QTest::addColumn<QByteArray>("folder");
        const QByteArray db = "database/photos.db";
        const QString album = QStringLiteral("Duplicate Marked Photos");
        QTest::newRow("photos.db") << db << false << album << QByteArray("x");
        QTest::newRow("rows only in the -wal") << db << true << album << QByteArray("x");
        QTest::newRow("apdb/Library.apdb")
            << QByteArray("database/apdb/Library.apdb") << true << album << QByteArray("x");
        QTest::newRow("folder in other case")
            << QByteArray("Database/apdb/photos.db") << false << album << QByteArray("x");
        QTest::newRow("album name in lower case") << db << false << album.toLower() << QByteArray("x");
        QTest::newRow("folder name not UTF-8") << db << true << album << QByteArray("caf\xe9");
    }
    void readsLiveUncollectedPhotos()
    {
        QFETCH(QByteArray, databaseName);
        QFETCH(bool, useWal);
        QFETCH(QString, albumName);
        QFETCH(QByteArray, folder);
        QTemporaryDir tmp;
        PhotosLibraryFixture lib(QFile::encodeName(tmp.path()) + "/" + folder);
        lib.setDatabaseName(databaseName);
        lib.setUseWal(useWal);
        lib.setMarkedAlbumName(albumName);
        const int plain = lib.addPhoto({"2020/a.jpg", "alpha"});
        const int edited = lib.addVersion(plain, "a edited.jpg");
        const int described = lib.addPhoto(Photo("2020/b.jpg", "bravo!").describedAs("Sunset"));
        lib.addPhoto(Photo("2020/c.jpg", "c").masterTrashed());
        lib.addPhoto(Photo("2020/d.jpg", "d").versionTrashed());
        lib.addPhoto(Photo("2020/e.jpg", "e").partOfBurst());
        lib.addPhoto(Photo("2020/f.jpg", "f").alreadyCollected());
        QVERIFY(lib.write());
        const QByteArray dbBefore = stateOf(lib.databasePath());
        const QByteArray walBefore = stateOf(lib.databasePath() + "-wal");
        QCOMPARE(!walBefore.isEmpty(), useWal);

        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(modelIds(*records), QStringList({lib.photo(plain).modelId, lib.photo(edited).modelId,
                                                  lib.photo(described).modelId}));
        for (const PhotoRecord& r : *records) {
            const PhotosLibraryFixture::Added expected = lib.photo(r.modelId.toInt() - 1);
            QCOMPARE(r.uuid, expected.masterUuid);
            QCOMPARE(r.uuidRKVersion, expected.versionUuid);
            QCOMPARE(r.imagePath, expected.imagePath);
            QCOMPARE(r.fileSize, expected.fileSize);
            // NULL reads as empty.
            QCOMPARE(r.description,
                     r.modelId == lib.photo(described).modelId ? QStringLiteral("Sunset") : QString());
            const QString name = r.modelId == lib.photo(edited).modelId  ? QStringLiteral("a edited.jpg")
                                 : r.modelId == lib.photo(plain).modelId ? QStringLiteral("a.jpg")
                                                                         : QStringLiteral("b.jpg");
            QCOMPARE(r.originalFileName, name);
        }
        // The library's own files are read through a copy only.
        QCOMPARE(stateOf(lib.databasePath()), dbBefore);
        QCOMPARE(stateOf(lib.databasePath() + "-wal"), walBefore);
        QVERIFY(!PathUtils::exists(lib.databasePath() + "-shm"));
    }

    void onlyTheFirstLiveMatchingAlbumCounts_data()
    {
        QTest::addColumn<QString>("albumName");
        QTest::addColumn<bool>("albumInTrash");
        QTest::addColumn<bool>("firstCounts");
        QTest::newRow("other album") << QStringLiteral("Holidays") << false << false;
        QTest::newRow("longer name") << QStringLiteral("Duplicate Marked Photos 2") << false << false;
        QTest::newRow("trashed album of that name")
            << QStringLiteral("Duplicate Marked Photos") << true << false;
        QTest::newRow("upper case") << QStringLiteral("DUPLICATE MARKED PHOTOS") << false << true;
    }
    void onlyTheFirstLiveMatchingAlbumCounts()
    {
        QFETCH(QString, albumName);
        QFETCH(bool, albumInTrash);
        QFETCH(bool, firstCounts);
        QTemporaryDir tmp;
        PhotosLibraryFixture lib(QFile::encodeName(tmp.path()));
        const int album = lib.addAlbum(albumName, albumInTrash);
        const int later = lib.addAlbum(QStringLiteral("Duplicate Marked Photos"));
        const int inFirst = lib.addPhoto({"x/1.jpg", "1"});
        const int inLater = lib.addPhoto({"x/2.jpg", "2"});
        lib.addToAlbum(album, inFirst);
        lib.addToAlbum(later, inLater);
        QVERIFY(lib.write());

        // Photos in the album that counts are left out; a second album of that name is not consulted.
        const auto records = DBOperations::getImagesFromlibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(modelIds(*records), QStringList{lib.photo(firstCounts ? inLater : inFirst).modelId});
    }

    void staleCopyIsReplacedAndRemoved()
    {
        QTemporaryDir tmp;
        const QByteArray dir = QFile::encodeName(tmp.path());
        // An earlier run left a copy of another library, with a log holding rows of its own.
        PhotosLibraryFixture old(dir, "Old");
        old.setUseWal(true);
        for (const char* name : {"o/1.jpg", "o/2.jpg", "o/3.jpg"})
            old.addPhoto({name, name});
        QVERIFY(old.write());
        const QByteArray copy = Platform::cachesFolder() + "/photos.db";
        QVERIFY(QDir().mkpath(QFile::decodeName(Platform::cachesFolder())));
        for (const char* suffix : {"", "-wal"})
            QVERIFY(QFile::copy(QFile::decodeName(old.databasePath() + suffix),
                                QFile::decodeName(copy + suffix)));
        QVERIFY(TestSupport::writeFile(copy + "-shm", QByteArray(32768, '\x5a')));

        PhotosLibraryFixture lib(dir, "Current");
        const int only = lib.addPhoto({"n/1.jpg", "new"});
        QVERIFY(lib.write());
        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(modelIds(*records), QStringList{lib.photo(only).modelId});
        QCOMPARE(records->first().uuid, lib.photo(only).masterUuid);
        // cleanup() checks that the copy and its log are gone.
    }

    void missingDatabaseGivesNothing()
    {
        QTemporaryDir tmp;
        const QByteArray library = QFile::encodeName(tmp.path()) + "/Empty.photoslibrary";
        QVERIFY(QDir().mkpath(QFile::decodeName(library + "/database")));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^Error in copy Data Base ")));
        QVERIFY(!DBOperations::getPhotoslibraryPath(library).has_value());
    }

    void unreadableTextKeepsTheRecord()
    {
        QTemporaryDir tmp;
        PhotosLibraryFixture lib(QFile::encodeName(tmp.path()));
        const int good = lib.addPhoto({"g/1.jpg", "good"});
        const int badName = lib.addPhoto(Photo("g/2.jpg", "bad").named("caf\xe9.jpg"));
        const int badDescription = lib.addPhoto(Photo("g/3.jpg", "three").describedAs("\xff\xfe"));
        QVERIFY(lib.write());

        for (const char* field : {"filename", "description"})
            QTest::ignoreMessage(
                QtInfoMsg, QRegularExpression(QStringLiteral("^Exception in getImagesFromlibraryPath: .*") +
                                              QLatin1String(field)));
        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(records->size(), 3);
        for (const PhotoRecord& r : *records) {
            const int index = r.modelId.toInt() - 1;
            QCOMPARE(r.uuidRKVersion, lib.photo(index).versionUuid);
            // A bad name stops the record there: no image path, so no record for the Masters folder itself.
            QCOMPARE(r.imagePath, index == badName ? QByteArray() : lib.photo(index).imagePath);
            QCOMPARE(r.originalFileName, index == good             ? QStringLiteral("1.jpg")
                                         : index == badDescription ? QStringLiteral("3.jpg")
                                                                   : QString());
            QCOMPARE(r.fileSize, lib.photo(index).fileSize);
            QVERIFY(r.description.isEmpty());
        }
    }
};

QUILLON_TEST_MAIN(TestPhotosLibrary)
#include "tst_photoslibrary.moc"
