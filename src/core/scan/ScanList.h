#pragma once

#include "model/FilePathNode.h"
#include "scan/PathExclusion.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariantList>
#include <vector>

class AlertPresenter;
class FileViewer;
class Settings;

// What one addition by dialog or drop met, for the prompt that follows it.
struct ScanPrompt
{
    bool isShowExcludePrompt = false; // an excluded item was met
    bool isAllPathAdded = false;      // every offered item was added
    bool isFileAdded = false;         // at least one item was added
};

// The scan list: the folders, files and photo libraries that the next scan reads. It checks
// what is added (Trash, exclusions, photo-library rules, rows already present), keeps the
// ticks, and saves itself under "savedPaths" after every change so that it survives restarts.
// Widgets show it through a table model and forward the user's commands here.
class ScanList : public QObject
{
    Q_OBJECT
public:
    // Tags of the row menu's commands (showFileInFinder).
    enum RowMenuTag { ShowInFileViewer = 0, SelectAll = 1, DeselectAll = 2, RemoveRow = 3, RemoveAll = 4 };

    static inline const QString kTrashMessage = QStringLiteral("Photos cannot be added form Trash.");
    static inline const QString kMigratedMessage = QStringLiteral(
        "Migrated Photos library is not supported. Please select the respective Photos library.");
    static inline const QString kOnePhotosLibraryMessage =
        QStringLiteral("Only One Photos Library can be added.");
    static inline const QString kSomeNotAddedMessage = QStringLiteral("One or more items cannot be added!");
    static inline const QString kNoneAddedMessage = QStringLiteral("Item(s) cannot be added!");
    static inline const QString kAlreadyPresentInfo = QStringLiteral("Item(s) already present in scan list");
    static inline const QString kExcludedInfo = QStringLiteral(
        "Item(s) already excluded from scanning.\n\nHint: Go to Preferences > Exclusions to remove "
        "item(s) from Exclusion list");
    static inline const QString kGoToPreferences = QStringLiteral("Go To Preferences");

    // Neither is owned; both must outlive the list.
    ScanList(Settings& settings, AlertPresenter* alerts, QObject* parent = nullptr);
    ~ScanList() override;

    const std::vector<FilePathNode>& arrPathNodes() const { return m_arrPathNodes; }
    int count() const { return int(m_arrPathNodes.size()); }
    bool isPhotosLibraryPathAdded() const { return m_isPhotosLibraryPathAdded; }
    // Comparable path of every row -> "1": what "already present" is decided by.
    const QHash<QByteArray, QString>& dictPathFiller() const { return m_dictPathFiller; }
    // Whether a row holds the path (compared as the platform compares paths).
    bool containsPath(const QByteArray& path) const;
    int tickedCount() const;
    // The state of the Scan button, following the rules of each command.
    bool isScanNowEnabled() const { return m_scanNowEnabled; }

    // Where "show in the file viewer" goes; not owned, may be null.
    void setFileViewer(FileViewer* viewer) { m_fileViewer = viewer; }

    // The open dialog's answer, in the order chosen; an empty list (cancelled) does nothing.
    void selectPathToScan(const QList<QByteArray>& chosenPaths);
    // Items dropped on the drop area, in the order the drag offered them.
    void handleFileDragDropNotification(const QList<QByteArray>& paths);
    // Appends one ticked row.
    void addPathInArrayToScan(const QByteArray& path);

    // Shows the prompt a moment later, once the dialog or the drop has finished.
    void checkAndShowPrompt_afterDealy(const ScanPrompt& prompt);
    void checkAndShowPrompt_mainThread(const ScanPrompt& prompt);

    // The row's tick box.
    void selectDeselectPath(int row);
    // The row's remove button.
    void deletePathFromTable(int row);
    void removeFilePathNodeFromScanList(int index);
    // The row menu; clickedRow is -1 when the menu was opened away from any row.
    void showFileInFinder(int tag, int clickedRow);

    void saveBookmarkPathsFromTableView();
    // The saved rows whose bookmarks resolve: maps {"path": path bytes, "state": int}.
    QVariantList savedPathsFromUserDefaults(bool startAccess) const;
    // Restores the saved list once at start; rows that vanished or sit in the Trash are
    // dropped and the list is saved again without them.
    void loadFromBookmarkPaths();

Q_SIGNALS:
    // Around every change of the rows themselves (the table is reloaded).
    void rowsAboutToBeReset();
    void rowsReset();
    // Ticks changed without rows being added or removed.
    void statesChanged();
    void scanNowEnabledChanged(bool enabled);
    // The user chose "Go To Preferences" in an exclusion prompt.
    void goToPreferencesRequested();

private:
    void setScanNowEnabled(bool enabled);
    void reloadTable();
    void rebuildExclusions();
    QByteArray homeIfRoot(const QByteArray& path) const;

    Settings& m_settings;
    AlertPresenter* m_alerts;
    FileViewer* m_fileViewer = nullptr;
    PathExclusion m_exclusions;

    std::vector<FilePathNode> m_arrPathNodes;
    QHash<QByteArray, QString> m_dictPathFiller; // comparable path -> "1"
    bool m_isPhotosLibraryPathAdded = false;
    bool m_scanNowEnabled = false;
};
