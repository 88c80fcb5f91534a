#include <QApplication>

#include "app/AppDelegate.h"
#include "app/AppGlobals.h"
#include "app/DesktopApplication.h"
#include "app/MainWindow.h"
#include "app/Settings.h"
#include "preferences/TamExcludeViewController.h"
#include "preferences/TamPreferencesWindowController.h"
#include "scan/ResultViewController.h"
#include "scan/ScanEngine.h"
#include "scan/ScanList.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"

#include <QAction>
#include <QFile>
#include <QTemporaryDir>

namespace {

void writeFile(const QString& path, const QByteArray& content)
{
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(content);
}

} // namespace

// The application as main() puts it together: the scan view inside the main window, the
// preferences window behind the menu and the exclusion prompt, the menu following the scan.
class TestDesktopApplication : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_settingsDir = std::make_unique<QTemporaryDir>();
        m_store = std::make_unique<QSettings>(m_settingsDir->filePath(QStringLiteral("s.ini")),
                                              QSettings::IniFormat);
        m_settings = std::make_unique<Settings>(m_store.get());
        m_alerts = std::make_shared<ScriptedAlertPresenter>();
        m_app = std::make_unique<DesktopApplication>(*m_settings, m_alerts);
        m_app->delegate()->mainWindow()->resize(990, 680);
        m_app->show();
    }
    void cleanup()
    {
        m_app.reset();
        m_settings.reset();
        m_store.reset();
        m_settingsDir.reset();
    }

    void scanViewFillsTheMainWindow()
    {
        QCOMPARE(m_app->delegate()->contentView(), static_cast<QWidget*>(m_app->resultView()));
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Select folder to scan"));
        QVERIFY(m_app->resultView()->isVisible());
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-empty-list"));
    }

    void goToPreferencesOpensThePreferencesWindow()
    {
        QTemporaryDir tree;
        const QByteArray excluded = QFile::encodeName(tree.filePath(QStringLiteral("excluded")));
        QDir().mkpath(QString::fromUtf8(excluded));
        m_settings->setExcludedFolders({QString::fromUtf8(excluded)});
        QVERIFY(!m_app->delegate()->preferencesWindowController());

        m_alerts->enqueueAnswer(1); // "Go To Preferences"
        m_app->resultView()->scanList()->selectPathToScan({excluded});
        QTRY_VERIFY(!m_alerts->alerts().isEmpty());
        QCOMPARE(m_alerts->alerts().constLast().buttons,
                 QStringList({QStringLiteral("OK"), QStringLiteral("Go To Preferences")}));
        QTRY_VERIFY(m_app->delegate()->preferencesWindowController());
        QTRY_VERIFY(m_app->delegate()->preferencesWindowController()->isVisible());
    }

    // The exclusions pane sees the scan list as it is when the user adds a folder, not as it
    // was when the window was made.
    void preferencesRefuseExcludingAScannedFolder()
    {
        QTemporaryDir tree;
        const QByteArray scanned = QFile::encodeName(tree.filePath(QStringLiteral("Photos")));
        QDir().mkpath(QString::fromUtf8(scanned));
        m_app->delegate()->openPrefernces();
        auto* prefs =
            qobject_cast<TamPreferencesWindowController*>(m_app->delegate()->preferencesWindowController());
        QVERIFY(prefs);
        TamExcludeViewController* pane = nullptr;
        for (const auto& p : prefs->viewControllers())
            if (auto* exclude = dynamic_cast<TamExcludeViewController*>(p.get()))
                pane = exclude;
        QVERIFY(pane);

        m_app->resultView()->scanList()->addPathInArrayToScan(scanned);
        const QString upper = QString::fromUtf8(scanned).toUpper();
        QCOMPARE(pane->exclusionList().addFolderToExclude({upper}), 0);
        QCOMPARE(m_alerts->alerts().constLast().messageText, QStringLiteral("Folder cannot be excluded"));

        m_app->resultView()->scanList()->showFileInFinder(4, -1); // remove all
        QCOMPARE(pane->exclusionList().addFolderToExclude({QString::fromUtf8(scanned)}), 1);
    }

    void preferencesItemFollowsTheScan()
    {
        QTemporaryDir tree;
        const QByteArray big(3 * 1024 * 1024, 'q');
        for (int i = 0; i < 3; ++i)
            writeFile(tree.filePath(QStringLiteral("copy%1.bin").arg(i)), big);
        m_settings->setValue(Settings::kMinimumFileSize, 0);
        m_app->resultView()->scanList()->addPathInArrayToScan(QFile::encodeName(tree.path()));

        QAction* prefs = m_app->delegate()->preferencesAction();
        QSignalSpy scanning(m_app->resultView(), &ResultViewController::scanningChanged);
        m_app->resultView()->startScanning();
        QVERIFY(AppGlobals::canOpenPreferences.load());
        QVERIFY(!prefs->isEnabled());
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Scanning"));
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-scanning"));

        QTRY_VERIFY_WITH_TIMEOUT(!m_app->resultView()->isScanning(), 20000);
        QTRY_VERIFY(prefs->isEnabled());
        QCOMPARE(m_app->resultView()->engine()->countDup(), 2u);
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Scan Completed"));
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-finished"));
        m_app->resultView()->showResultDetail();
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Duplicate groups"));
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-results"));
        m_app->resultView()->backToAddFolderView();
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Select folder to scan"));
    }

private:
    std::unique_ptr<QTemporaryDir> m_settingsDir;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<Settings> m_settings;
    std::shared_ptr<ScriptedAlertPresenter> m_alerts;
    std::unique_ptr<DesktopApplication> m_app;
};

QUILLON_GUI_TEST_MAIN(TestDesktopApplication)
#include "tst_desktopapplication.moc"
