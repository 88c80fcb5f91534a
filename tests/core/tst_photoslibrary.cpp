#include "fixtures/PhotosLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "platform/Platform.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/PathUtils.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <sys/stat.h>

namespace {

using Photo = PhotosLibraryFixture::Photo;
using Added = PhotosLibraryFixture::Added;

// The file's size and modification time, or nothing; by the path's bytes, as the library sits
// in a folder whose name is not UTF-8.
QByteArray stateOf(const QByteArray& path)
{
    struct stat st = {};
    return ::stat(path.constData(), &st)
               ? QByteArray()
               : QByteArray::number(st.st_size) + '@' + QByteArray::number(st.st_mtim.tv_sec) + '.' +
                     QByteArray::number(st.st_mtim.tv_nsec);
}

// One line per record, every field, sorted by modelId.
QString row(const Added& a, const QString& name, const QString& description = {})
{
    return QStringList{a.modelId,
                       a.masterUuid,
                       a.versionUuid,
                       QString::fromLatin1(a.imagePath.toHex()),
                       QString::number(a.fileSize),
                       name,
                       description}
        .join(QLatin1Char('|'));
}
QStringList rows(const std::optional<QList<PhotoRecord>>& records)
{
    QStringList out;
    for (const PhotoRecord& r : records.value_or(QList<PhotoRecord>{}))
        out.append(row({r.uuid, r.uuidRKVersion, r.modelId, r.imagePath, r.fileSize}, r.originalFileName,
                       r.description));
    out.sort();
    return out;
}

} // namespace

class TestPhotosLibrary : public QObject
{
    Q_OBJECT

    std::optional<QTemporaryDir> m_tmp; // one per case
    QByteArray tmp() const { return QFile::encodeName(m_tmp->path()); }

private Q_SLOTS:
    void init() { m_tmp.emplace(); }
    void cleanup()
    {
        // Every read removes its copy; a leftover would make the next case meaningless.
        const QDir caches(QFile::decodeName(Platform::cachesFolder()));
        QCOMPARE(caches.entryList({QStringLiteral("*.db*"), QStringLiteral("*.apdb*")}, QDir::Files),
                 QStringList());
    }

    // Where the database is, and which album holds the photos already collected: only the first
    // live album of that name (in any letter case) counts.
    void readsLiveUncollectedPhotos_data()
    {
        QTest::addColumn<QByteArray>("databaseName");
        QTest::addColumn<bool>("useWal");
        QTest::addColumn<QString>("albumName");
        QTest::addColumn<bool>("albumInTrash");
        QTest::addColumn<bool>("firstCounts");
        const QByteArray db = "database/photos.db";
        const QString marked = QStringLiteral("Duplicate Marked Photos");
        QTest::newRow("photos.db, other album")
            << db << false << QStringLiteral("Holidays") << false << false;
        QTest::newRow("rows only in the -wal, longer name") << db << true << marked + " 2" << false << false;
        QTest::newRow("apdb/Library.apdb, trashed album")
            << QByteArray("database/apdb/Library.apdb") << true << marked << true << false;
        QTest::newRow("folder in other case, upper case")
            << QByteArray("Database/apdb/photos.db") << false << marked.toUpper() << false << true;
    }
    void readsLiveUncollectedPhotos()
    {
        QFETCH(QByteArray, databaseName);
        QFETCH(bool, useWal);
        QFETCH(QString, albumName);
        QFETCH(bool, albumInTrash);
        QFETCH(bool, firstCounts);
        // An earlier run left a copy of another library, with a log holding rows of its own.
        PhotosLibraryFixture old(tmp(), "Old");
        old.setDatabaseName(databaseName);
        old.setUseWal(true);
        old.addPhoto({"o/1.jpg", "old"});
        QVERIFY(old.write());
        const QByteArray copy = Platform::cachesFolder() + "/" + PathUtils::lastPathComponent(databaseName);
        QVERIFY(QDir().mkpath(QFile::decodeName(Platform::cachesFolder())));
        for (const char* suffix : {"", "-wal"})
            QVERIFY(QFile::copy(QFile::decodeName(old.databasePath() + suffix),
                                QFile::decodeName(copy + suffix)));
        QVERIFY(TestSupport::writeFile(copy + "-shm", QByteArray(32768, '\x5a')));

        PhotosLibraryFixture lib(tmp() + "/caf\xe9");
        lib.setDatabaseName(databaseName);
        lib.setUseWal(useWal);
        const int album = lib.addAlbum(albumName, albumInTrash);
        const int later = lib.addAlbum(QStringLiteral("Duplicate Marked Photos"));
        const int plain = lib.addPhoto({"2020/a.jpg", "alpha"});
        const int edited = lib.addVersion(plain, "a edited.jpg");
        const int described = lib.addPhoto(Photo("2020/b.jpg", "bravo!").describedAs("Sunset"));
        lib.addPhoto(Photo("2020/c.jpg", "c").masterTrashed());
        lib.addPhoto(Photo("2020/d.jpg", "d").versionTrashed());
        lib.addPhoto(Photo("2020/e.jpg", "e").partOfBurst());
        const int inFirst = lib.addPhoto({"x/1.jpg", "1"});
        const int inLater = lib.addPhoto({"x/2.jpg", "2"});
        lib.addToAlbum(album, inFirst);
        lib.addToAlbum(later, inLater);
        QVERIFY(lib.write());
        const QByteArray before = stateOf(lib.databasePath()) + stateOf(lib.databasePath() + "-wal");

        QCOMPARE(
            rows(DBOperations::getPhotoslibraryPath(lib.libraryPath())),
            QStringList({row(lib.photo(plain), "a.jpg"), row(lib.photo(edited), "a edited.jpg"),
                         row(lib.photo(described), "b.jpg", "Sunset"),
                         firstCounts ? row(lib.photo(inLater), "2.jpg") : row(lib.photo(inFirst), "1.jpg")}));
        // The library's own files are read through a copy only.
        QCOMPARE(stateOf(lib.databasePath()) + stateOf(lib.databasePath() + "-wal"), before);
        QVERIFY(!PathUtils::exists(lib.databasePath() + "-shm"));
    }

    void missingDatabaseGivesNothing()
    {
        const QByteArray library = tmp() + "/Empty.photoslibrary";
        QVERIFY(QDir().mkpath(QFile::decodeName(library + "/database")));
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^Error in copy Data Base ")));
        QVERIFY(!DBOperations::getPhotoslibraryPath(library).has_value());
    }

    // A bad name stops the record there: no image path, so no record for the Masters folder itself.
    void unreadableTextKeepsTheRecord()
    {
        PhotosLibraryFixture lib(tmp());
        const int good = lib.addPhoto({"g/1.jpg", "good"});
        Added badName = lib.photo(lib.addPhoto(Photo("g/2.jpg", "bad").named("caf\xe9.jpg")));
        const int badDescription = lib.addPhoto(Photo("g/3.jpg", "three").describedAs("\xff\xfe"));
        QVERIFY(lib.write());
        for (const char* field : {"filename", "description"})
            QTest::ignoreMessage(
                QtInfoMsg, QRegularExpression(QStringLiteral("^Exception in getImagesFromlibraryPath: .*") +
                                              QLatin1String(field)));
        badName.imagePath.clear();
        QCOMPARE(rows(DBOperations::getPhotoslibraryPath(lib.libraryPath())),
                 QStringList({row(lib.photo(good), "1.jpg"), row(badName, {}),
                              row(lib.photo(badDescription), "3.jpg")}));
    }
};

QUILLON_TEST_MAIN(TestPhotosLibrary)
#include "tst_photoslibrary.moc"
