#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QRegularExpression>

class TestSettings : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    int m_files = 0;

    // QSettings caches parsed files per process, so every store gets a name never opened before.
    QString newFile() { return m_dir.filePath(QStringLiteral("run%1.ini").arg(++m_files)); }

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }

    // What the user saved wins at the next start, an emptied exclusion list included; text that
    // is no number falls back to the default; removing the value brings the default back.
    void storedValuesWinAtNextStart()
    {
        const QString saved = newFile(), byHand = newFile();
        {
            QSettings store(saved, QSettings::IniFormat);
            Settings settings(&store);
            settings.setAutoSelectOption(0);
            settings.setMinimumFileSize(3);
            settings.setFileSizeUnit(1);
            settings.setExcludedFolders({});
        }
        QVERIFY(TestSupport::writeFile(QFile::encodeName(byHand),
                                       "[General]\nautoSelectOption=abc\nminimumFileSize=3\n"
                                       "fileSizeUnit=1\nexcludedFolders=/one\n"));
        for (const auto& [file, option, excluded] :
             {std::tuple{saved, 0, QStringList{}}, std::tuple{byHand, 1, QStringList{"/one"}}}) {
            const QString nextStart = newFile();
            QVERIFY(QFile::copy(file, nextStart));
            QSettings store(nextStart, QSettings::IniFormat);
            Settings settings(&store);
            QCOMPARE(settings.autoSelectOption(), option);
            QCOMPARE(settings.minimumFileSizeInBytes(), quint64(3) << 20);
            QCOMPARE(settings.excludedFolders(), excluded);
            settings.remove(Settings::kExcludedFolders);
            QCOMPARE(settings.excludedFolders(), Settings::getExcludedFolders());
        }
    }

    // The standard store lives in the (test's) XDG config folder and reaches the disk.
    void standardStoreLocation()
    {
        Settings& settings = Settings::standard();
        settings.setAutoSelectOption(2);
        settings.synchronize();
        const QString expected = QFile::decodeName(TestSupport::testHome()) + "/.config/Quillon/Quillon.conf";
        QCOMPARE(settings.store()->fileName(), expected);
        QVERIFY(QFile::exists(expected));
    }

    // 10 KB by default, without writing the default; an unknown unit counts as KB, a negative
    // size as 0, and large sizes do not overflow 32 bits.
    void minimumSizeInBytes()
    {
        QSettings store(newFile(), QSettings::IniFormat);
        Settings settings(&store);
        QCOMPARE(settings.minimumFileSizeInBytes(), quint64(10240));
        QVERIFY(store.allKeys().isEmpty());
        for (const auto& [size, unit, bytes] :
             {std::tuple{5, 2, quint64(5120)}, std::tuple{-3, 0, quint64(0)},
              std::tuple{4096, 1, quint64(1) << 32}}) {
            settings.setMinimumFileSize(size);
            settings.setFileSizeUnit(unit);
            QCOMPARE(settings.minimumFileSizeInBytes(), bytes);
        }
    }

    // Start-up logs this system's version and sets its flag, once only; exactly one flag is set
    // at a time ("10.130" is no 10.13).
    void osVersionFlags()
    {
        const auto flags = [] {
            return QList<bool>{AppGlobals::isOSX_7_AndAbove, AppGlobals::isOSX_8_AndAbove,
                               AppGlobals::isOSX_9_AndAbove, AppGlobals::isOSX_10_AndAbove,
                               AppGlobals::isOSX_13_AndAbove};
        };
        const QString version = AppGlobals::currentOSVersionText();
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d+\\.\\d+$")).match(version).hasMatch(),
                 qPrintable(version));
        QTest::ignoreMessage(QtInfoMsg, "initialize");
        QTest::ignoreMessage(QtInfoMsg, qPrintable(QStringLiteral("OS Version: ") + version));
        AppGlobals::initialize();
        QCOMPARE(flags(), (QList<bool>{false, false, false, true, false}));
        QTest::ignoreMessage(QtInfoMsg, "OS Version: 10.13");
        QTest::ignoreMessage(QtInfoMsg, "OSX 13 detected");
        AppGlobals::setOSVersionFlags(QStringLiteral("10.13"));
        AppGlobals::initialize();
        QCOMPARE(flags(), (QList<bool>{false, false, false, false, true}));
        QTest::ignoreMessage(QtInfoMsg, "OS Version: 10.130");
        AppGlobals::setOSVersionFlags(QStringLiteral("10.130"));
        QCOMPARE(flags(), (QList<bool>{false, false, false, true, false}));
    }
};

QUILLON_TEST_MAIN(TestSettings)
#include "tst_settings.moc"
