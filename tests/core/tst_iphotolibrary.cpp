#include "app/Settings.h"
#include "fixtures/IPhotoLibraryFixture.h"
#include "libraries/DBOperations.h"
#include "libraries/DataFiller.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

#include "support/TestTree.h"

using Photo = IPhotoLibraryFixture::Photo;
using Paths = QList<QByteArray>;
using SqliteFixtureHelpers::Database;

class TestIPhotoLibrary : public QObject
{
    Q_OBJECT

    TestSupport::TestTree m_tree;
    ScriptedAlertPresenter m_alerts;
    std::unique_ptr<DataFiller> m_filler;
    int m_folders = 0;

    // A fresh folder for each library.
    QByteArray tmp() { return m_tree.path(QByteArray::number(++m_folders)); }
    DataFiller& read(const QByteArray& path, int includeEditedCopies = 0)
    {
        m_tree.settings().setValue(Settings::kIncludeEditedCopies, includeEditedCopies);
        m_alerts.clear();
        m_filler = std::make_unique<DataFiller>(&m_alerts, &m_tree.settings());
        m_filler->fetchImagesFromLib(path);
        return *m_filler;
    }

private Q_SLOTS:

    // Without an XML entry (or its ThumbPath) the original stands in for the image and thumbnail;
    // each spoilt photo is left out for one reason.
    void joinsShownVersionsWithTheXml()
    {
        IPhotoLibraryFixture lib(tmp());
        const auto plain = lib.addPhoto({"2013/a.jpg", "a"});
        const auto edited = lib.addPhoto(Photo::versionOf(plain.masterUuid).editedAs("2013/a.jpg", "edit"));
        const auto unlisted = lib.addPhoto(Photo("2013/b.jpg", "b").notInXml());
        const auto noThumb = lib.addPhoto(Photo("2013/c.jpg", "c").withoutXmlThumbPath());
        QList<Photo> spoilt(6, Photo("2013/other.jpg", "other"));
        spoilt[0].versionInTrash = true;
        spoilt[1].showInLibrary = false;
        spoilt[2].versionNumber = 0;
        spoilt[3].masterInTrash = true;
        spoilt[4].emptyMasterUuid = true;
        spoilt[5].inEvent(QStringLiteral("NO-SUCH-EVENT"));
        for (const Photo& photo : spoilt)
            lib.addPhoto(photo);
        QVERIFY(lib.write());
        QTest::ignoreMessage(QtInfoMsg, "Total Photos in iPhoto 4");
        const DataFiller& f = read(lib.libraryPath());
        QCOMPARE(f.arrOriginalPaths, Paths({plain.originalPath, plain.originalPath, unlisted.originalPath,
                                            noThumb.originalPath}));
        QCOMPARE(f.arrImagePaths,
                 Paths({plain.imagePath, edited.imagePath, unlisted.originalPath, noThumb.imagePath}));
        QCOMPARE(f.arrThumbnailPaths,
                 Paths({plain.thumbPath, edited.thumbPath, unlisted.originalPath, noThumb.originalPath}));
    }

    void libraryFile_data()
    {
        QTest::addColumn<QByteArray>("xmlName");
        QTest::addColumn<bool>("database");
        QTest::newRow("AlbumData.xml") << QByteArray("AlbumData.xml") << true;
        QTest::newRow("ApertureData.xml") << QByteArray("ApertureData.xml") << true;
        QTest::newRow("other letter case") << QByteArray("albumdata.XML") << true;
        QTest::newRow("no property list") << QByteArray() << true;
        // The database is opened without create: nothing appears where none was.
        QTest::newRow("no database") << QByteArray("AlbumData.xml") << false;
    }
    void libraryFile()
    {
        QFETCH(QByteArray, xmlName);
        QFETCH(bool, database);
        IPhotoLibraryFixture lib(tmp());
        lib.setXmlFileName(xmlName);
        lib.setWriteDatabase(database);
        const auto photo = lib.addPhoto({"2013/a.jpg", "a"});
        QVERIFY(lib.write());
        const DataFiller& f = read(lib.libraryPath());
        QCOMPARE(m_alerts.alerts().size(), xmlName.isEmpty() ? 1 : 0);
        QCOMPARE(f.arrImagePaths, xmlName.isEmpty() || !database ? Paths() : Paths{photo.imagePath});
        DBOperations::markInTrashForMaster(lib.databasePath(), "RKMaster", "X");
        QCOMPARE(PathUtils::exists(lib.databasePath()), database);
    }

