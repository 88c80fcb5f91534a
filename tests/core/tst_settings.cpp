#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

namespace {

QStringList g_lines;
QtMessageHandler g_previous = nullptr;

void captureHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtInfoMsg)
        g_lines.append(message);
    else if (g_previous)
        g_previous(type, context, message);
}

struct LogCapture
{
    LogCapture()
    {
        g_lines.clear();
        g_previous = qInstallMessageHandler(captureHandler);
    }
    ~LogCapture() { qInstallMessageHandler(g_previous); }
    QStringList lines() const { return g_lines; }
};

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_files = 0;

    // A settings file of its own for each case.
    QString newFile() { return m_dir.filePath(QStringLiteral("run%1.ini").arg(++m_files)); }

    // QSettings keeps parsed files for the rest of the process, so "the next start" is a copy
    // of the file under a name this process has never opened.
    QString asNextStart(const QString& file)
    {
        const QString copy = newFile();
        return QFile::copy(file, copy) ? copy : QString();
    }

    static QStringList linuxExclusions()
    {
        const QString home = QDir::homePath();
        return {QStringLiteral("/proc"),          QStringLiteral("/sys"),
                QStringLiteral("/dev"),           QStringLiteral("/run"),
                home + QStringLiteral("/.cache"), home + QStringLiteral("/.local/share/Trash"),
                home + QStringLiteral("/Dropbox")};
    }

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }

    void freshUserGetsDefaults()
    {
        QSettings store(newFile(), QSettings::IniFormat);
        const Settings settings(&store);
        QVERIFY(!settings.doNotShowConfirmationDialogOnTrash());
        QVERIFY(!settings.autoMarkPhotos());
        QVERIFY(!settings.doNotShowAutoMarkDialog());
        QCOMPARE(settings.autoSelectOption(), 1);
        QCOMPARE(settings.minimumFileSize(), 10);
        QCOMPARE(settings.fileSizeUnit(), 0);
        QCOMPARE(settings.minimumFileSizeInBytes(), quint64(10240));
        QCOMPARE(settings.appVersion(), QStringLiteral("0.0"));
#ifndef Q_OS_MACOS
        QCOMPARE(settings.excludedFolders(), linuxExclusions());
        QCOMPARE(Settings::getExcludedFolders(), linuxExclusions());
#endif
        // Registered defaults are never written to the store.
        QVERIFY(store.allKeys().isEmpty());
        QVERIFY(!settings.contains(Settings::kMinimumFileSize));
        // Keys without a registered default read as nothing.
        QVERIFY(!settings.value(Settings::kIsShowExcludePrompt).isValid());
    }

    // What the user saved wins over the defaults, at the next start too.
    void storedValuesWinAfterRestart()
    {
        const QString file = newFile();
        {
            QSettings store(file, QSettings::IniFormat);
            Settings settings(&store);
            settings.setAutoSelectOption(0);
            settings.setAutoMarkPhotos(true);
            settings.setMinimumFileSize(3);
            settings.setFileSizeUnit(1);
            settings.setAppVersion(QStringLiteral("2.1"));
            settings.setExcludedFolders({QStringLiteral("/data/one folder"), QStringLiteral("/data/a,b")});
            settings.synchronize();
        }
        QSettings store(asNextStart(file), QSettings::IniFormat);
        const Settings settings(&store);
        QCOMPARE(settings.autoSelectOption(), 0);
        QVERIFY(settings.autoMarkPhotos());
        QVERIFY(!settings.doNotShowAutoMarkDialog());
        QCOMPARE(settings.minimumFileSizeInBytes(), quint64(3) << 20);
        QCOMPARE(settings.appVersion(), QStringLiteral("2.1"));
        QCOMPARE(settings.excludedFolders(),
                 QStringList({QStringLiteral("/data/one folder"), QStringLiteral("/data/a,b")}));
        QCOMPARE(settings.value(Settings::kAutoMarkPhotos).metaType(), QMetaType::fromType<bool>());
        QCOMPARE(settings.value(Settings::kAutoSelectOption).metaType(), QMetaType::fromType<int>());
    }

    // A user who emptied the exclusion list keeps it empty; removing the value brings the
    // defaults back.
    void emptiedExclusionsStayEmpty_data()
    {
        QTest::addColumn<bool>("typedSetter");
        QTest::newRow("setExcludedFolders") << true;
        QTest::newRow("setValue with a list") << false;
    }
    void emptiedExclusionsStayEmpty()
    {
        QFETCH(bool, typedSetter);
        const QString file = newFile();
        {
            QSettings store(file, QSettings::IniFormat);
            Settings settings(&store);
            if (typedSetter)
                settings.setExcludedFolders({});
            else
                settings.setValue(Settings::kExcludedFolders, QStringList());
            settings.synchronize();
        }
        const QString next = asNextStart(file);
        {
            QSettings store(next, QSettings::IniFormat);
            const Settings settings(&store);
            QVERIFY(settings.contains(Settings::kExcludedFolders));
            QCOMPARE(settings.excludedFolders(), QStringList());
            const QVariant raw = settings.value(Settings::kExcludedFolders);
            QCOMPARE(raw.metaType(), QMetaType::fromType<QStringList>());
            QVERIFY(raw.toStringList().isEmpty());
        }
        QSettings store(asNextStart(next), QSettings::IniFormat);
        Settings settings(&store);
        settings.remove(Settings::kExcludedFolders);
        QCOMPARE(settings.excludedFolders(), Settings::getExcludedFolders());
    }

    // A file written by hand or by another version: text values come back typed, a single
    // folder is a list of one, and text that is no number falls back to the default.
    void valuesFromTextFile()
    {
        const QString file = newFile();
        {
            QFile f(file);
            QVERIFY(f.open(QIODevice::WriteOnly));
            f.write("[General]\n"
                    "autoMarkPhotos=true\n"
                    "doNotShowAutoMarkDialog=false\n"
                    "autoSelectOption=abc\n"
                    "minimumFileSize=25\n"
                    "fileSizeUnit=1\n"
                    "excludedFolders=/only/one\n");
        }
        QSettings store(file, QSettings::IniFormat);
        const Settings settings(&store);
        QVERIFY(settings.autoMarkPhotos());
        QVERIFY(!settings.doNotShowAutoMarkDialog());
        QCOMPARE(settings.autoSelectOption(), 1);
        QCOMPARE(settings.minimumFileSizeInBytes(), quint64(25) << 20);
        QCOMPARE(settings.excludedFolders(), QStringList{QStringLiteral("/only/one")});
        QCOMPARE(settings.value(Settings::kExcludedFolders).toStringList(),
                 QStringList{QStringLiteral("/only/one")});
    }

    // The program's own store lives in the (test's) configuration folder.
    void standardStoreLocation()
    {
        Settings& settings = Settings::standard();
        settings.setAutoSelectOption(2);
        settings.synchronize();
        const QString expected =
            QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME")) + QStringLiteral("/Quillon/Quillon.conf");
        QVERIFY(expected.startsWith(QString::fromLocal8Bit(TestSupport::testHome())));
        QCOMPARE(settings.store()->fileName(), expected);
        QVERIFY(QFile::exists(expected));
        QCOMPARE(Settings::standard().autoSelectOption(), 2);
    }

    void minimumSizeInBytes_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<int>("unit");
        QTest::addColumn<quint64>("bytes");
        QTest::newRow("10 KB") << qint64(10) << 0 << quint64(10240);
        QTest::newRow("10 MB") << qint64(10) << 1 << quint64(10485760);
        QTest::newRow("unknown unit counts as KB") << qint64(5) << 2 << quint64(5120);
        QTest::newRow("negative unit counts as KB") << qint64(5) << -1 << quint64(5120);
        QTest::newRow("zero") << qint64(0) << 1 << quint64(0);
        QTest::newRow("negative size") << qint64(-3) << 0 << quint64(0);
        QTest::newRow("large MB") << qint64(4096) << 1 << (quint64(4096) << 20);
    }
    void minimumSizeInBytes()
    {
        QFETCH(qint64, size);
        QFETCH(int, unit);
        QFETCH(quint64, bytes);
        QSettings store(newFile(), QSettings::IniFormat);
        Settings settings(&store);
        settings.setMinimumFileSize(size);
        settings.setFileSizeUnit(unit);
        QCOMPARE(settings.minimumFileSizeInBytes(), bytes);
    }

    void osVersionFlags_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<int>("flag"); // the only flag set: 7, 8, 9, 10 or 13
        QTest::newRow("10.7") << QStringLiteral("10.7") << 7;
        QTest::newRow("10.8") << QStringLiteral("10.8") << 8;
        QTest::newRow("10.9") << QStringLiteral("10.9") << 9;
        QTest::newRow("10.10") << QStringLiteral("10.10") << 10;
        QTest::newRow("10.13") << QStringLiteral("10.13") << 13;
        QTest::newRow("10.15") << QStringLiteral("10.15") << 10;
        QTest::newRow("10.130 is not 10.13") << QStringLiteral("10.130") << 10;
        QTest::newRow("14.2") << QStringLiteral("14.2") << 10;
        QTest::newRow("6.1") << QStringLiteral("6.1") << 10;
    }
    void osVersionFlags()
    {
        QFETCH(QString, version);
        QFETCH(int, flag);
        // Start from a different state: the flags are cleared, not accumulated.
        AppGlobals::setOSVersionFlags(flag == 7 ? QStringLiteral("10.8") : QStringLiteral("10.7"));
        LogCapture log;
        AppGlobals::setOSVersionFlags(version);
        QCOMPARE(AppGlobals::isOSX_7_AndAbove, flag == 7);
        QCOMPARE(AppGlobals::isOSX_8_AndAbove, flag == 8);
        QCOMPARE(AppGlobals::isOSX_9_AndAbove, flag == 9);
        QCOMPARE(AppGlobals::isOSX_10_AndAbove, flag == 10);
        QCOMPARE(AppGlobals::isOSX_13_AndAbove, flag == 13);
        QStringList expected{QStringLiteral("OS Version: ") + version};
        if (flag == 13)
            expected << QStringLiteral("OSX 13 detected");
        QCOMPARE(log.lines(), expected);
        QCOMPARE(AppGlobals::isPhotosAppInstalled, QFile::exists(QStringLiteral("/Applications/Photos.app")));
    }

    // Start-up runs once: it logs, registers the defaults and sets one flag for this system.
    void initializeRunsOnce()
    {
        const QString version = AppGlobals::currentOSVersionText();
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d+\\.\\d+$")).match(version).hasMatch(),
                 qPrintable(version));
        {
            LogCapture log;
            AppGlobals::initialize();
            QCOMPARE(log.lines(),
                     QStringList({QStringLiteral("initialize"), QStringLiteral("OS Version: ") + version}));
        }
        const int set = int(AppGlobals::isOSX_7_AndAbove) + int(AppGlobals::isOSX_8_AndAbove) +
                        int(AppGlobals::isOSX_9_AndAbove) + int(AppGlobals::isOSX_10_AndAbove) +
                        int(AppGlobals::isOSX_13_AndAbove);
        QCOMPARE(set, 1);
#ifndef Q_OS_MACOS
        QVERIFY(AppGlobals::isOSX_10_AndAbove);
#endif
        QCOMPARE(Settings::registeredDefaults().value(Settings::kMinimumFileSize).toInt(), 10);
        LogCapture again;
        AppGlobals::initialize();
        QVERIFY(again.lines().isEmpty());
    }
};

QUILLON_TEST_MAIN(TestSettings)
#include "tst_settings.moc"
