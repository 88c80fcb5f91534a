#include "scan/ResultViewController.h"

#include "app/AppGlobals.h"
#include "model/ScanResult.h"
#include "platform/DBusFileViewer.h"
#include "platform/Trash.h"
#include "review/DetailResultViewController.h"
#include "review/PhotosAlbum.h"
#include "review/TrashSheetsController.h"
#include "scan/DragDropNotifier.h"
#include "scan/ScanEngine.h"
#include "scan/ScanList.h"
#include "scan/ScanListView.h"
#include "scan/ScanProgressView.h"
#include "scan/SkippedItemsDialog.h"
#include "util/AlertPresenter.h"
#include "util/WidgetAlertPresenter.h"
#include "widgets/CustomTableView.h"

#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// Forwards to whichever viewer the controller uses at the time of the request.
class ForwardingFileViewer : public FileViewer
{
public:
    explicit ForwardingFileViewer(std::function<FileViewer*()> target) : m_target(std::move(target)) {}
    bool showItems(const QList<QByteArray>& paths) override
    {
        FileViewer* viewer = m_target();
        return viewer && viewer->showItems(paths);
    }
    bool showItemsReportingFailure(const QList<QByteArray>& paths, std::function<void()> onFailure) override
    {
        FileViewer* viewer = m_target();
        if (viewer)
            return viewer->showItemsReportingFailure(paths, std::move(onFailure));
        if (onFailure)
            onFailure();
        return false;
    }

private:
    std::function<FileViewer*()> m_target;
};

// Forwards to the injected Trash, or to the system's, made on first use.
class ForwardingTrash : public TrashInterface
{
public:
    explicit ForwardingTrash(TrashInterface** injected) : m_injected(injected) {}
    TrashOutcome moveToTrash(const QByteArray& path) override { return target().moveToTrash(path); }
    PutBackOutcome putBack(const TrashOutcome& item, const QByteArray& originalPath) override
    {
        return target().putBack(item, originalPath);
    }

private:
    TrashInterface& target()
    {
        if (*m_injected)
            return **m_injected;
        if (!m_system)
            m_system = createSystemTrash();
        return *m_system;
    }
    TrashInterface** m_injected;
    std::unique_ptr<TrashInterface> m_system;
};

} // namespace

ResultViewController::ResultViewController(Settings& settings, AlertPresenter* alerts, QWidget* parent)
    : QWidget(parent), m_settings(settings), m_alerts(alerts),
      m_chooser(std::make_unique<FileDialogPathChooser>())
{
    m_scanList = new ScanList(settings, alerts, this);
    m_engine = new ScanEngine(settings, alerts, this);
    m_ownFileViewer = std::make_unique<ForwardingFileViewer>([this] { return fileViewer(); });
    m_scanList->setFileViewer(m_ownFileViewer.get());

    m_stack = new QStackedWidget(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_stack);

    m_listView = new ScanListView(m_scanList, m_stack);
    m_listView->setAlertPresenter(alerts);
    m_progressView = new ScanProgressView(m_stack);
    if (!alerts) {
        m_ownAlerts = std::make_unique<WidgetAlertPresenter>(this);
        alerts = m_ownAlerts.get();
    }
    m_detailView = new DetailResultViewController(settings, *alerts, m_stack);
    m_detailView->setFileViewer(m_ownFileViewer.get());
    m_ownTrash = std::make_unique<ForwardingTrash>(&m_trash);
    m_album = std::make_unique<PhotosAlbum>(AppGlobals::photosAlbumName);
    m_trashSheets = new TrashSheetsController(*m_detailView->review(), settings, *m_ownTrash, *m_album,
                                              *m_ownFileViewer, *alerts, this);
    m_stack->addWidget(m_listView);
    m_stack->addWidget(m_progressView);
    m_stack->addWidget(m_detailView);

    m_refreshTimer = new QTimer(this);
    m_refreshTimer->setInterval(kRefreshIntervalMs);
    connect(m_refreshTimer, &QTimer::timeout, this,
            &ResultViewController::updateFileScannedCountAndSize_MainThread);

    connect(m_listView, &ScanListView::addRequested, this, &ResultViewController::selectPathToScan);
    connect(m_listView, &ScanListView::scanRequested, this, &ResultViewController::startScanning);
    connect(m_progressView, &ScanProgressView::stopRequested, this, &ResultViewController::abortScanning);
    connect(m_progressView, &ScanProgressView::backRequested, this,
            &ResultViewController::backToAddFolderView);
    connect(m_progressView, &ScanProgressView::showResultsRequested, this,
            &ResultViewController::showResultDetail);
    connect(m_progressView, &ScanProgressView::skippedItemsRequested, this,
            &ResultViewController::showSkippedItems);
    connect(m_detailView, &DetailResultViewController::backRequested, this,
            &ResultViewController::backToAddFolderView);
    connect(m_detailView, &DetailResultViewController::trashRequested, this,
            [this] { m_trashSheets->removeSelectedItems(window()); });
    connect(m_trashSheets, &TrashSheetsController::backToMainView, this,
            &ResultViewController::backToAddFolderView);
    connect(m_engine, &ScanEngine::finished, this, &ResultViewController::onScanFinished);
    connect(m_scanList, &ScanList::goToPreferencesRequested, this,
            &ResultViewController::goToPreferencesRequested);
    connect(DragDropNotifier::instance(), &DragDropNotifier::fileDragDrop, m_scanList,
            &ScanList::handleFileDragDropNotification);

    m_scanList->loadFromBookmarkPaths();
}

ResultViewController::~ResultViewController()
{
    // The engine's destructor stops and joins a running scan; do it before the views go.
    delete m_engine;
    m_engine = nullptr;
}

