#include <QApplication>

#include "app/AppDelegate.h"
#include "app/AppGlobals.h"
#include "app/DesktopApplication.h"
#include "app/MainWindow.h"
#include "app/Settings.h"
#include "preferences/TamExcludeViewController.h"
#include "preferences/TamPreferencesWindowController.h"
#include "review/DetailResultViewController.h"
#include "review/ResultsActions.h"
#include "review/ReviewModel.h"
#include "scan/ResultViewController.h"
#include "scan/ScanEngine.h"
#include "scan/ScanList.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <QSignalSpy>

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
        QMenu* results = m_app->resultView()->detailView()->actions()->menu();
        QVERIFY(!results->isEnabled());

        // As "quillon --scan PATH" does.
        QAction* prefs = m_app->delegate()->preferencesAction();
        m_app->openPaths({m_tree->path("copies")}, true);
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
        QVERIFY(results->isEnabled());
        saveScreen(m_app->delegate()->mainWindow(), QStringLiteral("app-results"));

        // Delete moves the marked copies through the proof into this test's own Trash; one stays.
        m_tree->settings().setValue(Settings::kDoNotShowConfirmationDialogOnTrash, true);
        m_app->resultView()->detailView()->review()->autoMarkAll(KeepRule::Oldest, false);
        m_app->resultView()->detailView()->actions()->moveToTrash()->trigger();
        const QDir trash(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files"));
        QTRY_COMPARE_WITH_TIMEOUT(trash.entryList(QDir::Files).size(), 2, 10000);
        int left = 0;
        for (int i = 0; i < 3; ++i)
            left += QFile::exists(
                QString::fromUtf8(m_tree->path("copies/copy" + QByteArray::number(i) + ".bin")));
        QCOMPARE(left, 1);
        m_app->delegate()->mainWindow()->resize(1200, 820);
        m_app->resultView()->detailView()->actions()->back()->trigger();
        QCOMPARE(m_app->delegate()->statusText(), QStringLiteral("Select folder to scan"));
        QCOMPARE(m_app->delegate()->mainWindow()->size(), QSize(990, 680));
        QVERIFY(!results->isEnabled());

        // A path given again meets the same check as a drop.
        m_app->openPaths({m_tree->path("copies")}, false);
        QTRY_VERIFY(!m_alerts->alerts().isEmpty());
        QCOMPARE(m_alerts->alerts().constLast().informativeText,
                 QStringLiteral("Item(s) already present in scan list"));
    }

private:
    std::unique_ptr<TestSupport::TestTree> m_tree;
    std::shared_ptr<ScriptedAlertPresenter> m_alerts;
    std::unique_ptr<DesktopApplication> m_app;
};

QUILLON_GUI_TEST_MAIN(TestDesktopApplication)
#include "tst_desktopapplication.moc"
