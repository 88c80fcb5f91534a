#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/CommonFuncs.h"

#include <QLocale>
#include <QTimeZone>

using S = QString;

class TestCommonFuncs : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private Q_SLOTS:
    void sizeText()
    {
        for (const auto& [bytes, text] : {std::pair{quint64(1), "1 bytes"},         // no singular
                                          std::pair{quint64(999999), "1000.00 KB"}, // rounded after the unit
                                          std::pair{std::numeric_limits<quint64>::max(), "18.45 EB"}})
            QCOMPARE(CommonFuncs::getSizeInUnits(bytes), QString::fromLatin1(text));
    }

    // English month names whatever the user's language; another zone is shown in local time
    // (UTC under the test harness).
    void dateTexts()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        QStringList shown;
        for (const QDateTime& date :
             {QDateTime(QDate(2024, 3, 5), QTime(0, 7, 9), QTimeZone::utc()),
              QDateTime(QDate(2022, 1, 1), QTime(1, 30), QTimeZone(7200)), QDateTime()})
            shown << CommonFuncs::getDateTimeStringFromDate(date);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(shown, (QStringList{"Mar 05, 2024 12:07:09 AM", "Dec 31, 2021 11:30:00 PM", ""}));
        QVERIFY(!CommonFuncs::dateFromSeconds(0).isValid() &&
                CommonFuncs::dateFromSeconds(1.5).toMSecsSinceEpoch() == 1500);
    }

    // An iPhoto library is accepted, with its masters, only at version 9 and with a Masters
    // folder; names in any letter case. version: null for a cut-off property list.
    void photoLibraries_data()
    {
        QTest::addColumn<QByteArray>("albumData");
        QTest::addColumn<QByteArray>("version");
        QTest::addColumn<QByteArray>("masters"); // "file:" for a plain file
        QTest::addColumn<bool>("accepted");
        const auto row = [](const char* tag, const char* album, const char* version, const char* masters,
                            bool ok) {
            QTest::newRow(tag) << QByteArray(album) << QByteArray(version) << QByteArray(masters) << ok;
        };
        row("iPhoto 9", "AlbumData.xml", "9.6.1", "Masters", true);
        row("other case", "albumdata.XML", "9.0", "MASTERS", true);
        row("masters a file", "AlbumData.xml", "9.6", "file:Masters", false);
        row("iPhoto 8", "AlbumData.xml", "8.1.2", "Masters", false);
        row("later than 9", "AlbumData.xml", "10.0", "Masters", false);
        row("cut-off list", "AlbumData.xml", nullptr, "Masters", false);
    }
    void photoLibraries()
    {
        QFETCH(QByteArray, albumData);
        QFETCH(QByteArray, version);
        QFETCH(QByteArray, masters);
        QFETCH(bool, accepted);
        const QByteArray lib = QFile::encodeName(m_dir.filePath(QTest::currentDataTag())) + ".photolibrary";
        QVERIFY(TestSupport::writeFile(
            lib + '/' + albumData,
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Application Version</key>" +
                (version.isNull() ? QByteArray() : "<string>" + version + "</string></dict></plist>")));
        QVERIFY(masters.startsWith("file:") ? TestSupport::writeFile(lib + '/' + masters.mid(5), {})
                                            : TestSupport::makeDir(lib + '/' + masters + "/2012"));
        QCOMPARE(CommonFuncs::getPhotoLibraryVersion(lib), QString::fromLatin1(version.split('.').first()));
        QCOMPARE(CommonFuncs::photoLibrary_MastersOrOriginal(lib), accepted ? S("masters") : S());
        QCOMPARE(CommonFuncs::isPkgPhotoLib(lib), accepted);
        QCOMPARE(CommonFuncs::isiPhotoLibrary9AndAbove(lib), version.split('.').first().toInt() >= 9);
    }

    // The first present of four candidates, in any letter case with the real names kept; with
    // none present, the last one.
    void photosDatabasePath()
    {
        const QByteArray lib = QFile::encodeName(m_dir.filePath(S("db.photoslibrary")));
        QVERIFY(TestSupport::makeDir(lib));
        QCOMPARE(CommonFuncs::getDataBasePathForPhotosLib(lib), lib + "/database/photos.db");
        for (const char* name : {"Database/photos.DB", "Database/APDB/photos.db", "Database/library.apdb",
                                 "Database/APDB/Library.apdb"}) {
            QVERIFY(TestSupport::writeFile(lib + '/' + name, {}));
            QCOMPARE(CommonFuncs::getDataBasePathForPhotosLib(lib), lib + '/' + name);
        }
    }
};

QUILLON_TEST_MAIN(TestCommonFuncs)
#include "tst_commonfuncs.moc"
