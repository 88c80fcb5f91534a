#pragma once

#include "review/AutoMarkPanel.h"

#include <QPointer>
#include <QWidget>
#include <memory>

class AlertPresenter;
class CategoryBar;
class CustomTableView;
class FileTableModel;
class FileViewer;
class GroupTableModel;
class IMGButton;
class PreviewPane;
class QButtonGroup;
class QLabel;
class QLineEdit;
class QSplitter;
class ResultsActions;
class ReviewModel;
class Settings;
class SortPopup;
struct ScanResult;

// The results view: the groups of a scan by category, search and sort order, the group and
// file tables with the preview, marking by hand and automatically, and the way to the Trash.
// It owns the scan's results from the hand-off until Back or the next scan; a ReviewModel
// decides everything, this view shows it.
class DetailResultViewController : public QWidget
{
    Q_OBJECT
public:
    DetailResultViewController(Settings& settings, AlertPresenter& alerts, QWidget* parent = nullptr);
    ~DetailResultViewController() override;

    // Not owned; asked to show a file in the desktop's file manager.
    void setFileViewer(FileViewer* viewer) { m_fileViewer = viewer; }

    // The hand-off of a finished (or stopped) scan: groups, iPhoto loaders and duplicate count.
    void showResultDetail(std::unique_ptr<ScanResult> result);
    // Lets the results go (Back); the tables and preview are emptied.
    void clearResults();
    ScanResult* result() const { return m_result.get(); }
    ReviewModel* review() const { return m_review; }
    ResultsActions* actions() const { return m_actions; }

    CategoryBar* categoryBar() const { return m_categories; }
    QLineEdit* searchTextField() const { return m_searchTextField; }
    SortPopup* popupForSorting() const { return m_popupForSorting; }
    QLabel* lblDupCount() const { return m_lblDupCount; }
    QLabel* lblSelectedCatIssue() const { return m_lblSelectedCatIssue; }
    QLabel* lblScanStopped() const { return m_lblScanStopped; }
    QLabel* lblNumMarkedFiles() const { return m_lblNumMarkedFiles; }
    IMGButton* btnAutoSelect() const { return m_btnAutoSelect; }
    QButtonGroup* keepControl() const { return m_keepControl; }
    IMGButton* btnDeselectAll() const { return m_btnDeselectAll; }
    IMGButton* btnTrash() const { return m_btnTrash; }
    IMGButton* btnBack() const { return m_btnBack; }
    CustomTableView* tvAllDupResult() const { return m_tvAllDupResult; }
    CustomTableView* tvFileDupResult() const { return m_tvFileDupResult; }
    GroupTableModel* groupModel() const { return m_groupModel; }
    FileTableModel* fileModel() const { return m_fileModel; }
    PreviewPane* preview() const { return m_preview; }
    AutoMarkPanel* windowAutoMark() const { return m_windowAutoMark; }
    // The controls in Tab order.
    QList<QWidget*> focusChain() const;

public Q_SLOTS:
    void selectCategory(int category);
    void autoMarkAllDuplicate();
    void unMarkAllDuplicate();
    void keepFileOption(int segment);
    // The selected file's check box turned over (the Space key).
    void toggleSelectedMark();
    void revealFileInFinder(int row);
    // The trash button and the Delete key: asks for the marked files to be moved (the owner's
    // Trash sheets answer trashRequested).
    void removeSelectedItems();

Q_SIGNALS:
    void backRequested();
    void trashRequested();

private:
    void buildLayout();
    void connectReview();
    void reloadTableViewAndSetDupCount();
    void updateSummary();
    void groupSelectionChanged();
    void fileSelectionChanged();

    Settings& m_settings;
    AlertPresenter& m_alerts;
    FileViewer* m_fileViewer = nullptr;
    ReviewModel* m_review = nullptr;
    std::unique_ptr<ScanResult> m_result;
    ResultsActions* m_actions = nullptr;

    CategoryBar* m_categories = nullptr;
    QLineEdit* m_searchTextField = nullptr;
    SortPopup* m_popupForSorting = nullptr;
    QLabel* m_lblDupCount = nullptr;
    QLabel* m_lblSelectedCatIssue = nullptr;
    QLabel* m_lblScanStopped = nullptr;
    QLabel* m_lblNumMarkedFiles = nullptr;
    QLabel* m_lblCleaned = nullptr;
    IMGButton* m_btnAutoSelect = nullptr;
    QButtonGroup* m_keepControl = nullptr;
    IMGButton* m_btnDeselectAll = nullptr;
    IMGButton* m_btnTrash = nullptr;
    IMGButton* m_btnBack = nullptr;
    QSplitter* m_splitter = nullptr;
    CustomTableView* m_tvAllDupResult = nullptr;
    CustomTableView* m_tvFileDupResult = nullptr;
    GroupTableModel* m_groupModel = nullptr;
    FileTableModel* m_fileModel = nullptr;
    PreviewPane* m_preview = nullptr;
    QPointer<AutoMarkPanel> m_windowAutoMark;
};
