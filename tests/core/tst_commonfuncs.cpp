#include "support/TestMain.h"
#include "util/CommonFuncs.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <QTimeZone>
#include <ctime>

using S = QString;

class TestCommonFuncs : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    // A folder of its own for each data row.
    QString rowFolder(const char* suffix) const
    {
        const QString path =
            m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QLatin1String(suffix));
        QDir().mkpath(path);
        return path;
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        ::tzset();
    }

    void sizeText_data()
    {
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << quint64(0) << S("0 bytes");
        QTest::newRow("one, no singular") << quint64(1) << S("1 bytes");
        QTest::newRow("rounded after the unit") << quint64(999999) << S("1000.00 KB");
        QTest::newRow("1,536,000") << quint64(1536000) << S("1.54 MB");
        QTest::newRow("largest") << std::numeric_limits<quint64>::max() << S("18.45 EB");
    }
    void sizeText()
    {
        QFETCH(quint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(CommonFuncs::getSizeInUnits(bytes), text);
    }

    void dateTexts_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("text");
        const QTimeZone utc = QTimeZone::utc();
        QTest::newRow("after midnight")
            << QDateTime(QDate(2024, 3, 5), QTime(0, 7, 9), utc) << S("Mar 05, 2024 12:07:09 AM");
        // Another zone is shown in local time (UTC here).
        QTest::newRow("other zone") << QDateTime(QDate(2022, 1, 1), QTime(1, 30, 0), QTimeZone(2 * 3600))
                                    << S("Dec 31, 2021 11:30:00 PM");
        QTest::newRow("no date") << QDateTime() << S();
        QTest::newRow("record date in seconds")
            << CommonFuncs::dateFromSeconds(1700000000.25) << S("Nov 14, 2023 10:13:20 PM");
    }
    void dateTexts()
    {
        QFETCH(QDateTime, date);
        QFETCH(QString, text);
        // Month names stay English whatever the user's language.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString shown = CommonFuncs::getDateTimeStringFromDate(date);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(shown, text);
        QVERIFY(!CommonFuncs::dateFromSeconds(0).isValid());
        QCOMPARE(CommonFuncs::dateFromSeconds(1.5).toMSecsSinceEpoch(), qint64(1500));
    }

    // albumData: the property list's name, "" for none, "garbage:<name>" for a cut-off file.
    // masters: the folder's name, "" for none, "file:<name>" for a plain file.
    // verdict: masters found, accepted as a library, version 9 or later.
    void photoLibraries_data()
    {
        QTest::addColumn<QString>("albumData");
        QTest::addColumn<QString>("appVersion");
        QTest::addColumn<QString>("masters");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QList<bool>>("verdict");
        const S album("AlbumData.xml");
        const QList<bool> all{true, true, true}, nineOnly{false, false, true}, none{false, false, false};
        QTest::newRow("iPhoto 9") << album << S("9.6.1") << S("Masters") << S("9") << all;
        QTest::newRow("names in other case")
            << S("albumdata.XML") << S("9.0") << S("MASTERS") << S("9") << all;
        QTest::newRow("9 without masters") << album << S("9.6") << S() << S("9") << nineOnly;
        QTest::newRow("masters is a file") << album << S("9.6") << S("file:Masters") << S("9") << nineOnly;
        QTest::newRow("iPhoto 8") << album << S("8.1.2") << S("Masters") << S("8") << none;
        QTest::newRow("later than 9") << album << S("10.0") << S("Masters") << S("10") << nineOnly;
        QTest::newRow("no AlbumData.xml") << S() << S() << S("Masters") << S() << none;
        QTest::newRow("not a property list")
            << S("garbage:AlbumData.xml") << S() << S("Masters") << S() << none;
    }
    void photoLibraries()
    {
        QFETCH(QString, albumData);
        QFETCH(QString, appVersion);
        QFETCH(QString, masters);
        QFETCH(QString, version);
        QFETCH(QList<bool>, verdict);
        const QString lib = rowFolder(".photolibrary");
        // A cut-off list has no closing tags.
        const QByteArray xml =
            "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Application Version</key>" +
            (albumData.startsWith(S("garbage:"))
                 ? QByteArray()
                 : "<string>" + appVersion.toUtf8() + "</string></dict></plist>");
        QFile list(lib + '/' + albumData.section(':', -1));
        QVERIFY(albumData.isEmpty() || (list.open(QIODevice::WriteOnly) && list.write(xml) == xml.size()));
        list.close();
        if (masters.startsWith(S("file:")))
            QVERIFY(QFile(lib + '/' + masters.mid(5)).open(QIODevice::WriteOnly));
        else if (!masters.isEmpty())
            QVERIFY(QDir().mkpath(lib + '/' + masters + S("/2012/IMG_1.JPG")));

        const QByteArray path = QFile::encodeName(lib);
        QCOMPARE(CommonFuncs::getPhotoLibraryVersion(path), version);
        QCOMPARE(CommonFuncs::photoLibrary_MastersOrOriginal(path), verdict[0] ? S("masters") : S());
        QCOMPARE(CommonFuncs::isPkgPhotoLib(path), verdict[1]);
        QCOMPARE(CommonFuncs::isiPhotoLibrary9AndAbove(path), verdict[2]);
        // Nothing renamed or lower-cased on the way.
        QVERIFY(masters.isEmpty() || QFileInfo::exists(lib + '/' + masters.section(':', -1)));
    }

    void photosDatabasePath_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("all four") << QStringList{S("database/apdb/Library.apdb"), S("database/Library.apdb"),
                                                 S("database/apdb/photos.db"), S("database/photos.db")}
                                  << S("database/apdb/Library.apdb");
        QTest::newRow("second before third")
            << QStringList{S("database/Library.apdb"), S("database/apdb/photos.db")}
            << S("database/Library.apdb");
        QTest::newRow("other letter case, real names kept")
            << QStringList{S("Database/APDB/library.APDB")} << S("Database/APDB/library.APDB");
        QTest::newRow("none: the last, unchecked") << QStringList() << S("database/photos.db");
    }
    void photosDatabasePath()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, chosen);
        const QString lib = rowFolder(".photoslibrary");
        for (const QString& relative : present) {
            QVERIFY(QDir(lib).mkpath(QFileInfo(relative).path()));
            QVERIFY(QFile(lib + '/' + relative).open(QIODevice::WriteOnly));
        }
        QCOMPARE(CommonFuncs::getDataBasePathForPhotosLib(QFile::encodeName(lib)),
                 QFile::encodeName(lib + '/' + chosen));
    }
};

QUILLON_TEST_MAIN(TestCommonFuncs)
#include "tst_commonfuncs.moc"
