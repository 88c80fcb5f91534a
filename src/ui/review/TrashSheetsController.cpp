#include "review/TrashSheetsController.h"

#include "app/Settings.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/NotTrashedSheet.h"
#include "review/PhotosAlbum.h"
#include "review/PhotosInstructionSheet.h"
#include "review/ReviewModel.h"
#include "review/TrashConfirmationSheet.h"
#include "review/TrashProgressSheet.h"
#include "review/TrashSummarySheet.h"
#include "util/AlertPresenter.h"

#include <QFile>
#include <QFutureWatcher>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

namespace {
// The summary follows the rebuilt results a moment later, as the window redraws first.
constexpr int kSummaryDelayMs = 50;
// Files named in the Put Back alert; the rest are counted.
constexpr int kListedInAlert = 10;
} // namespace

TrashSheetsController::TrashSheetsController(ReviewModel& review, Settings& settings, TrashInterface& trash,
                                             PhotosAlbumInterface& album, FileViewer& viewer,
                                             AlertPresenter& alerts, QObject* parent)
    : QObject(parent), m_review(review), m_settings(settings), m_album(album), m_viewer(viewer),
      m_alerts(alerts), m_run(trash, album)
{
    connect(&m_run, &TrashRun::finished, this, &TrashSheetsController::runFinished);
}

TrashSheetsController::~TrashSheetsController()
{
    if (m_sheet)
        m_sheet->deleteLater();
}

QDialog* TrashSheetsController::currentSheet() const
{
    return m_sheet;
}

template <typename Sheet> Sheet* TrashSheetsController::present(Sheet* sheet)
{
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    m_sheet = sheet;
    sheet->open();
    return sheet;
}

void TrashSheetsController::removeSelectedItems(QWidget* window)
{
    if (m_sheet || m_run.isRunning() || !window)
        return;
    m_window = window;
    if (m_settings.doNotShowConfirmationDialogOnTrash()) {
        if (checkPhotosLibraryInTrashList())
            showPhotosInstruction();
        else
            trashMarkedFiles();
        return;
    }
    auto* sheet = present(new TrashConfirmationSheet(m_settings, m_window));
    connect(sheet, &QDialog::accepted, this, &TrashSheetsController::proceedToTrashMarkedFiles);
}

bool TrashSheetsController::checkPhotosLibraryInTrashList()
{
    for (const DuplicateGroup* group : m_review.arrGroups()) {
        for (const FileInfoNode* node : group->filteredChildren) {
            if (node->state != 1)
                continue;
            isPhotosLibInTrashList = node->isPhotosNode;
            if (isPhotosLibInTrashList)
                return true;
        }
    }
    return isPhotosLibInTrashList;
}

void TrashSheetsController::proceedToTrashMarkedFiles()
{
    // The confirmation closes first; the next sheet opens once it is gone.
    QTimer::singleShot(0, this, [this] {
        if (checkPhotosLibraryInTrashList())
            showPhotosInstruction();
        else
            trashMarkedFiles();
    });
}

void TrashSheetsController::showPhotosInstruction()
{
    if (!m_window)
        return;
    auto* sheet = present(new PhotosInstructionSheet(m_window));
    connect(sheet, &PhotosInstructionSheet::openRequested, this, &TrashSheetsController::openPhotosLibrary);
    connect(sheet, &QDialog::accepted, this,
            [this] { QTimer::singleShot(0, this, &TrashSheetsController::trashMarkedFiles); });
}

void TrashSheetsController::openPhotosLibrary()
{
    auto* sheet = qobject_cast<PhotosInstructionSheet*>(m_sheet.data());
    if (!sheet)
        return;
    QByteArray libraryPath;
    for (const DuplicateGroup* group : m_review.arrGroups()) {
        for (const FileInfoNode* node : group->filteredChildren) {
            if (node->isPhotosNode && !node->libraryPath().isEmpty()) {
                libraryPath = node->libraryPath();
                break;
            }
        }
        if (!libraryPath.isEmpty())
            break;
    }
    if (libraryPath.isEmpty()) {
        sheet->enableContinue();
        return;
    }
    // The application may take seconds to answer; the window keeps drawing meanwhile.
    auto* watcher = new QFutureWatcher<bool>(sheet);
    connect(watcher, &QFutureWatcher<bool>::finished, sheet, &PhotosInstructionSheet::enableContinue);
    PhotosAlbumInterface& album = m_album;
    watcher->setFuture(
        QtConcurrent::run([&album, libraryPath] { return album.quitAndopenNewPhotosLibrary(libraryPath); }));
}

void TrashSheetsController::trashMarkedFiles()
{
    if (!m_window || !m_run.trashMarkedFiles(m_review.arrGroups(), m_review.countMarked(),
                                             quint64(m_review.sizeOfMarkedFiles())))
        return;
    m_progress = present(new TrashProgressSheet(m_run, m_window));
}

void TrashSheetsController::runFinished()
{
    if (m_progress)
        m_progress->finish();
    m_review.applyTrashRun(m_run);
    Q_EMIT trashRunFinished();
    QTimer::singleShot(kSummaryDelayMs, this, &TrashSheetsController::showWindowAfterTrash);
}

void TrashSheetsController::showWindowAfterTrash()
{
    if (!m_window)
        return;
    if (m_run.arrFileNotTrashed().empty()) {
        showAfterTrashWindowWithCountSizeStatus();
        return;
    }
    auto* sheet = present(new NotTrashedSheet(m_viewer, m_window));
    sheet->setFiles(m_run.arrFileNotTrashed());
    // closeWindowNotDeletedFileList: the summary follows.
    connect(sheet, &QDialog::finished, this, [this] {
        QTimer::singleShot(0, this, &TrashSheetsController::showAfterTrashWindowWithCountSizeStatus);
    });
}

void TrashSheetsController::showAfterTrashWindowWithCountSizeStatus()
{
    if (!m_window)
        return;
    auto* sheet = present(new TrashSummarySheet(m_window));
    sheet->showAfterTrashWindowWithCountSizeStatus(m_run.countTrashed(), m_run.sizeTrashed());
    sheet->setPutBackAvailable(m_run.canPutBack());
    connect(sheet, &TrashSummarySheet::putBackRequested, this, &TrashSheetsController::putBack);
    connect(sheet, &TrashSummarySheet::backToMainView, this, [this] {
        isPhotosLibInTrashList = false;
        Q_EMIT backToMainView();
    });
}

void TrashSheetsController::putBack()
{
    if (m_sheet)
        m_sheet->accept();
    const std::vector<NotPutBackFile> stayed = m_run.putBack();
    m_review.restoreRecords(m_run.putBackRecords());
    if (stayed.empty())
        return;
    QStringList lines;
    for (size_t i = 0; i < stayed.size() && i < size_t(kListedInAlert); ++i)
        lines.append(
            QStringLiteral("%1: %2").arg(QFile::decodeName(stayed[i].node->filePath), stayed[i].reason));
    if (stayed.size() > size_t(kListedInAlert))
        lines.append(tr("and %n more", nullptr, int(stayed.size()) - kListedInAlert));
    Alert alert;
    alert.messageText =
        tr("%n item(s) could not be put back and stay in the Trash.", nullptr, int(stayed.size()));
    alert.informativeText = lines.join(QLatin1Char('\n'));
    m_alerts.runModal(alert);
}
