#include "support/TestMain.h"
#include "util/CommonFuncs.h"
#include "util/StringExtensions.h"

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
        QTest::newRow("1000") << quint64(1000) << S("1.00 KB");
        QTest::newRow("rounded after the unit") << quint64(999999) << S("1000.00 KB");
        QTest::newRow("1,536,000") << quint64(1536000) << S("1.54 MB");
        QTest::newRow("PB") << quint64(1000000000000000ull) << S("1.00 PB");
        QTest::newRow("largest") << std::numeric_limits<quint64>::max() << S("18.45 EB");
    }
    void sizeText()
    {
        QFETCH(quint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(CommonFuncs::getSizeInUnits(bytes), text);
        const QVariantMap parts = CommonFuncs::getSizeAndSizeUnitFor(bytes, 3);
        QCOMPARE(parts.value(S("size")).toString() + ' ' + parts.value(S("unit")).toString(), text);
        QCOMPARE(parts.size(), 2);
    }

    void dateTexts_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("compact");
        const QTimeZone utc = QTimeZone::utc();
        QTest::newRow("after midnight") << QDateTime(QDate(2024, 3, 5), QTime(0, 7, 9), utc)
                                        << S("Mar 05, 2024 12:07:09 AM") << S("20240305T0007");
        QTest::newRow("noon") << QDateTime(QDate(2019, 12, 31), QTime(12, 0, 0), utc)
                              << S("Dec 31, 2019 12:00:00 PM") << S("20191231T1200");
        QTest::newRow("afternoon") << QDateTime(QDate(2001, 7, 14), QTime(13, 45, 30), utc)
                                   << S("Jul 14, 2001 01:45:30 PM") << S("20010714T1345");
        // Another zone is shown in local time (UTC here).
        QTest::newRow("other zone") << QDateTime(QDate(2022, 1, 1), QTime(1, 30, 0), QTimeZone(2 * 3600))
                                    << S("Dec 31, 2021 11:30:00 PM") << S("20211231T2330");
        QTest::newRow("no date") << QDateTime() << S() << S();
        QTest::newRow("record date in seconds") << CommonFuncs::dateFromSeconds(1700000000.25)
                                                << S("Nov 14, 2023 10:13:20 PM") << S("20231114T2213");
    }
    void dateTexts()
    {
        QFETCH(QDateTime, date);
        QFETCH(QString, text);
        QFETCH(QString, compact);
        // Month names stay English whatever the user's language.
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString shown = CommonFuncs::getDateTimeStringFromDate(date);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(shown, text);
        QCOMPARE(CommonFuncs::getDateInFormatNEW(date), compact);
        QVERIFY(!CommonFuncs::dateFromSeconds(0).isValid());
        QCOMPARE(CommonFuncs::dateFromSeconds(1.5).toMSecsSinceEpoch(), qint64(1500));
    }

    void email_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("valid");
        QTest::newRow("plain") << S("user@example.com") << true;
        QTest::newRow("special characters") << S("a!#$%&'*/=?^_`{|}~-z@example.com") << true;
        QTest::newRow("quoted local part") << S("\"john..doe\"@example.com") << true;
        QTest::newRow("address literal") << S("user@[192.168.0.1]") << true;
        QTest::newRow("upper case local part") << S("User@example.com") << false;
        QTest::newRow("double dot") << S("us..er@example.com") << false;
        QTest::newRow("hyphen ends a label") << S("user@example-.com") << false;
        QTest::newRow("trailing line end") << S("user@example.com\n") << false;
        QTest::newRow("non-ASCII") << S("jos\u00e9@example.com") << false;
    }
    void email()
    {
        QFETCH(QString, address);
        QFETCH(bool, valid);
        QCOMPARE(CommonFuncs::validateEmail(address), valid);
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
        QTest::newRow("version without dot") << album << S("9") << S("masters") << S("9") << all;
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

    void trim()
    {
        QCOMPARE(StringExtensions::trim(S(" \t a\n\nb \r\n")), S("a\n\nb"));
        QCOMPARE(StringExtensions::trim(S("\u00a0x y\u2003")), S("x y"));
        QCOMPARE(StringExtensions::trim(S(" \n ")), S());
    }

    // decodes: false when the text is not a valid encoding (decoding answers a null string).
    void urlEncoding_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("encoded");
        QTest::addColumn<bool>("encodes");
        QTest::newRow("blank") << S("hello world") << S("hello%20world") << true;
        QTest::newRow("reserved characters")
            << S("!*'();:@&=+$,/?%#[]") << S("%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D")
            << true;
        QTest::newRow("unreserved kept") << S("Az09-._~") << S("Az09-._~") << true;
        QTest::newRow("UTF-8") << S("caf\u00e9 \U0001F600") << S("caf%C3%A9%20%F0%9F%98%80") << true;
        QTest::newRow("empty") << S() << S() << true;
        QTest::newRow("lower-case hex decodes") << S("caf\u00e9") << S("caf%c3%a9") << false;
        QTest::newRow("plus stays") << S("a+b") << S("a+b") << false;
        QTest::newRow("escape next to raw non-ASCII") << S("\u00e9 ") << S("\u00e9%20") << false;
        QTest::newRow("malformed escape") << S() << S("100%zz") << false;
        QTest::newRow("cut escape") << S() << S("abc%4") << false;
        QTest::newRow("not UTF-8") << S() << S("caf%E9") << false;
    }
    void urlEncoding()
    {
        QFETCH(QString, text);
        QFETCH(QString, encoded);
        QFETCH(bool, encodes);
        if (encodes)
            QCOMPARE(StringExtensions::URLEncodedString(text), encoded);
        const QString decoded = StringExtensions::URLDecodedString(encoded);
        QCOMPARE(decoded, text);
        if (!encoded.isEmpty())
            QCOMPARE(decoded.isNull(), text.isNull());
    }
};

QUILLON_TEST_MAIN(TestCommonFuncs)
#include "tst_commonfuncs.moc"
