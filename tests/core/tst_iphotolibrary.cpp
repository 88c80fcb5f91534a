#include "app/Settings.h"
#include "fixtures/IPhotoLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "libraries/DataFiller.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

#include <QTemporaryDir>
#include <cstdio>
#include <functional>

namespace {

using Photo = IPhotoLibraryFixture::Photo;
using Paths = QList<QByteArray>;

bool inTrash(const QByteArray& db, const char* table, const QString& uuid)
{
    const QByteArray sql = "SELECT isInTrash FROM " + QByteArray(table) + " WHERE uuid = ?;";
    return IPhotoLibraryFixture::queryInt(db, sql.constData(), {uuid}) == 1;
}

int rows(const QByteArray& db, const char* table)
{
    return IPhotoLibraryFixture::queryInt(db, ("SELECT count(*) FROM " + QByteArray(table)).constData());
}

} // namespace

class TestIPhotoLibrary : public QObject
{
    Q_OBJECT

    QTemporaryDir m_tmp;
    QSettings m_store{m_tmp.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat};
    Settings m_settings{&m_store};
    ScriptedAlertPresenter m_alerts;
    std::unique_ptr<DataFiller> m_filler;
    int m_folders = 0;

    // A fresh folder for each library.
    QByteArray tmp() { return QFile::encodeName(m_tmp.path()) + "/" + QByteArray::number(++m_folders); }
    // Reads the library at path with a reader of the test's own settings and alerts.
    DataFiller& read(const QByteArray& path, int includeEditedCopies = 0)
    {
        m_settings.setValue(Settings::kIncludeEditedCopies, includeEditedCopies);
        m_filler = std::make_unique<DataFiller>(&m_alerts, &m_settings);
        m_filler->fetchImagesFromLib(path);
        return *m_filler;
    }

private Q_SLOTS:
    void init() { m_alerts.clear(); }

    void keepsShownVersionsWithMasterAndEvent_data()
    {
        QTest::addColumn<int>("kind");
        const char* names[] = {"version in trash", "hidden from library", "version number 0",
                               "master in trash",  "empty masterUuid",    "event missing"};
        for (int kind = 0; kind < 6; ++kind)
            QTest::newRow(names[kind]) << kind;
    }
    void keepsShownVersionsWithMasterAndEvent()
    {
        QFETCH(int, kind);
        IPhotoLibraryFixture lib(tmp());
        const auto kept = lib.addPhoto({"2013/kept.jpg", "kept"});
        Photo other("2013/other.jpg", "other");
        const std::function<void()> spoil[] = {
            [&] { other.versionInTrash = true; },  [&] { other.showInLibrary = false; },
            [&] { other.versionNumber = 0; },      [&] { other.masterInTrash = true; },
            [&] { other.emptyMasterUuid = true; }, [&] { other.inEvent(QStringLiteral("NO-SUCH-EVENT")); }};
        spoil[kind]();
        lib.addPhoto(other);
        QVERIFY(lib.write());

        QTest::ignoreMessage(QtInfoMsg, "Total Photos in iPhoto 1");
        const DataFiller& f = read(lib.libraryPath());
        QCOMPARE(f.lastScannedPhotosCount, 1);
        QCOMPARE(f.masterPhotos.size(), 1);
        QCOMPARE(f.masterPhotos.first().value("uuid").toString(), kept.versionUuid);
        QCOMPARE(f.arrOriginalPaths, Paths{kept.originalPath});
        QCOMPARE(f.arrThumbnailPaths, Paths{kept.thumbPath});
        QVERIFY(m_alerts.alerts().isEmpty());
    }

    void joinsVersionsWithTheXml()
    {
        IPhotoLibraryFixture lib(tmp());
        const auto plain = lib.addPhoto({"2013/a.jpg", "a"});
        const auto edited =
            lib.addPhoto(Photo::versionOf(plain.masterUuid).editedAs("2013/a.jpg", "a, edited"));
        const auto unlisted = lib.addPhoto(Photo("2013/b.jpg", "b").notInXml());
        const auto noThumb = lib.addPhoto(Photo("2013/c.jpg", "c").withoutXmlThumbPath());
        QVERIFY(lib.write());

        const DataFiller& f = read(lib.libraryPath());
        QCOMPARE(f.arrOriginalPaths, Paths({plain.originalPath, plain.originalPath, unlisted.originalPath,
                                            noThumb.originalPath}));
        // Without an XML entry the original stands in for the image and the thumbnail.
        QCOMPARE(f.arrImagePaths,
                 Paths({plain.imagePath, edited.imagePath, unlisted.originalPath, noThumb.imagePath}));
        QCOMPARE(f.arrThumbnailPaths,
                 Paths({plain.thumbPath, edited.thumbPath, unlisted.originalPath, noThumb.originalPath}));
        QVERIFY(edited.imagePath.contains("/Previews/"));
        QCOMPARE(f.dictMasterInfo.value(plain.masterUuid).MasterCount, 2);
        QCOMPARE(f.dictFolderInfo.value(plain.eventUuid).VersionCount, 4);
    }