void ResultViewController::setTrash(TrashInterface* trash)
{
    m_trash = trash;
}

void ResultViewController::setPathChooser(std::unique_ptr<PathChooser> chooser)
{
    m_chooser = std::move(chooser);
}

void ResultViewController::setFileViewer(FileViewer* viewer)
{
    m_fileViewer = viewer;
}

FileViewer* ResultViewController::fileViewer()
{
    if (!m_fileViewer) {
        // Made on first use, so a view that never shows a file never touches the session bus.
        auto* dbus = new DBusFileViewer(this);
        m_fileViewer = dbus;
    }
    return m_fileViewer;
}

void ResultViewController::setResultHandOff(ResultHandOff handOff)
{
    m_handOff = std::move(handOff);
}

ResultViewController::Screen ResultViewController::currentScreen() const
{
    if (m_stack->currentWidget() == m_progressView)
        return Screen::Progress;
    if (m_stack->currentWidget() == m_detailView)
        return Screen::Results;
    return Screen::ScanList;
}

bool ResultViewController::isScanning() const
{
    return m_engine && m_engine->isScanning();
}

void ResultViewController::showScreen(Screen screen)
{
    QWidget* page = screen == Screen::Progress  ? static_cast<QWidget*>(m_progressView)
                    : screen == Screen::Results ? static_cast<QWidget*>(m_detailView)
                                                : static_cast<QWidget*>(m_listView);
    if (m_stack->currentWidget() == page)
        return;
    m_stack->setCurrentWidget(page);
    Q_EMIT screenChanged(screen);
}

void ResultViewController::selectPathToScan(PathChooser::Kind kind)
{
    if (!m_chooser || isScanning())
        return;
    const QList<QByteArray> chosen = m_chooser->choosePaths(window(), kind);
    m_scanList->selectPathToScan(chosen);
}

void ResultViewController::startScanning()
{
    if (isScanning())
        return;
    // The engine refuses with "Only one item detected in the selected path(s)." itself.
    if (!m_engine->startScanning(m_scanList->arrPathNodes()))
        return;
    m_detailView->clearResults();
    showButtonToShowDetailResult_Main(true, true);
    m_progressView->setCounters(0, 0, 0, 0);
    showScreen(Screen::Progress);
    m_refreshTimer->start();
    updateFileScannedCountAndSize_MainThread();
    Q_EMIT scanningChanged(true);
}

void ResultViewController::abortScanning()
{
    if (!isScanning())
        return;
    m_progressView->showStopping();
    m_engine->abortScanning();
}

void ResultViewController::updateFileScannedCountAndSize_MainThread()
{
    m_progressView->setCounters(m_engine->countScanned(), m_engine->totSizeScanned(), m_engine->countDup(),
                                m_engine->sizeDup());
    if (isScanning())
        m_progressView->setCurrentFile(m_engine->currentFile());
}

void ResultViewController::showButtonToShowDetailResult_Main(bool isScanning, bool hideResultViewButton)
{
    Q_UNUSED(hideResultViewButton);
    if (isScanning) {
        m_progressView->showScanning();
        return;
    }
    const ScanResult* result = m_engine->result();
    m_progressView->showFinished(result && !result->arrMainGroup.empty());
}

void ResultViewController::onScanFinished(bool aborted)
{
    Q_UNUSED(aborted); // an aborted scan ends the same way, with the groups formed so far
    m_refreshTimer->stop();
    updateFileScannedCountAndSize_MainThread();
    showButtonToShowDetailResult_Main(false, false);
    Q_EMIT scanningChanged(false);

    const ScanResult* result = m_engine->result();
    if (result)
        m_progressView->showSkipped(result->skipped.size(), result->sameFileAgainCount());
    if (result && !result->fatalError.isEmpty() && m_alerts) {
        QPointer<ResultViewController> self(this);
        const QString message = result->fatalError;
        QTimer::singleShot(0, this, [self, message] {
            if (self)
                self->m_alerts->runModal(Alert{message, QString()});
        });
        return;
    }
    if (result && result->isAnyGroupContainsDuplicate())
        return;
    // Once the finished screen has been drawn.
    QPointer<ResultViewController> self(this);
    QTimer::singleShot(0, this, [self] {
        if (!self || self->isScanning() || self->currentScreen() != Screen::Progress)
            return;
        const int answer =
            self->m_alerts ? self->m_alerts->runModal(Alert{kNoDuplicatesMessage, kNoDuplicatesHint}) : 0;
        if (self && answer == 0 && !self->isScanning())
            self->backToAddFolderView();
    });
}

void ResultViewController::showSkippedItems()
{
    const ScanResult* result = m_engine->result();
    if (isScanning() || !result || result->skipped.empty())
        return;
    auto* dialog = new SkippedItemsDialog(result->skipped, fileViewer(), this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void ResultViewController::showResultDetail()
{
    if (isScanning())
        return;
    std::unique_ptr<ScanResult> result = m_engine->takeResult();
    if (!result)
        return;
    result->removeGroupsWithoutDuplicates();
    if (m_handOff) {
        m_handOff(std::move(result));
        return;
    }
    showScreen(Screen::Results);
    m_detailView->showResultDetail(std::move(result));
    // The focus was on the page that just went; the groups take it, so arrows and the
    // results' shortcuts work at once.
    m_detailView->tvAllDupResult()->setFocus(Qt::OtherFocusReason);
}

void ResultViewController::backToAddFolderView()
{
    if (isScanning())
        return;
    const bool fromResults = currentScreen() == Screen::Results;
    showScreen(Screen::ScanList);
    // The list no longer shows the groups; let them go.
    m_detailView->clearResults();
    if (fromResults)
        Q_EMIT restoreWindowSizeRequested();
}
