#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>

namespace {

// Every info line logged since the test case started; the others go to the usual handler.
QStringList g_lines;
QtMessageHandler g_previous = nullptr;

void capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtInfoMsg)
        g_lines.append(message);
    else if (g_previous)
        g_previous(type, context, message);
}

} // namespace

class TestSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_files = 0;

    QString newFile() { return m_dir.filePath(QStringLiteral("run%1.ini").arg(++m_files)); }

    // QSettings keeps parsed files for the rest of the process, so "the next start" is a copy
    // of the file under a name this process has never opened.
    QString asNextStart(const QString& file)
    {
        const QString copy = newFile();
        return QFile::copy(file, copy) ? copy : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        Settings::registereUserDefaults();
        g_previous = qInstallMessageHandler(capture);
    }
    void cleanupTestCase() { qInstallMessageHandler(g_previous); }

    void freshUserGetsDefaults()
    {
        QSettings store(newFile(), QSettings::IniFormat);
        const Settings settings(&store);
        QCOMPARE(settings.minimumFileSizeInBytes(), quint64(10240));
#ifndef Q_OS_MACOS
        const QString home = QDir::homePath();
        QCOMPARE(settings.excludedFolders(), (QStringList{"/proc", "/sys", "/dev", "/run", home + "/.cache",
                                                          home + "/.local/share/Trash", home + "/Dropbox"}));
#endif
        // Registered defaults are never written to the store.
        QVERIFY(store.allKeys().isEmpty());
    }

    // What the user saved wins over the defaults at the next start, an emptied exclusion list
    // included; removing the value brings the defaults back.
    void storedValuesWinAtNextStart_data()
    {
        QTest::addColumn<QByteArray>("text"); // empty: saved through Settings
        QTest::addColumn<int>("option");
        QTest::addColumn<quint64>("bytes");
        QTest::addColumn<QStringList>("excluded");
        QTest::newRow("saved, list emptied") << QByteArray() << 0 << (quint64(3) << 20) << QStringList{};
        // Text that is no number falls back to the default; a single folder is a list of one.
        QTest::newRow("written by hand")
            << QByteArray("[General]\nautoMarkPhotos=true\nautoSelectOption=abc\n"
                          "minimumFileSize=25\nfileSizeUnit=1\nexcludedFolders=/only/one\n")
            << 1 << (quint64(25) << 20) << QStringList{"/only/one"};
    }
    void storedValuesWinAtNextStart()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, option);
        QFETCH(quint64, bytes);
        QFETCH(QStringList, excluded);
        const QString file = newFile();
        if (text.isEmpty()) {
            QSettings store(file, QSettings::IniFormat);
            Settings settings(&store);
            settings.setAutoSelectOption(0);
            settings.setAutoMarkPhotos(true);
            settings.setMinimumFileSize(3);
            settings.setFileSizeUnit(1);
            settings.setExcludedFolders({});
            settings.synchronize();
        } else {
            QVERIFY(TestSupport::writeFile(QFile::encodeName(file), text));
        }
        QSettings store(asNextStart(file), QSettings::IniFormat);
        Settings settings(&store);
        QVERIFY(settings.autoMarkPhotos());
        QCOMPARE(settings.value(Settings::kAutoMarkPhotos).metaType(), QMetaType::fromType<bool>());
        QCOMPARE(settings.autoSelectOption(), option);
        QCOMPARE(settings.minimumFileSizeInBytes(), bytes);
        QCOMPARE(settings.excludedFolders(), excluded);
        settings.remove(Settings::kExcludedFolders);
        QCOMPARE(settings.excludedFolders(), Settings::getExcludedFolders());
    }

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
    }

    void minimumSizeInBytes_data()
    {
        QTest::addColumn<qint64>("size");
        QTest::addColumn<int>("unit");
        QTest::addColumn<quint64>("bytes");
        QTest::newRow("unknown unit counts as KB") << qint64(5) << 2 << quint64(5120);
        QTest::newRow("negative size") << qint64(-3) << 0 << quint64(0);
        QTest::newRow("large MB, no 32-bit overflow") << qint64(4096) << 1 << (quint64(4096) << 20);
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
        QTest::newRow("10.13") << QStringLiteral("10.13") << 13;
        QTest::newRow("10.130 is not 10.13") << QStringLiteral("10.130") << 10;
    }
    void osVersionFlags()
    {
        QFETCH(QString, version);
        QFETCH(int, flag);
        // Start from a different state: the flags are cleared, not accumulated.
        AppGlobals::setOSVersionFlags(QStringLiteral("10.7"));
        g_lines.clear();
        AppGlobals::setOSVersionFlags(version);
        const QList<bool> flags{AppGlobals::isOSX_7_AndAbove, AppGlobals::isOSX_8_AndAbove,
                                AppGlobals::isOSX_9_AndAbove, AppGlobals::isOSX_10_AndAbove,
                                AppGlobals::isOSX_13_AndAbove};
        QCOMPARE(flags, (QList<bool>{flag == 7, flag == 8, flag == 9, flag == 10, flag == 13}));
        QStringList expected{QStringLiteral("OS Version: ") + version};
        if (flag == 13)
            expected << QStringLiteral("OSX 13 detected");
        QCOMPARE(g_lines, expected);
    }

    // Start-up runs once: it logs, registers the defaults and sets the flag for this system.
    void initializeRunsOnce()
    {
        const QString version = AppGlobals::currentOSVersionText();
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d+\\.\\d+$")).match(version).hasMatch(),
                 qPrintable(version));
        g_lines.clear();
        AppGlobals::initialize();
        QCOMPARE(g_lines,
                 QStringList({QStringLiteral("initialize"), QStringLiteral("OS Version: ") + version}));
#ifndef Q_OS_MACOS
        QVERIFY(AppGlobals::isOSX_10_AndAbove);
#endif
        g_lines.clear();
        AppGlobals::initialize();
        QVERIFY(g_lines.isEmpty());
    }
};

QUILLON_TEST_MAIN(TestSettings)
#include "tst_settings.moc"
