#include "support/TestMain.h"
#include "util/CommonFuncs.h"
#include "util/StringExtensions.h"

#include <QDir>
#include <QFile>
#include <QLocale>
#include <QTemporaryDir>
#include <QTimeZone>
#include <cstdlib>
#include <ctime>
#include <plist/plist.h>

namespace {

// An AlbumData.xml (or binary property list) holding the given application version.
bool writeAlbumData(const QString& path, const QString& version, bool binary)
{
    plist_t dict = plist_new_dict();
    plist_dict_set_item(dict, "Application Version", plist_new_string(version.toUtf8().constData()));
    plist_dict_set_item(dict, "Archive Path", plist_new_string("/Users/someone/Pictures/iPhoto Library"));
    char* data = nullptr;
    uint32_t length = 0;
    if (binary)
        plist_to_bin(dict, &data, &length);
    else
        plist_to_xml(dict, &data, &length);
    plist_free(dict);
    QFile file(path);
    const bool ok = data && file.open(QIODevice::WriteOnly) && file.write(data, length) == qint64(length);
    std::free(data);
    return ok;
}

} // namespace

class TestCommonFuncs : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

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
        QTest::newRow("zero") << quint64(0) << QStringLiteral("0 bytes");
        QTest::newRow("one, no singular") << quint64(1) << QStringLiteral("1 bytes");
        QTest::newRow("999") << quint64(999) << QStringLiteral("999 bytes");
        QTest::newRow("1000") << quint64(1000) << QStringLiteral("1.00 KB");
        QTest::newRow("rounded after the unit") << quint64(999999) << QStringLiteral("1000.00 KB");
        QTest::newRow("1,536,000") << quint64(1536000) << QStringLiteral("1.54 MB");
        QTest::newRow("GB") << quint64(2500000000ull) << QStringLiteral("2.50 GB");
        QTest::newRow("TB") << quint64(1000000000000ull) << QStringLiteral("1.00 TB");
        QTest::newRow("just below PB") << quint64(999999999999999ull) << QStringLiteral("1000.00 TB");
        QTest::newRow("PB") << quint64(1000000000000000ull) << QStringLiteral("1.00 PB");
        QTest::newRow("largest") << std::numeric_limits<quint64>::max() << QStringLiteral("18.45 EB");
    }
    void sizeText()
    {
        QFETCH(quint64, bytes);
        QFETCH(QString, text);
        QCOMPARE(CommonFuncs::getSizeInUnits(bytes), text);
        const QVariantMap parts = CommonFuncs::getSizeAndSizeUnitFor(bytes, 3);
        QCOMPARE(parts.value(QStringLiteral("size")).toString() + QLatin1Char(' ') +
                     parts.value(QStringLiteral("unit")).toString(),
                 text);
        QCOMPARE(parts.size(), 2);
    }

    void dateTexts_data()
    {
        QTest::addColumn<QDateTime>("date");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("compact");
        const QTimeZone utc = QTimeZone::utc();
        QTest::newRow("after midnight")
            << QDateTime(QDate(2024, 3, 5), QTime(0, 7, 9), utc) << QStringLiteral("Mar 05, 2024 12:07:09 AM")
            << QStringLiteral("20240305T0007");
        QTest::newRow("noon") << QDateTime(QDate(2019, 12, 31), QTime(12, 0, 0), utc)
                              << QStringLiteral("Dec 31, 2019 12:00:00 PM")
                              << QStringLiteral("20191231T1200");
        QTest::newRow("afternoon") << QDateTime(QDate(2001, 7, 14), QTime(13, 45, 30), utc)
                                   << QStringLiteral("Jul 14, 2001 01:45:30 PM")
                                   << QStringLiteral("20010714T1345");
        // Another zone is shown in local time (UTC here).
        QTest::newRow("other zone") << QDateTime(QDate(2022, 1, 1), QTime(1, 30, 0), QTimeZone(2 * 3600))
                                    << QStringLiteral("Dec 31, 2021 11:30:00 PM")
                                    << QStringLiteral("20211231T2330");
        QTest::newRow("no date") << QDateTime() << QString() << QString();
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
    }

    void recordDates()
    {
        QVERIFY(!CommonFuncs::dateFromSeconds(0).isValid());
        QCOMPARE(CommonFuncs::dateFromSeconds(1.5).toMSecsSinceEpoch(), qint64(1500));
        QCOMPARE(CommonFuncs::getDateTimeStringFromDate(CommonFuncs::dateFromSeconds(1700000000.25)),
                 QStringLiteral("Nov 14, 2023 10:13:20 PM"));
    }

    void email_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("valid");
        QTest::newRow("plain") << QStringLiteral("user@example.com") << true;
        QTest::newRow("dots, plus and subdomain")
            << QStringLiteral("first.last+tag@mail.example.org") << true;
        QTest::newRow("special characters") << QStringLiteral("a!#$%&'*/=?^_`{|}~-z@example.com") << true;
        QTest::newRow("quoted local part") << QStringLiteral("\"john..doe\"@example.com") << true;
        QTest::newRow("quoted blank is outside the pattern")
            << QStringLiteral("\"john doe\"@example.com") << false;
        QTest::newRow("address literal") << QStringLiteral("user@[192.168.0.1]") << true;
        QTest::newRow("address literal out of range") << QStringLiteral("user@[256.1.1.1]") << false;
        QTest::newRow("upper case local part") << QStringLiteral("User@example.com") << false;
        QTest::newRow("upper case domain") << QStringLiteral("user@Example.com") << false;
        QTest::newRow("no dot in domain") << QStringLiteral("user@localhost") << false;
        QTest::newRow("two at signs") << QStringLiteral("user@@example.com") << false;
        QTest::newRow("leading dot") << QStringLiteral(".user@example.com") << false;
        QTest::newRow("double dot") << QStringLiteral("us..er@example.com") << false;
        QTest::newRow("hyphen ends a label") << QStringLiteral("user@example-.com") << false;
        QTest::newRow("trailing line end") << QStringLiteral("user@example.com\n") << false;
        QTest::newRow("surrounding blank") << QStringLiteral(" user@example.com") << false;
        QTest::newRow("non-ASCII") << QStringLiteral("jos\u00e9@example.com") << false;
        QTest::newRow("empty") << QString() << false;
    }
    void email()
    {
        QFETCH(QString, address);
        QFETCH(bool, valid);
        QCOMPARE(CommonFuncs::validateEmail(address), valid);
    }

    void photoLibraries_data()
    {
        QTest::addColumn<QString>("albumDataName"); // empty: no AlbumData.xml
        QTest::addColumn<QString>("appVersion");
        QTest::addColumn<bool>("binary");
        QTest::addColumn<QString>("mastersName"); // empty: no folder; "file:" prefix: a plain file
        QTest::addColumn<QString>("version");
        QTest::addColumn<bool>("hasMasters");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<bool>("nineAndAbove");
        const QString album = QStringLiteral("AlbumData.xml");
        QTest::newRow("iPhoto 9 with Masters")
            << album << QStringLiteral("9.6.1") << false << QStringLiteral("Masters") << QStringLiteral("9")
            << true << true << true;
        QTest::newRow("binary list") << album << QStringLiteral("9.4") << true << QStringLiteral("Masters")
                                     << QStringLiteral("9") << true << true << true;
        QTest::newRow("masters in other case")
            << QStringLiteral("albumdata.XML") << QStringLiteral("9.0") << false << QStringLiteral("MASTERS")
            << QStringLiteral("9") << true << true << true;
        QTest::newRow("version without dot")
            << album << QStringLiteral("9") << false << QStringLiteral("masters") << QStringLiteral("9")
            << true << true << true;
        QTest::newRow("9 without masters") << album << QStringLiteral("9.6") << false << QString()
                                           << QStringLiteral("9") << false << false << true;
        QTest::newRow("masters is a file")
            << album << QStringLiteral("9.6") << false << QStringLiteral("file:Masters")
            << QStringLiteral("9") << false << false << true;
        QTest::newRow("iPhoto 8") << album << QStringLiteral("8.1.2") << false << QStringLiteral("Masters")
                                  << QStringLiteral("8") << false << false << false;
        QTest::newRow("iPhoto 7") << album << QStringLiteral("7.1.5") << false << QStringLiteral("Masters")
                                  << QStringLiteral("7") << false << false << false;
        QTest::newRow("later than 9") << album << QStringLiteral("10.0") << false << QStringLiteral("Masters")
                                      << QStringLiteral("10") << false << false << true;
        QTest::newRow("no AlbumData.xml") << QString() << QString() << false << QStringLiteral("Masters")
                                          << QString() << false << false << false;
        QTest::newRow("not a property list")
            << QStringLiteral("garbage:AlbumData.xml") << QString() << false << QStringLiteral("Masters")
            << QString() << false << false << false;
    }
    void photoLibraries()
    {
        QFETCH(QString, albumDataName);
        QFETCH(QString, appVersion);
        QFETCH(bool, binary);
        QFETCH(QString, mastersName);
        QFETCH(QString, version);
        QFETCH(bool, hasMasters);
        QFETCH(bool, accepted);
        QFETCH(bool, nineAndAbove);

        const QString lib =
            m_dir.filePath(QString::fromLatin1(QTest::currentDataTag()) + QStringLiteral(".photolibrary"));
        QVERIFY(QDir().mkpath(lib));
        if (albumDataName.startsWith(QLatin1String("garbage:"))) {
            QFile f(lib + QLatin1Char('/') + albumDataName.mid(8));
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("<?xml version=\"1.0\"?><plist><dict><key>Application Version</key>");
        } else if (!albumDataName.isEmpty()) {
            QVERIFY(writeAlbumData(lib + QLatin1Char('/') + albumDataName, appVersion, binary));
        }
        if (mastersName.startsWith(QLatin1String("file:"))) {
            QFile f(lib + QLatin1Char('/') + mastersName.mid(5));
            QVERIFY(f.open(QIODevice::WriteOnly));
        } else if (!mastersName.isEmpty()) {
            QVERIFY(QDir().mkpath(lib + QLatin1Char('/') + mastersName + QStringLiteral("/2012/IMG_1.JPG")));
        }

        const QByteArray path = QFile::encodeName(lib);
        QCOMPARE(CommonFuncs::getPhotoLibraryVersion(path), version);
        QCOMPARE(CommonFuncs::photoLibrary_MastersOrOriginal(path),
                 hasMasters ? QStringLiteral("masters") : QString());
        QCOMPARE(CommonFuncs::isPkgPhotoLib(path), accepted);
        QCOMPARE(CommonFuncs::isiPhotoLibrary9AndAbove(path), nineAndAbove);
        QVERIFY(QDir(lib).exists()); // nothing renamed or lower-cased on the way
        if (!mastersName.isEmpty() && !mastersName.startsWith(QLatin1String("file:")))
            QVERIFY(QDir(lib + QLatin1Char('/') + mastersName).exists());
    }

    void majorVersion()
    {
        QCOMPARE(CommonFuncs::getPhotoLibraryMajorVersion(QStringLiteral("9.6.1")), QStringLiteral("9"));
        QCOMPARE(CommonFuncs::getPhotoLibraryMajorVersion(QStringLiteral("11")), QStringLiteral("11"));
        QCOMPARE(CommonFuncs::getPhotoLibraryMajorVersion(QString()), QString());
    }

    void photosDatabasePath_data()
    {
        QTest::addColumn<QStringList>("present");
        QTest::addColumn<QString>("chosen");
        QTest::newRow("all four") << QStringList{QStringLiteral("database/apdb/Library.apdb"),
                                                 QStringLiteral("database/Library.apdb"),
                                                 QStringLiteral("database/apdb/photos.db"),
                                                 QStringLiteral("database/photos.db")}
                                  << QStringLiteral("database/apdb/Library.apdb");
        QTest::newRow("second before third")
            << QStringList{QStringLiteral("database/Library.apdb"), QStringLiteral("database/apdb/photos.db")}
            << QStringLiteral("database/Library.apdb");
        QTest::newRow("third") << QStringList{QStringLiteral("database/apdb/photos.db")}
                               << QStringLiteral("database/apdb/photos.db");
        QTest::newRow("other letter case, real names kept")
            << QStringList{QStringLiteral("Database/APDB/library.APDB")}
            << QStringLiteral("Database/APDB/library.APDB");
        QTest::newRow("none: the last, unchecked") << QStringList() << QStringLiteral("database/photos.db");
    }
    void photosDatabasePath()
    {
        QFETCH(QStringList, present);
        QFETCH(QString, chosen);
        const QString lib =
            m_dir.filePath(QStringLiteral("db-") + QString::fromLatin1(QTest::currentDataTag()) +
                           QStringLiteral(".photoslibrary"));
        QVERIFY(QDir().mkpath(lib));
        for (const QString& relative : present) {
            QVERIFY(QDir(lib).mkpath(QFileInfo(relative).path()));
            QFile f(lib + QLatin1Char('/') + relative);
            QVERIFY(f.open(QIODevice::WriteOnly));
        }
        QCOMPARE(CommonFuncs::getDataBasePathForPhotosLib(QFile::encodeName(lib)),
                 QFile::encodeName(lib + QLatin1Char('/') + chosen));
    }

    void trim_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("trimmed");
        QTest::newRow("blanks and line ends") << QStringLiteral(" \t a b \r\n") << QStringLiteral("a b");
        QTest::newRow("no-break and em spaces") << QStringLiteral("\u00a0x y\u2003") << QStringLiteral("x y");
        QTest::newRow("only blanks") << QStringLiteral(" \n ") << QString();
        QTest::newRow("inner kept") << QStringLiteral("a\n\nb") << QStringLiteral("a\n\nb");
    }
    void trim()
    {
        QFETCH(QString, text);
        QFETCH(QString, trimmed);
        QCOMPARE(StringExtensions::trim(text), trimmed);
    }

    void urlEncoding_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("encoded");
        QTest::newRow("blank") << QStringLiteral("hello world") << QStringLiteral("hello%20world");
        QTest::newRow("reserved characters")
            << QStringLiteral("!*'();:@&=+$,/?%#[]")
            << QStringLiteral("%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D");
        QTest::newRow("unreserved kept") << QStringLiteral("Az09-._~") << QStringLiteral("Az09-._~");
        QTest::newRow("UTF-8") << QStringLiteral("caf\u00e9 \u65e5")
                               << QStringLiteral("caf%C3%A9%20%E6%97%A5");
        QTest::newRow("outside the BMP") << QStringLiteral("\U0001F600") << QStringLiteral("%F0%9F%98%80");
        QTest::newRow("other ASCII") << QStringLiteral("<\"\\^`{|}>")
                                     << QStringLiteral("%3C%22%5C%5E%60%7B%7C%7D%3E");
        QTest::newRow("empty") << QString() << QString();
    }
    void urlEncoding()
    {
        QFETCH(QString, text);
        QFETCH(QString, encoded);
        QCOMPARE(StringExtensions::URLEncodedString(text), encoded);
        QCOMPARE(StringExtensions::URLDecodedString(encoded), text);
    }

    void urlDecodingEdges_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("decoded");
        QTest::addColumn<bool>("isNull");
        QTest::newRow("lower-case hex")
            << QStringLiteral("caf%c3%a9") << QStringLiteral("caf\u00e9") << false;
        QTest::newRow("plus stays") << QStringLiteral("a+b") << QStringLiteral("a+b") << false;
        QTest::newRow("text without escapes")
            << QStringLiteral("d\u00e9j\u00e0 vu") << QStringLiteral("d\u00e9j\u00e0 vu") << false;
        QTest::newRow("escape next to raw non-ASCII")
            << QStringLiteral("\u00e9%20") << QStringLiteral("\u00e9 ") << false;
        QTest::newRow("malformed escape") << QStringLiteral("100%zz") << QString() << true;
        QTest::newRow("cut escape") << QStringLiteral("abc%4") << QString() << true;
        QTest::newRow("lone percent") << QStringLiteral("%") << QString() << true;
        QTest::newRow("not UTF-8") << QStringLiteral("caf%E9") << QString() << true;
    }
    void urlDecodingEdges()
    {
        QFETCH(QString, text);
        QFETCH(QString, decoded);
        QFETCH(bool, isNull);
        const QString result = StringExtensions::URLDecodedString(text);
        QCOMPARE(result, decoded);
        QCOMPARE(result.isNull(), isNull);
    }
};

QUILLON_TEST_MAIN(TestCommonFuncs)
#include "tst_commonfuncs.moc"