    void missingOriginalsAndVideos()
    {
        for (int includeEditedCopies : {0, 1}) {
            IPhotoLibraryFixture lib(tmp());
            const auto video = lib.addPhoto({"2013/clip.mov", "movie"});
            lib.addPhoto({"2013/clip.mov.txt", "not a video"});
            // The image path names an edited copy that is not there.
            const auto noEdit = lib.addPhoto(Photo("2013/talk.MP4", "talk").editedAs("2013/gone.mp4", {}));
            // Master gone: its edited copy's Masters counterpart stands in, if there is one.
            const auto substitute =
                lib.addPhoto(Photo("2013/lost.jpg", "x").masterMissing().editedAs("2013/s.mov", "s"));
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
    }

    // Paths follow a moved library, as bytes (the new name is not UTF-8), and so does removal.
    // The master goes to the trash with its last version only; a repeat changes nothing. The
    // marks reach the database when the operation is finalised.
    void removingVersionsMarksTheMovedLibrary()
    {
        IPhotoLibraryFixture lib(tmp());
        const auto first = lib.addPhoto({"2013/a.jpg", "a"});
        const auto second = lib.addPhoto(Photo::versionOf(first.masterUuid).editedAs("2013/a.jpg", "edit"));
        lib.addPhoto({"2013/b.jpg", "b"});
        QVERIFY(lib.write());
        const QByteArray moved = m_tree.path("Nouvel \xe9t\xe9.photolibrary");
        QCOMPARE(::rename(lib.libraryPath().constData(), moved.constData()), 0);
        const QByteArray db = moved + "/Database/apdb/Library.apdb";
        const auto count = [&](const char* sql) { return Database(db).value(sql).toInt(); };
        const auto inTrash = [&](const QByteArray& t, const QString& uuid) {
            return Database(db).value("SELECT isInTrash FROM " + t + " WHERE uuid=?", {uuid}).toInt();
        };
        DataFiller& f = read(moved);
        QCOMPARE(f.arrImagePaths.value(1), moved + "/Previews/2013/a.jpg");
        f.moveNodeToiPhotoTrash(0);
        f.moveNodeToiPhotoTrash(0);
        f.finalizeTrashOperation();
        QVERIFY(inTrash("RKVersion", first.versionUuid) && !inTrash("RKMaster", first.masterUuid));
        f.moveNodeToiPhotoTrash(1);
        f.finalizeTrashOperation();
        QVERIFY(inTrash("RKVersion", second.versionUuid) && inTrash("RKMaster", first.masterUuid));
        QCOMPARE(count("SELECT versionCount FROM RKFolder"), 1);
        QCOMPARE(
            count("SELECT (SELECT count(*) FROM RKMaster_RidIndexes) + count(*) FROM RKVersion_RidIndexes"),
            0);
    }

    void eventNames()
    {
        IPhotoLibraryFixture lib(tmp());
        const QList<std::pair<std::optional<QByteArray>, QString>> names{
            {"Summer", "Summer"}, {"", "untitled event"}, {std::nullopt, {}}, {"Caf\xe9", "Untitled Event"}};
        QStringList events;
        for (const auto& [stored, read] : names)
            events.append(lib.addEvent(stored));
        QVERIFY(lib.write());
        QHash<QString, FolderInfo> folders;
        DBOperations::getAllFolders(lib.databasePath(), QStringLiteral("RKFolder"), folders);
        for (int i = 0; i < names.size(); ++i)
            QCOMPARE(folders.value(events[i]).EventName, names[i].second);
    }
};

QUILLON_TEST_MAIN(TestIPhotoLibrary)
#include "tst_iphotolibrary.moc"
