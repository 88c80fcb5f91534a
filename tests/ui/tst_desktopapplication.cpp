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
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QAction>
#include <QFile>

// The application as main() puts it together: the scan view inside the main window, the
// preferences window behind the menu and the exclusion prompt, the menu following the scan.
class TestDesktopApplication : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        m_alerts = std::make_shared<ScriptedAlertPresenter>();
        m_app = std::make_unique<DesktopApplication>(m_tree->settings(), m_alerts);
        m_app->delegate()->mainWindow()->resize(990, 680);
        m_app->show();
    }
    void cleanup()
    {
        m_app.reset();
        m_tree.reset();
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
        const QByteArray excluded = m_tree->dir("excluded");
        m_tree->settings().setExcludedFolders({QString::fromUtf8(excluded)});
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
        const QByteArray scanned = m_tree->dir("Photos");
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
        const QByteArray big(3 * 1024 * 1024, 'q');
        for (int i = 0; i < 3; ++i)
            m_tree->file("copies/copy" + QByteArray::number(i) + ".bin", big);
        m_tree->settings().setValue(Settings::kMinimumFileSize, 0);
        m_app->resultView()->scanList()->addPathInArrayToScan(m_tree->path("copies"));

        QAction* prefs = m_app->delegate()->preferencesAction();
        QSignalSpy scanning(m_app->resultView(), &ResultViewController::scanningChanged);
        m_app->resultView()->startScanning();
        QVERIFY(AppGlobals::canOpenPreferences.load());
        QVERIFY(!prefs->isEnabled());
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Scan in progress, please wait..."));
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-scanning"));

        QTRY_VERIFY_WITH_TIMEOUT(!m_app->resultView()->isScanning(), 20000);
        QTRY_VERIFY(prefs->isEnabled());
        QCOMPARE(m_app->resultView()->engine()->countDup(), 2u);
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Scan Completed"));
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-finished"));
        m_app->resultView()->showResultDetail();
        QVERIFY(m_app->delegate()->statusText().isEmpty());
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-results"));
        m_app->resultView()->backToAddFolderView();
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Select folder to scan"));
    }

private:
    std::unique_ptr<TestSupport::TestTree> m_tree;
    std::shared_ptr<ScriptedAlertPresenter> m_alerts;
    std::unique_ptr<DesktopApplication> m_app;
};

QUILLON_GUI_TEST_MAIN(TestDesktopApplication)
#include "tst_desktopapplication.moc"
