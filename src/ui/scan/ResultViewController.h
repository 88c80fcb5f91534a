#pragma once

#include "scan/PathChooser.h"

#include <QWidget>
#include <functional>
#include <memory>

class AlertPresenter;
class FileViewer;
class PhotosAlbumInterface;
class TrashInterface;
class TrashSheetsController;
class QStackedWidget;
class QTimer;
class ScanEngine;
class ScanList;
class ScanListView;
class ScanProgressView;
class Settings;
class DetailResultViewController;
struct ScanResult;

// The scan view of the main window: the scan list with its drop area, the scan's progress
// and end, and the hand-off of the groups to the results. It owns the scan list and the scan
// engine; the engine's counters are read on a timer so the window stays responsive.
class ResultViewController : public QWidget
{
    Q_OBJECT
public:
    enum class Screen { ScanList, Progress, Results };
    // Takes the groups of a finished scan (groups without duplicates already dropped); the
    // results carry the groups, the iPhoto loaders and the duplicate count.
    using ResultHandOff = std::function<void(std::unique_ptr<ScanResult>)>;

    static inline const QString kNoDuplicatesMessage = QStringLiteral("No duplicate items found.");
    static inline const QString kNoDuplicatesHint =
        QStringLiteral("Hint: Please try scanning another path for duplicates.");
    static constexpr int kRefreshIntervalMs = 50;

    // Settings and alerts are not owned and must outlive the view. The saved scan list is
    // restored here.
    ResultViewController(Settings& settings, AlertPresenter* alerts, QWidget* parent = nullptr);
    ~ResultViewController() override;

    void setPathChooser(std::unique_ptr<PathChooser> chooser);
    // Not owned; without one, the desktop's file manager is asked over D-Bus.
    void setFileViewer(FileViewer* viewer);
    // The Trash that marked files go to; the system's when none is set (tests set their own).
    void setTrash(TrashInterface* trash);
    // Without one, the groups go to the results view in this screen.
    void setResultHandOff(ResultHandOff handOff);

    ScanList* scanList() const { return m_scanList; }
    ScanEngine* engine() const { return m_engine; }
    ScanListView* scanListView() const { return m_listView; }
    ScanProgressView* progressView() const { return m_progressView; }
    DetailResultViewController* detailView() const { return m_detailView; }
    Screen currentScreen() const;
    bool isScanning() const;

public Q_SLOTS:
    // The add button: asks the chooser and hands its answer to the scan list.
    void selectPathToScan(PathChooser::Kind kind = PathChooser::Kind::Folders);
    void startScanning();
    void abortScanning();
    // "Show Results".
    void showResultDetail();
    // Lists the items the last scan could not read, in a window-modal dialog.
    void showSkippedItems();
    // Back to the scan list, from the end of a scan or from the results (the results go).
    void backToAddFolderView();

Q_SIGNALS:
    void scanningChanged(bool scanning);
    // The user chose "Go To Preferences" in an exclusion prompt.
    void goToPreferencesRequested();
    void screenChanged(ResultViewController::Screen screen);
    // The window should take its scan-list size again (Back from the results).
    void restoreWindowSizeRequested();

private:
    void showScreen(Screen screen);
    void updateFileScannedCountAndSize_MainThread();
    void showButtonToShowDetailResult_Main(bool isScanning, bool hideResultViewButton);
    void onScanFinished(bool aborted);
    FileViewer* fileViewer();

    Settings& m_settings;
    AlertPresenter* m_alerts;
    ScanList* m_scanList = nullptr;
    ScanEngine* m_engine = nullptr;
    std::unique_ptr<PathChooser> m_chooser;
    FileViewer* m_fileViewer = nullptr;
    std::unique_ptr<FileViewer> m_ownFileViewer;
    TrashInterface* m_trash = nullptr;
    std::unique_ptr<TrashInterface> m_ownTrash;
    std::unique_ptr<PhotosAlbumInterface> m_album;
    TrashSheetsController* m_trashSheets = nullptr;
    ResultHandOff m_handOff;

    QStackedWidget* m_stack = nullptr;
    ScanListView* m_listView = nullptr;
    ScanProgressView* m_progressView = nullptr;
    DetailResultViewController* m_detailView = nullptr;
    std::unique_ptr<AlertPresenter> m_ownAlerts;
    QTimer* m_refreshTimer = nullptr;
};
