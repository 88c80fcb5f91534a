#pragma once

#include "review/TrashRun.h"

#include <QObject>
#include <QPointer>

class AlertPresenter;
class FileViewer;
class NotTrashedSheet;
class PhotosAlbumInterface;
class PhotosInstructionSheet;
class QDialog;
class ReviewModel;
class Settings;
class TrashConfirmationSheet;
class TrashInterface;
class TrashProgressSheet;
class TrashSummarySheet;

// The trash button of the results view: confirmation, Photos instructions, the run behind its
// progress sheet, the files not moved, the summary and Put Back. Every sheet is window-modal
// and answers through signals; the run itself is on a worker thread.
class TrashSheetsController : public QObject
{
    Q_OBJECT
public:
    // None is owned; all must outlive the controller.
    TrashSheetsController(ReviewModel& review, Settings& settings, TrashInterface& trash,
                          PhotosAlbumInterface& album, FileViewer& viewer, AlertPresenter& alerts,
                          QObject* parent = nullptr);
    ~TrashSheetsController() override;

    // The trash button: starts the sheets on the window. Ignored while a sheet is open.
    void removeSelectedItems(QWidget* window);
    // Whether a marked shown file is a Photos item; unchanged when nothing is marked.
    bool checkPhotosLibraryInTrashList();

    TrashRun& trashRun() { return m_run; }
    // The sheet that is open now, if any.
    QDialog* currentSheet() const;

Q_SIGNALS:
    // The run has ended and the review model has rebuilt its groups: clear the preview.
    void trashRunFinished();
    // The summary's "Back to Scan": the view shows the scan view again.
    void backToMainView();

private:
    void proceedToTrashMarkedFiles();
    void showPhotosInstruction();
    void openPhotosLibrary();
    void trashMarkedFiles();
    void runFinished();
    void showWindowAfterTrash();
    void showAfterTrashWindowWithCountSizeStatus();
    void putBack();
    template <typename Sheet> Sheet* present(Sheet* sheet);

    ReviewModel& m_review;
    Settings& m_settings;
    PhotosAlbumInterface& m_album;
    FileViewer& m_viewer;
    AlertPresenter& m_alerts;
    TrashRun m_run;
    QPointer<QWidget> m_window;
    QPointer<QDialog> m_sheet;
    QPointer<TrashProgressSheet> m_progress;
    bool isPhotosLibInTrashList = false;
};