    void movedLibraryPathsFollowTheLibrary()
    {
        IPhotoLibraryFixture lib(tmp() + "/old place");
        const auto photo = lib.addPhoto(Photo("2013/a.jpg", "a").editedAs("2013/a.jpg", "edit"));
        QVERIFY(lib.write());
        // The new name is not even UTF-8: paths are handed on as bytes.
        const QByteArray moved = QFile::encodeName(m_tmp.path()) + "/Nouvel \xe9t\xe9.photolibrary";
        QCOMPARE(::rename(lib.libraryPath().constData(), moved.constData()), 0);

        DataFiller& f = read(moved);
        QCOMPARE(f.arrOriginalPaths, Paths{moved + "/Masters/2013/a.jpg"});
        QCOMPARE(f.arrImagePaths, Paths{moved + "/Previews/2013/a.jpg"});
        QVERIFY(f.arrThumbnailPaths.first().startsWith(moved + "/Thumbnails/"));
        QVERIFY(PathUtils::exists(f.arrThumbnailPaths.first()));
        // Removal reaches the database at the new place.
        f.moveNodeToiPhotoTrash(0);
        f.finalizeTrashOperation();
        QVERIFY(inTrash(moved + "/Database/apdb/Library.apdb", "RKVersion", photo.versionUuid));
        QVERIFY(inTrash(moved + "/Database/apdb/Library.apdb", "RKMaster", photo.masterUuid));
    }

    void libraryFileAndArchivePath_data()
    {
        QTest::addColumn<QByteArray>("xmlName");
        QTest::addColumn<bool>("archivePath");
        QTest::addColumn<QList<Alert>>("alerts");
        const QByteArray album = "AlbumData.xml";
        QTest::newRow("AlbumData.xml") << album << true << QList<Alert>();
        QTest::newRow("ApertureData.xml") << QByteArray("ApertureData.xml") << true << QList<Alert>();
        QTest::newRow("other letter case") << QByteArray("albumdata.XML") << true << QList<Alert>();
        QTest::newRow("no property list") << QByteArray() << true
                                          << QList<Alert>{{QStringLiteral("Error in reading iPhoto library"),
                                                           QStringLiteral("Please select valid library")}};
        QTest::newRow("no archive path")
            << album << false
            << QList<Alert>{{QStringLiteral("Please report to the developer should not happen"),
                             QStringLiteral("Send Feedback with logs now.")}};
    }
    void libraryFileAndArchivePath()
    {
        QFETCH(QByteArray, xmlName);
        QFETCH(bool, archivePath);
        QFETCH(QList<Alert>, alerts);
        IPhotoLibraryFixture lib(tmp());
        lib.setXmlFileName(xmlName);
        if (!archivePath)
            lib.leaveOutArchivePath();
        const auto photo = lib.addPhoto({"2013/a.jpg", "a"});
        QVERIFY(lib.write());

        if (!archivePath)
            QTest::ignoreMessage(QtInfoMsg, "Archive is nil");
        const DataFiller& f = read(lib.libraryPath());
        const bool valid = !xmlName.isEmpty();
        QCOMPARE(m_alerts.alerts(), alerts);
        QCOMPARE(f.arrImagePaths, valid ? Paths{photo.imagePath} : Paths());
        QCOMPARE(f.xmlFile, valid ? lib.libraryPath() + "/" + xmlName : QByteArray());
        QCOMPARE(f.dbPath.isEmpty(), !valid);
    }

    // The library's database is opened without create: nothing appears where none was.
    void neverCreatesADatabase()
    {
        IPhotoLibraryFixture lib(tmp());
        lib.setWriteDatabase(false);
        QVERIFY(lib.write());
        QTest::ignoreMessage(QtInfoMsg, "Total Photos in iPhoto 0");
        const DataFiller& f = read(lib.libraryPath());
        QVERIFY(f.dbPath.isEmpty());
        QVERIFY(f.arrOriginalPaths.isEmpty());
        QVERIFY(!PathUtils::exists(lib.databasePath()));
        QVERIFY(!DBOperations::markInTrashForMaster(lib.databasePath(), "RKMaster", "X"));
        QVERIFY(!PathUtils::exists(lib.databasePath()));
    }

