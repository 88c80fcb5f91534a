#include "fixtures/PhotosLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "util/PathUtils.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Photo = PhotosLibraryFixture::Photo;

struct FileState
{
    QByteArray bytes;
    qint64 modifiedNs = -1;
    bool operator==(const FileState&) const = default;
};

FileState stateOf(const QByteArray& path)
{
    // By the path's bytes: the library may sit in a folder whose name is not UTF-8.
    struct stat st;
    const int fd = ::open(path.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0 || ::fstat(fd, &st) != 0)
        return {};
    QFile file;
    file.open(fd, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    return {file.readAll(), qint64(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec};
}

QStringList modelIds(const QList<PhotoRecord>& records)
{
    QStringList ids;
    for (const PhotoRecord& r : records)
        ids.append(r.modelId);
    ids.sort();
    return ids;
}

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

QStringList leftoversInCaches()
{
    const QDir caches(QFile::decodeName(Platform::cachesFolder()));
    return caches.entryList({QStringLiteral("*.db*"), QStringLiteral("*.apdb*")}, QDir::Files);
}

} // namespace

class TestPhotosLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup()
    {
        // Every read removes its copy; a leftover would make the next case meaningless.
        QCOMPARE(leftoversInCaches(), QStringList());
    }

    void readsLiveUncollectedPhotos_data()
    {
        QTest::addColumn<QByteArray>("databaseName");
        QTest::addColumn<bool>("useWal");
        QTest::addColumn<QString>("albumName");
        QTest::addColumn<QByteArray>("folder");
        QTest::newRow("photos.db") << QByteArray("database/photos.db") << false
                                   << QStringLiteral("Duplicate Marked Photos") << QByteArray("x");
        QTest::newRow("rows only in the -wal")
            << QByteArray("database/photos.db") << true << QStringLiteral("Duplicate Marked Photos")
            << QByteArray("x");
        QTest::newRow("apdb/Library.apdb") << QByteArray("database/apdb/Library.apdb") << true
                                           << QStringLiteral("Duplicate Marked Photos") << QByteArray("x");
        QTest::newRow("folder in other case") << QByteArray("Database/apdb/photos.db") << false
                                              << QStringLiteral("Duplicate Marked Photos") << QByteArray("x");
        QTest::newRow("album name in lower case")
            << QByteArray("database/photos.db") << false << QStringLiteral("duplicate marked photos")
            << QByteArray("x");
        QTest::newRow("folder name not UTF-8")
            << QByteArray("database/photos.db") << true << QStringLiteral("Duplicate Marked Photos")
            << QByteArray("caf\xe9");
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
        if (useWal)
            QVERIFY(PathUtils::exists(lib.databasePath() + "-wal"));
        const FileState dbBefore = stateOf(lib.databasePath());
        const FileState walBefore = stateOf(lib.databasePath() + "-wal");

        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(modelIds(*records),
                 sorted({lib.photo(plain).modelId, lib.photo(edited).modelId, lib.photo(described).modelId}));

        for (const PhotoRecord& r : *records) {
            const int index = r.modelId.toInt() - 1;
            const PhotosLibraryFixture::Added expected = lib.photo(index);
            QCOMPARE(r.uuid, expected.masterUuid);
            QCOMPARE(r.uuidRKVersion, expected.versionUuid);
            QCOMPARE(r.imagePath, expected.imagePath);
            QCOMPARE(r.fileSize, expected.fileSize);
            QVERIFY(PathUtils::exists(r.imagePath));
        }
        const auto byId = [&](int index) {
            for (const PhotoRecord& r : *records) {
                if (r.modelId == lib.photo(index).modelId)
                    return r;
            }
            return PhotoRecord();
        };
        QCOMPARE(byId(described).description, QStringLiteral("Sunset"));
        QCOMPARE(byId(plain).description, QString()); // NULL reads as empty
        QCOMPARE(byId(plain).originalFileName, QStringLiteral("a.jpg"));
        QCOMPARE(byId(edited).originalFileName, QStringLiteral("a edited.jpg"));
        QCOMPARE(byId(edited).imagePath, lib.photo(plain).imagePath);

        // The library's own files are read through a copy only.
        QCOMPARE(stateOf(lib.databasePath()), dbBefore);
        QCOMPARE(stateOf(lib.databasePath() + "-wal"), walBefore);
        QVERIFY(!PathUtils::exists(lib.databasePath() + "-shm"));
    }

    void onlyTheFirstLiveMatchingAlbumCounts_data()
    {
        QTest::addColumn<QString>("albumName");
        QTest::addColumn<bool>("albumInTrash");
        QTest::addColumn<bool>("read");
        QTest::newRow("other album") << QStringLiteral("Holidays") << false << true;
        QTest::newRow("longer name") << QStringLiteral("Duplicate Marked Photos 2") << false << true;
        QTest::newRow("trashed album of that name")
            << QStringLiteral("Duplicate Marked Photos") << true << true;
        QTest::newRow("upper case") << QStringLiteral("DUPLICATE MARKED PHOTOS") << false << false;
    }
    void onlyTheFirstLiveMatchingAlbumCounts()
    {
        QFETCH(QString, albumName);
        QFETCH(bool, albumInTrash);
        QFETCH(bool, read);
        QTemporaryDir tmp;
        PhotosLibraryFixture lib(QFile::encodeName(tmp.path()));
        const int album = lib.addAlbum(albumName, albumInTrash);
        const int later = lib.addAlbum(QStringLiteral("Duplicate Marked Photos"));
        const int inFirst = lib.addPhoto({"x/1.jpg", "1"});
        const int inLater = lib.addPhoto({"x/2.jpg", "2"});
        lib.addToAlbum(album, inFirst);
        lib.addToAlbum(later, inLater);
        QVERIFY(lib.write());

        const auto records = DBOperations::getImagesFromlibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QStringList expected;
        if (read)
            expected << lib.photo(inFirst).modelId;
        // When the first album already matches, the second one of that name is not consulted.
        if (!read)
            expected << lib.photo(inLater).modelId;
        QCOMPARE(modelIds(*records), expected);
    }

    void staleCopyIsReplacedAndRemoved()
    {
        QTemporaryDir tmp;
        const QByteArray dir = QFile::encodeName(tmp.path());
        // An earlier run left a copy of another library, with a log holding rows of its own.
        PhotosLibraryFixture old(dir, "Old");
        old.setUseWal(true);
        old.addPhoto({"o/1.jpg", "old one"});
        old.addPhoto({"o/2.jpg", "old two"});
        old.addPhoto({"o/3.jpg", "old three"});
        QVERIFY(old.write());
        const QByteArray caches = Platform::cachesFolder();
        QVERIFY(QDir().mkpath(QFile::decodeName(caches)));
        const QByteArray copy = caches + "/photos.db";
        QVERIFY(QFile::copy(QFile::decodeName(old.databasePath()), QFile::decodeName(copy)));
        QVERIFY(
            QFile::copy(QFile::decodeName(old.databasePath() + "-wal"), QFile::decodeName(copy + "-wal")));
        QFile shm(QFile::decodeName(copy + "-shm"));
        QVERIFY(shm.open(QIODevice::WriteOnly));
        shm.write(QByteArray(32768, '\x5a'));
        shm.close();

        PhotosLibraryFixture lib(dir, "Current");
        const int only = lib.addPhoto({"n/1.jpg", "new"});
        QVERIFY(lib.write());
        QVERIFY(!PathUtils::exists(lib.databasePath() + "-wal"));

        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(modelIds(*records), QStringList{lib.photo(only).modelId});
        QCOMPARE(records->first().uuid, lib.photo(only).masterUuid);
        QVERIFY(!PathUtils::exists(copy));
        QVERIFY(!PathUtils::exists(copy + "-wal"));
        QVERIFY(!PathUtils::exists(copy + "-shm"));
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
        const int bad = lib.addPhoto(Photo("g/2.jpg", "bad").named("caf\xe9.jpg"));
        const int badDescription = lib.addPhoto(Photo("g/3.jpg", "three").describedAs("\xff\xfe"));
        QVERIFY(lib.write());

        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral(
                                            "^Exception in getImagesFromlibraryPath: .*filename")));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral(
                                            "^Exception in getImagesFromlibraryPath: .*description")));
        const auto records = DBOperations::getPhotoslibraryPath(lib.libraryPath());
        QVERIFY(records.has_value());
        QCOMPARE(records->size(), 3);
        for (const PhotoRecord& r : *records) {
            const int index = r.modelId.toInt() - 1;
            QCOMPARE(r.uuid, lib.photo(index).masterUuid);
            QCOMPARE(r.uuidRKVersion, lib.photo(index).versionUuid);
            if (index == good) {
                QCOMPARE(r.imagePath, lib.photo(good).imagePath);
            } else if (index == bad) {
                // Read up to the file name; the rest stays empty, the image path too, so that no
                // record is ever made for the Masters folder itself.
                QCOMPARE(r.originalFileName, QString());
                QCOMPARE(r.imagePath, QByteArray());
                QCOMPARE(r.fileSize, 3);
            } else {
                QCOMPARE(index, badDescription);
                QCOMPARE(r.imagePath, lib.photo(badDescription).imagePath);
                QCOMPARE(r.originalFileName, QStringLiteral("3.jpg"));
                QCOMPARE(r.description, QString());
            }
        }
    }
};

QUILLON_TEST_MAIN(TestPhotosLibrary)
#include "tst_photoslibrary.moc"
