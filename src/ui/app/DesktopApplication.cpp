#include "app/DesktopApplication.h"

#include "scan/ScanProgressView.h"

#include "app/AppDelegate.h"
#include "app/MainWindow.h"
#include "preferences/PreferencesWindowFactory.h"
#include "preferences/TamPreferencesWindowController.h"
#include "review/DetailResultViewController.h"
#include "review/ResultsActions.h"
#include "scan/ResultViewController.h"
#include "scan/ScanList.h"
#include "util/WidgetAlertPresenter.h"

#include <QMenu>
#include <QMenuBar>

namespace {
constexpr int kMainWindowWidth = 990;
constexpr int kMainWindowHeight = 680;
} // namespace

DesktopApplication::DesktopApplication(Settings& settings, std::shared_ptr<AlertPresenter> alerts,
                                       QObject* parent)
    : QObject(parent), m_settings(settings), m_delegate(std::make_unique<AppDelegate>())
{
    AppDelegate::initialize();
    m_delegate->awakeFromNib();
    // An injected presenter answers every alert, the preferences window's too; otherwise each
    // window shows its own message boxes.
    const std::shared_ptr<AlertPresenter> prefsAlerts = alerts;
    m_alerts = alerts ? std::move(alerts) : std::make_shared<WidgetAlertPresenter>(m_delegate->mainWindow());

    m_resultView = new ResultViewController(m_settings, m_alerts.get());
    m_delegate->setContentView(m_resultView);
    m_delegate->addResultViewControllerOnWindow();

    connect(m_resultView, &ResultViewController::scanningChanged, m_delegate.get(),
            &AppDelegate::updateMenuState);
    // The header says where the user is: choosing, scanning, done, or looking at groups.
    connect(m_resultView, &ResultViewController::scanningChanged, this, [this](bool) { updateStatusText(); });
    connect(m_resultView, &ResultViewController::screenChanged, this, [this](auto) { updateStatusText(); });
    // The results' commands sit in the menu bar before Help; their shortcuts act only while
    // the results are on screen.
    QMenuBar* bar = m_delegate->mainWindow()->menuBar();
    QMenu* resultsMenu = m_resultView->detailView()->actions()->menu();
    bar->insertMenu(m_delegate->helpMenu()->menuAction(), resultsMenu);
    resultsMenu->setEnabled(false);
    connect(m_resultView, &ResultViewController::screenChanged, resultsMenu,
            [resultsMenu](ResultViewController::Screen screen) {
                resultsMenu->setEnabled(screen == ResultViewController::Screen::Results);
            });
    connect(m_resultView, &ResultViewController::restoreWindowSizeRequested, this, [this] {
        MainWindow* window = m_delegate->mainWindow();
        if (!window->isMaximized() && !window->isFullScreen())
            window->resize(kMainWindowWidth, kMainWindowHeight);
    });
    connect(m_resultView, &ResultViewController::goToPreferencesRequested, m_delegate.get(),
            &AppDelegate::openPrefernces);

    // The exclusions pane refuses folders that would cover an entry of the scan list, so it
    // asks the list as it stands when the user adds a folder.
    ResultViewController* view = m_resultView;
    m_delegate->setPreferencesWindowFactory([this, view, prefsAlerts]() -> QWidget* {
        auto scanListPaths = [view]() {
            QList<QByteArray> paths;
            for (const FilePathNode& node : view->scanList()->arrPathNodes())
                paths.append(node.filePath);
            return paths;
        };
        return createPreferencesWindow(m_settings, scanListPaths, prefsAlerts);
    });
}

DesktopApplication::~DesktopApplication() = default;

void DesktopApplication::updateStatusText()
{
    switch (m_resultView->currentScreen()) {
    case ResultViewController::Screen::ScanList:
        m_delegate->setStatusText(QStringLiteral("Select folder to scan"));
        break;
    case ResultViewController::Screen::Progress:
        m_delegate->setStatusText(m_resultView->isScanning() ? ScanProgressView::kScanningText
                                                             : ScanProgressView::kCompletedText);
        break;
    case ResultViewController::Screen::Results:
        m_delegate->setStatusText(QString());
        break;
    }
}

void DesktopApplication::show()
{
    m_delegate->mainWindow()->show();
}

void DesktopApplication::openPaths(const QList<QByteArray>& paths, bool scan)
{
    if (!paths.isEmpty())
        m_resultView->scanList()->handleFileDragDropNotification(paths);
    if (scan)
        m_resultView->startScanning();
}