    void missingOriginalsAndVideos_data()
    {
        QTest::addColumn<int>("includeEditedCopies");
        QTest::newRow("edited copies tested") << 0;
        QTest::newRow("originals tested") << 1;
    }
    void missingOriginalsAndVideos()
    {
        QFETCH(int, includeEditedCopies);
        IPhotoLibraryFixture lib(tmp());
        const auto video = lib.addPhoto({"2013/clip.mov", "movie"});
        lib.addPhoto({"2013/clip.mov.txt", "not a video"});
        // The image path names an edited copy that is not there.
        const auto noEdit = lib.addPhoto(Photo("2013/talk.MP4", "talk").editedAs("2013/gone.mp4", {}));
        // Master gone, the edited copy remains and its Masters counterpart exists.
        const auto substitute =
            lib.addPhoto(Photo("2013/lost.jpg", "x").masterMissing().editedAs("2013/s.mov", "s"));
        // Master gone and nothing to stand for it.
        const auto lost =
            lib.addPhoto(Photo("2013/lost2.mov", "y").masterMissing().editedAs("2013/t.mov", "t"));
        QVERIFY(lib.write());
        QVERIFY(QFile::remove(QFile::decodeName(lib.libraryPath() + "/Previews/2013/gone.mp4")));
        const QByteArray standIn = lib.libraryPath() + "/Masters/2013/s.mov";
        QVERIFY(QFile::copy(QFile::decodeName(substitute.imagePath), QFile::decodeName(standIn)));

        QTest::ignoreMessage(QtInfoMsg, includeEditedCopies ? "Deep scan Enabled" : "Deep scan Disabled");
        const DataFiller& f = read(lib.libraryPath(), includeEditedCopies);
        QCOMPARE(f.arrOriginalPaths,
                 Paths({video.originalPath, lib.libraryPath() + "/Masters/2013/clip.mov.txt",
                        noEdit.originalPath, standIn, lost.originalPath}));
        QHash<QByteArray, int> expected{{video.originalPath, 0}, {standIn, 3}};
        if (includeEditedCopies)
            expected.insert(noEdit.originalPath, 2);
        QCOMPARE(f.dictIsVideo, expected);
    }

    void removingVersionsMarksTheLibrary()
    {
        IPhotoLibraryFixture lib(tmp());
        const QString event = lib.addEvent(QByteArray("Trip"));
        const auto first = lib.addPhoto(Photo("2013/a.jpg", "a").inEvent(event));
        const auto second =
            lib.addPhoto(Photo::versionOf(first.masterUuid).inEvent(event).editedAs("2013/a.jpg", "edit"));
        const auto single = lib.addPhoto(Photo("2013/b.jpg", "b").inEvent(event));
        QVERIFY(lib.write());
        const QByteArray db = lib.databasePath();
        const auto events = [&] {
            return IPhotoLibraryFixture::queryInt(db, "SELECT versionCount FROM RKFolder WHERE uuid = ?;",
                                                  {event});
        };

        DataFiller& f = read(lib.libraryPath());
        // The master goes to the trash with its last version only; a repeat changes nothing. The
        // marks reach the database when the operation is finalised.
        f.moveNodeToiPhotoTrash(0);
        f.moveNodeToiPhotoTrash(0);
        f.finalizeTrashOperation();
        QVERIFY(inTrash(db, "RKVersion", first.versionUuid));
        QVERIFY(!inTrash(db, "RKMaster", first.masterUuid));
        QCOMPARE(events(), 2);
        QCOMPARE(f.dictFolderInfo.value(event).VersionCount, 2);

        f.moveNodeToiPhotoTrash(1);
        f.finalizeTrashOperation();
        QVERIFY(inTrash(db, "RKVersion", second.versionUuid));
        QVERIFY(inTrash(db, "RKMaster", first.masterUuid));
        QCOMPARE(events(), 1);
        QVERIFY(!inTrash(db, "RKVersion", single.versionUuid) && !inTrash(db, "RKMaster", single.masterUuid));
        QCOMPARE(rows(db, "RKVersion_RidIndexes"), 0);
        QCOMPARE(rows(db, "RKMaster_RidIndexes"), 0);
        QCOMPARE(rows(db, "RKVersion"), 3);
    }

    void eventNames_data()
    {
        QTest::addColumn<std::optional<QByteArray>>("stored");
        QTest::addColumn<QString>("read");
        QTest::newRow("named") << std::optional<QByteArray>("Summer") << QStringLiteral("Summer");
        QTest::newRow("empty") << std::optional<QByteArray>("") << QStringLiteral("untitled event");
        QTest::newRow("NULL") << std::optional<QByteArray>() << QString();
        QTest::newRow("not UTF-8") << std::optional<QByteArray>("Caf\xe9")
                                   << QStringLiteral("Untitled Event");
    }
    void eventNames()
    {
        QFETCH(std::optional<QByteArray>, stored);
        QFETCH(QString, read);
        IPhotoLibraryFixture lib(tmp());
        const QString event = lib.addEvent(stored);
        QVERIFY(lib.write());
        QHash<QString, FolderInfo> folders;
        DBOperations::getAllFolders(lib.databasePath(), QStringLiteral("RKFolder"), folders);
        QCOMPARE(folders.keys(), QList<QString>{event});
        QCOMPARE(folders.value(event).EventName, read);
    }
};

QUILLON_TEST_MAIN(TestIPhotoLibrary)
#include "tst_iphotolibrary.moc"
