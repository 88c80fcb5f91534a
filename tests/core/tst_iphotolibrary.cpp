#include "app/Settings.h"
#include "fixtures/IPhotoLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "libraries/DataFiller.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdio>

namespace {

QList<Alert> oneAlert(const char* message, const char* informative)
{
    return {Alert{QString::fromUtf8(message), QString::fromUtf8(informative)}};
}

using Photo = IPhotoLibraryFixture::Photo;

// A reader with its own alerts and a settings file of the test's own.
struct Reader
{
    explicit Reader(const QString& dir, int includeEditedCopies = 0)
        : store(dir + QStringLiteral("/settings.ini"), QSettings::IniFormat), settings(&store),
          filler(&alerts, &settings)
    {
        settings.setValue(Settings::kIncludeEditedCopies, includeEditedCopies);
    }

    QSettings store;
    Settings settings;
    ScriptedAlertPresenter alerts;
    DataFiller filler;
};

QByteArray pathOf(const QTemporaryDir& dir)
{
    return QFile::encodeName(dir.path());
}

} // namespace

class TestIPhotoLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void keepsShownVersionsWithMasterAndEvent_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("version in trash") << 0;
        QTest::newRow("hidden from library") << 1;
        QTest::newRow("version number 0") << 2;
        QTest::newRow("master in trash") << 3;
        QTest::newRow("empty masterUuid") << 4;
        QTest::newRow("event missing") << 5;
    }
    void keepsShownVersionsWithMasterAndEvent()
    {
        QFETCH(int, kind);
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const auto kept = lib.addPhoto({"2013/kept.jpg", "kept"});
        Photo other("2013/other.jpg", "other");
        switch (kind) {
        case 0:
            other.versionTrashed();
            break;
        case 1:
            other.hiddenFromLibrary();
            break;
        case 2:
            other.numbered(0);
            break;
        case 3:
            other.masterTrashed();
            break;
        case 4:
            other.withEmptyMasterUuid();
            break;
        case 5:
            other.inEvent(QStringLiteral("NO-SUCH-EVENT"));
            break;
        }
        lib.addPhoto(other);
        QVERIFY(lib.write());

        Reader reader(tmp.path());
        reader.filler.setLibPath(lib.libraryPath());
        QTest::ignoreMessage(QtInfoMsg, "Total Photos in iPhoto 1");
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        QCOMPARE(reader.filler.lastScannedPhotosCount, 1);
        QCOMPARE(reader.filler.masterPhotos.size(), 1);
        QCOMPARE(reader.filler.masterPhotos.first().value("uuid").toString(), kept.versionUuid);
        QCOMPARE(reader.filler.arrOriginalPaths, QList<QByteArray>{kept.originalPath});
        QCOMPARE(reader.filler.arrImagePaths, QList<QByteArray>{kept.imagePath});
        QCOMPARE(reader.filler.arrThumbnailPaths, QList<QByteArray>{kept.thumbPath});
        QVERIFY(reader.alerts.alerts().isEmpty());
    }

    void joinsVersionsWithTheXml()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const auto plain = lib.addPhoto({"2013/a.jpg", "a"});
        const auto edited =
            lib.addPhoto(Photo::versionOf(plain.masterUuid).editedAs("2013/a.jpg", "a, edited"));
        const auto unlisted = lib.addPhoto(Photo("2013/b.jpg", "b").notInXml());
        const auto noThumb = lib.addPhoto(Photo("2013/c.jpg", "c").withoutXmlThumbPath());
        QVERIFY(lib.write());

        Reader reader(tmp.path());
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        const DataFiller& f = reader.filler;
        QCOMPARE(f.masterPhotos.size(), 4);
        QCOMPARE(f.arrOriginalPaths.size(), 4);
        QCOMPARE(f.arrImagePaths.size(), 4);
        QCOMPARE(f.arrThumbnailPaths.size(), 4);
        QCOMPARE(f.arrOriginalPaths, QList<QByteArray>({plain.originalPath, plain.originalPath,
                                                        unlisted.originalPath, noThumb.originalPath}));
        QCOMPARE(f.arrImagePaths, QList<QByteArray>({plain.imagePath, edited.imagePath, unlisted.originalPath,
                                                     noThumb.imagePath}));
        QCOMPARE(f.arrThumbnailPaths, QList<QByteArray>({plain.thumbPath, edited.thumbPath,
                                                         unlisted.originalPath, noThumb.originalPath}));
        QVERIFY(edited.imagePath.contains("/Previews/"));
        QVERIFY(!f.masterPhotos.at(0).contains("iPath"));
        QVERIFY(f.masterPhotos.at(2).value("iPath").toBool());
        QVERIFY(f.masterPhotos.at(2).value("tPath").toBool());
        QVERIFY(!f.masterPhotos.at(3).contains("iPath"));
        QVERIFY(f.masterPhotos.at(3).value("tPath").toBool());
        QCOMPARE(f.dictMasterInfo.value(plain.masterUuid).MasterCount, 2);
        QCOMPARE(f.dictFolderInfo.value(plain.eventUuid).VersionCount, 4);
    }

    void movedLibraryPathsFollowTheLibrary()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp) + "/old place");
        const auto photo = lib.addPhoto(Photo("2013/a.jpg", "a").editedAs("2013/a.jpg", "edit"));
        QVERIFY(lib.write());
        // The new name is not even UTF-8: paths are handed on as bytes.
        const QByteArray moved = pathOf(tmp) + "/Nouvel \xe9t\xe9.photolibrary";
        QCOMPARE(::rename(lib.libraryPath().constData(), moved.constData()), 0);

        Reader reader(tmp.path());
        reader.filler.fetchImagesFromLib(moved);
        const DataFiller& f = reader.filler;
        QCOMPARE(f.masterPhotos.size(), 1);
        QCOMPARE(f.arrOriginalPaths.first(), moved + "/Masters/2013/a.jpg");
        QCOMPARE(f.arrImagePaths.first(), moved + "/Previews/2013/a.jpg");
        QVERIFY(f.arrThumbnailPaths.first().startsWith(moved + "/Thumbnails/"));
        QVERIFY(PathUtils::exists(f.arrImagePaths.first()));
        QVERIFY(PathUtils::exists(f.arrThumbnailPaths.first()));
        QVERIFY(!photo.imagePath.startsWith(moved));

        // Removal reaches the database at the new place.
        reader.filler.moveNodeToiPhotoTrash(0);
        QVERIFY(
            IPhotoLibraryFixture::versionInTrash(moved + "/Database/apdb/Library.apdb", photo.versionUuid));
        QVERIFY(IPhotoLibraryFixture::masterInTrash(moved + "/Database/apdb/Library.apdb", photo.masterUuid));
    }

    void xmlWithoutArchivePathIsReported()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        lib.setArchivePath(std::nullopt);
        const auto photo = lib.addPhoto({"2013/a.jpg", "a"});
        QVERIFY(lib.write());

        Reader reader(tmp.path());
        QTest::ignoreMessage(QtInfoMsg, "Archive is nil");
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        QCOMPARE(reader.alerts.alerts(), oneAlert("Please report to the developer should not happen",
                                                  "Send Feedback with logs now."));
        QCOMPARE(reader.filler.arrImagePaths, QList<QByteArray>{photo.imagePath});
    }

    void recognisesTheLibraryFile_data()
    {
        QTest::addColumn<QByteArray>("xmlName");
        QTest::addColumn<bool>("valid");
        QTest::newRow("AlbumData.xml") << QByteArray("AlbumData.xml") << true;
        QTest::newRow("ApertureData.xml") << QByteArray("ApertureData.xml") << true;
        QTest::newRow("other letter case") << QByteArray("albumdata.XML") << true;
        QTest::newRow("none") << QByteArray() << false;
    }
    void recognisesTheLibraryFile()
    {
        QFETCH(QByteArray, xmlName);
        QFETCH(bool, valid);
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        lib.setXmlFileName(xmlName);
        lib.addPhoto({"2013/a.jpg", "a"});
        QVERIFY(lib.write());

        Reader reader(tmp.path());
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        if (valid) {
            QCOMPARE(reader.filler.xmlFile, lib.libraryPath() + "/" + xmlName);
            QCOMPARE(reader.filler.arrOriginalPaths.size(), 1);
            QVERIFY(reader.alerts.alerts().isEmpty());
        } else {
            QCOMPARE(reader.alerts.alerts(),
                     oneAlert("Error in reading iPhoto library", "Please select valid library"));
            QVERIFY(reader.filler.arrOriginalPaths.isEmpty());
            QVERIFY(reader.filler.dbPath.isEmpty());
        }
    }

    void emptyOrDatabaseLessLibraryGivesNoPhotos_data()
    {
        QTest::addColumn<bool>("withDatabase");
        QTest::newRow("no versions") << true;
        QTest::newRow("no database") << false;
    }
    void emptyOrDatabaseLessLibraryGivesNoPhotos()
    {
        QFETCH(bool, withDatabase);
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        lib.setWriteDatabase(withDatabase);
        QVERIFY(lib.write());

        Reader reader(tmp.path());
        QTest::ignoreMessage(QtInfoMsg, "Total Photos in iPhoto 0");
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        QCOMPARE(reader.filler.dbPath.isEmpty(), !withDatabase);
        QVERIFY(reader.filler.masterPhotos.isEmpty());
        QVERIFY(reader.filler.arrOriginalPaths.isEmpty());
        // The library's database is opened without create: nothing appears where none was.
        QCOMPARE(PathUtils::exists(lib.databasePath()), withDatabase);
    }

    void missingOriginalsAndVideos_data()
    {
        QTest::addColumn<int>("includeEditedCopies");
        QTest::addColumn<bool>("editedVideoCounts");
        QTest::newRow("edited copies tested") << 0 << false;
        QTest::newRow("originals tested") << 1 << true;
    }
    void missingOriginalsAndVideos()
    {
        QFETCH(int, includeEditedCopies);
        QFETCH(bool, editedVideoCounts);
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const auto video = lib.addPhoto({"2013/clip.mov", "movie"});
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
        QVERIFY(QFile::copy(QFile::decodeName(substitute.imagePath),
                            QFile::decodeName(lib.libraryPath() + "/Masters/2013/s.mov")));

        Reader reader(tmp.path(), includeEditedCopies);
        QTest::ignoreMessage(QtInfoMsg, includeEditedCopies ? "Deep scan Enabled" : "Deep scan Disabled");
        reader.filler.fetchImagesFromLib(lib.libraryPath());
        const DataFiller& f = reader.filler;
        QCOMPARE(f.allowScanEditedCopies, includeEditedCopies == 1);
        QCOMPARE(f.arrOriginalPaths.size(), 4);
        QCOMPARE(f.arrOriginalPaths.at(2), lib.libraryPath() + "/Masters/2013/s.mov");
        QCOMPARE(f.arrOriginalPaths.at(3), lost.originalPath);

        QHash<QByteArray, int> expected{{video.originalPath, 0}, {f.arrOriginalPaths.at(2), 2}};
        if (editedVideoCounts)
            expected.insert(noEdit.originalPath, 1);
        QCOMPARE(f.dictIsVideo, expected);
    }

    void isVideoFile_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<bool>("video");
        QTest::newRow(".mov") << QByteArray("/p/clip.mov") << true;
        QTest::newRow(".mov.txt") << QByteArray("/p/clip.mov.txt") << false;
        QTest::newRow("xdv ends in DV") << QByteArray("/p/notes.xdv") << true;
        QTest::newRow("upper case") << QByteArray("/p/CLIP.M4V") << true;
        QTest::newRow("3PP2 as listed") << QByteArray("/p/a.3pp2") << true;
        QTest::newRow("3G2 not listed") << QByteArray("/p/a.3g2") << false;
        QTest::newRow("jpeg") << QByteArray("/p/a.jpeg") << false;
        QTest::newRow("not utf-8") << QByteArray("/p/\xff\xfe.mp4") << true;
    }
    void isVideoFile()
    {
        QFETCH(QByteArray, path);
        QFETCH(bool, video);
        QCOMPARE(DataFiller().isVideoFile(path), video);
    }

    void removingVersionsMarksTheLibrary()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const QString event = lib.addEvent(QByteArray("Trip"));
        const auto first = lib.addPhoto(Photo("2013/a.jpg", "a").inEvent(event));
        const auto second =
            lib.addPhoto(Photo::versionOf(first.masterUuid).inEvent(event).editedAs("2013/a.jpg", "edit"));
        const auto single = lib.addPhoto(Photo("2013/b.jpg", "b").inEvent(event));
        QVERIFY(lib.write());
        const QByteArray db = lib.databasePath();
        QCOMPARE(IPhotoLibraryFixture::folderVersionCount(db, event), 3);

        Reader reader(tmp.path());
        DataFiller& f = reader.filler;
        f.fetchImagesFromLib(lib.libraryPath());
        QCOMPARE(f.masterPhotos.size(), 3);

        f.moveNodeToiPhotoTrash(0);
        QVERIFY(IPhotoLibraryFixture::versionInTrash(db, first.versionUuid));
        QVERIFY(!IPhotoLibraryFixture::masterInTrash(db, first.masterUuid));
        QCOMPARE(IPhotoLibraryFixture::folderVersionCount(db, event), 2);
        QCOMPARE(f.dictFolderInfo.value(event).VersionCount, 2);

        // Asking again for the same photo changes nothing.
        f.moveNodeToiPhotoTrash(0);
        QVERIFY(!IPhotoLibraryFixture::masterInTrash(db, first.masterUuid));
        QCOMPARE(IPhotoLibraryFixture::folderVersionCount(db, event), 2);

        f.moveNodeToiPhotoTrash(1);
        QVERIFY(IPhotoLibraryFixture::versionInTrash(db, second.versionUuid));
        QVERIFY(IPhotoLibraryFixture::masterInTrash(db, first.masterUuid));
        QCOMPARE(IPhotoLibraryFixture::folderVersionCount(db, event), 1);

        // The untouched photo stays.
        QVERIFY(!IPhotoLibraryFixture::versionInTrash(db, single.versionUuid));
        QVERIFY(!IPhotoLibraryFixture::masterInTrash(db, single.masterUuid));

        QVERIFY(IPhotoLibraryFixture::rowCount(db, "RKVersion_RidIndexes") > 0);
        QVERIFY(IPhotoLibraryFixture::rowCount(db, "RKMaster_RidIndexes") > 0);
        f.finalizeTrashOperation();
        QCOMPARE(IPhotoLibraryFixture::rowCount(db, "RKVersion_RidIndexes"), 0);
        QCOMPARE(IPhotoLibraryFixture::rowCount(db, "RKMaster_RidIndexes"), 0);
        QCOMPARE(IPhotoLibraryFixture::rowCount(db, "RKVersion"), 3);
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
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const QString event = lib.addEvent(stored);
        QVERIFY(lib.write());

        QHash<QString, FolderInfo> folders;
        DBOperations::getAllFolders(lib.databasePath(), QStringLiteral("RKFolder"), folders);
        QCOMPARE(folders.size(), 1);
        QVERIFY(folders.contains(event));
        QCOMPARE(folders.value(event).EventName, read);
        QCOMPARE(folders.value(event).VersionCount, 0);
    }

    void unreadableVersionTextIsLeftOut()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        const auto good = lib.addPhoto({"2013/a.jpg", "a"});
        const auto bad = lib.addPhoto({"2013/b.jpg", "b"});
        QVERIFY(lib.write());
        {
            SqliteFixtureHelpers::Database db(lib.databasePath());
            QVERIFY(db.exec("UPDATE RKVersion SET name = ? WHERE uuid = ?;",
                            {QByteArray("\xc3\x28"), bad.versionUuid}));
        }
        QTest::ignoreMessage(QtInfoMsg,
                             QRegularExpression(QStringLiteral("^Exception in getAllVersionPhotos: ")));
        const QList<QVariantMap> versions =
            DBOperations::getAllVersionPhotos(lib.databasePath(), "RKVersion");
        QCOMPARE(versions.size(), 1);
        QCOMPARE(versions.first().value("uuid").toString(), good.versionUuid);
        QCOMPARE(versions.first().value("modelId").toString(), QString::number(good.modelId));
        QCOMPARE(versions.first().value("name").toString(), QStringLiteral("a.jpg"));
    }

    void maintenanceStatements()
    {
        QTemporaryDir tmp;
        IPhotoLibraryFixture lib(pathOf(tmp));
        lib.addPhoto({"2013/a.jpg", "a"});
        QVERIFY(lib.write());
        const QByteArray db = lib.databasePath();
        QStringList tables = DBOperations::getDBTableName(db);
        tables.sort();
        QCOMPARE(tables, QStringList({"RKFolder", "RKMaster", "RKMaster_RidIndexes", "RKVersion",
                                      "RKVersion_RidIndexes"}));
        QVERIFY(DBOperations::dbHasData(db));
        QVERIFY(DBOperations::dbEmptyData(db));
        QVERIFY(!DBOperations::dbHasData(db));
        QVERIFY(!DBOperations::tableHasData(db, "RKVersion"));
        // A missing database is never created by a write.
        const QByteArray missing = pathOf(tmp) + "/none.apdb";
        QVERIFY(!DBOperations::markInTrashForMaster(missing, "RKMaster", "X"));
        QVERIFY(!PathUtils::exists(missing));
    }
};

QUILLON_TEST_MAIN(TestIPhotoLibrary)
#include "tst_iphotolibrary.moc"
