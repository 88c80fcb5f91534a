#include "scan/ScanList.h"

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "platform/FileViewer.h"
#include "platform/Platform.h"
#include "util/AlertPresenter.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QTimer>
#include <QVariantMap>
#include <algorithm>

namespace {

const QString kPhotosLibraryExt = QStringLiteral("photoslibrary");
const QString kMigratedLibraryExt = QStringLiteral("migratedphotolibrary");

} // namespace

// Brackets a change of the rows so that a table over the list resets around it.
class RowsResetGuard
{
public:
    explicit RowsResetGuard(ScanList* list) : m_list(list) { Q_EMIT m_list->rowsAboutToBeReset(); }
    ~RowsResetGuard() { Q_EMIT m_list->rowsReset(); }
    RowsResetGuard(const RowsResetGuard&) = delete;
    RowsResetGuard& operator=(const RowsResetGuard&) = delete;

private:
    ScanList* m_list;
};

ScanList::ScanList(Settings& settings, AlertPresenter* alerts, QObject* parent)
    : QObject(parent), m_settings(settings), m_alerts(alerts)
{}

ScanList::~ScanList() = default;

bool ScanList::containsPath(const QByteArray& path) const
{
    return m_dictPathFiller.contains(Platform::comparablePath(path));
}

int ScanList::tickedCount() const
{
    return int(std::count_if(m_arrPathNodes.begin(), m_arrPathNodes.end(),
                             [](const FilePathNode& n) { return n.state == 1; }));
}

void ScanList::setScanNowEnabled(bool enabled)
{
    if (m_scanNowEnabled == enabled)
        return;
    m_scanNowEnabled = enabled;
    Q_EMIT scanNowEnabledChanged(enabled);
}

void ScanList::reloadTable()
{
    Q_EMIT statesChanged();
}

void ScanList::rebuildExclusions()
{
    m_exclusions.makeRegExDirPath(m_settings.excludedFolders());
}

QByteArray ScanList::homeIfRoot(const QByteArray& path) const
{
    return path == "/" ? Platform::homePath() : path;
}

void ScanList::addPathInArrayToScan(const QByteArray& path)
{
    {
        RowsResetGuard guard(this);
        m_dictPathFiller.insert(Platform::comparablePath(path), QStringLiteral("1"));
        m_arrPathNodes.push_back(FilePathNode::initWithPathForFile(path));
    }
    setScanNowEnabled(!m_arrPathNodes.empty());
}

void ScanList::selectPathToScan(const QList<QByteArray>& chosenPaths)
{
    if (chosenPaths.isEmpty())
        return;
    rebuildExclusions();

    // Only the first chosen item is tested against the Trash.
    if (Platform::isInUserTrash(PathUtils::cleanPath(chosenPaths.first()))) {
        if (m_alerts)
            m_alerts->runModal(Alert{kTrashMessage, QString()});
        return;
    }

    ScanPrompt prompt;
    int added = 0;
    for (const QByteArray& chosen : chosenPaths) {
        const QByteArray path = homeIfRoot(PathUtils::cleanPath(chosen));
        if (m_exclusions.isPathExcluded(path)) {
            prompt.isShowExcludePrompt = true;
            continue;
        }
        const QString ext = PathUtils::lowerExtension(path);
        if (ext == kMigratedLibraryExt) {
            if (m_alerts)
                m_alerts->runModal(Alert{kMigratedMessage, QString()});
            return;
        }
        if (ext == kPhotosLibraryExt && m_isPhotosLibraryPathAdded) {
            if (m_alerts)
                m_alerts->runModal(Alert{kOnePhotosLibraryMessage, QString()});
            return;
        }
        if (!containsPath(path)) {
            if (ext == kPhotosLibraryExt)
                m_isPhotosLibraryPathAdded = true;
            ++added;
            addPathInArrayToScan(path);
        }
    }

    prompt.isAllPathAdded = added == chosenPaths.size();
    prompt.isFileAdded = added > 0;
    checkAndShowPrompt_afterDealy(prompt);
    saveBookmarkPathsFromTableView();
}

void ScanList::handleFileDragDropNotification(const QList<QByteArray>& paths)
{
    QStringList shown;
    shown.reserve(paths.size());
    for (const QByteArray& p : paths)
        shown.append(PathUtils::toDisplay(p));
    quillonLog(QStringLiteral("path dropped: %1").arg(shown.join(QStringLiteral(", "))));
    rebuildExclusions();

    ScanPrompt prompt;
    bool secondPhotosLibrary = false;
    int added = 0;
    for (const QByteArray& offered : paths) {
        // "a/../b" and "b" are one row.
        const QByteArray dropped = PathUtils::cleanPath(offered);
        if (Platform::isPackage(dropped)) {
            const QString ext = PathUtils::lowerExtension(dropped);
            if (ext == kMigratedLibraryExt)
                continue;
            if (ext == kPhotosLibraryExt && m_isPhotosLibraryPathAdded) {
                secondPhotosLibrary = true;
                continue;
            }
            // Set before the exclusion test below, as the drop has always done.
            if (!containsPath(dropped) && ext == kPhotosLibraryExt)
                m_isPhotosLibraryPathAdded = true;
        }
        const QByteArray path = homeIfRoot(dropped);
        if (m_exclusions.isPathExcluded(path)) {
            prompt.isShowExcludePrompt = true;
            continue;
        }
        if (!containsPath(path)) {
            addPathInArrayToScan(path);
            ++added;
        }
    }

    prompt.isAllPathAdded = added == paths.size();
    prompt.isFileAdded = added > 0;
    if (!secondPhotosLibrary) {
        checkAndShowPrompt_afterDealy(prompt);
        saveBookmarkPathsFromTableView();
        return;
    }
    QTimer::singleShot(0, this, [this] {
        reloadTable();
        if (m_alerts)
            m_alerts->runModal(Alert{kOnePhotosLibraryMessage, QString()});
    });
    saveBookmarkPathsFromTableView();
}

void ScanList::checkAndShowPrompt_afterDealy(const ScanPrompt& prompt)
{
    QTimer::singleShot(1, this, [this, prompt] { checkAndShowPrompt_mainThread(prompt); });
}

void ScanList::checkAndShowPrompt_mainThread(const ScanPrompt& prompt)
{
    reloadTable();
    Alert alert;
    if (!prompt.isShowExcludePrompt) {
        if (prompt.isFileAdded && prompt.isAllPathAdded)
            return;
        alert.messageText = prompt.isFileAdded ? kSomeNotAddedMessage : kNoneAddedMessage;
        alert.informativeText = kAlreadyPresentInfo;
    } else {
        alert.messageText = prompt.isFileAdded ? kSomeNotAddedMessage : kNoneAddedMessage;
        alert.informativeText = kExcludedInfo;
        alert.buttons = QStringList{QStringLiteral("OK"), kGoToPreferences};
    }
    if (!m_alerts)
        return;
    const int answer = m_alerts->runModal(alert);
    if (prompt.isShowExcludePrompt && answer == 1)
        Q_EMIT goToPreferencesRequested();
}

void ScanList::selectDeselectPath(int row)
{
    if (row < 0 || row >= count())
        return;
    FilePathNode& node = m_arrPathNodes[size_t(row)];
    node.state = node.state == 1 ? 0 : 1;
    Q_EMIT statesChanged();
    setScanNowEnabled(tickedCount() > 0);
    saveBookmarkPathsFromTableView();
}

void ScanList::deletePathFromTable(int row)
{
    if (row < 0 || row >= count())
        return;
    if (PathUtils::lowerExtension(m_arrPathNodes[size_t(row)].filePath) == kPhotosLibraryExt)
        m_isPhotosLibraryPathAdded = false;
    removeFilePathNodeFromScanList(row);
    saveBookmarkPathsFromTableView();
}

void ScanList::removeFilePathNodeFromScanList(int index)
{
    if (index < 0 || index >= count())
        return;
    {
        RowsResetGuard guard(this);
        m_dictPathFiller.remove(Platform::comparablePath(m_arrPathNodes[size_t(index)].filePath));
        m_arrPathNodes.erase(m_arrPathNodes.begin() + index);
    }
    setScanNowEnabled(!m_arrPathNodes.empty());
}

void ScanList::showFileInFinder(int tag, int clickedRow)
{
    const bool hasRow = clickedRow >= 0 && clickedRow < count();
    switch (tag) {
    case ShowInFileViewer:
        if (hasRow) {
            if (m_fileViewer)
                m_fileViewer->showItems({m_arrPathNodes[size_t(clickedRow)].filePath});
            return;
        }
        break;
    case SelectAll:
    case DeselectAll:
        // Not saved here: the ticks reach the saved list at its next save.
        for (FilePathNode& node : m_arrPathNodes)
            node.state = tag == SelectAll ? 1 : 0;
        break;
    case RemoveRow:
        if (hasRow) {
            {
                RowsResetGuard guard(this);
                const QByteArray path = m_arrPathNodes[size_t(clickedRow)].filePath;
                m_dictPathFiller.remove(Platform::comparablePath(path));
                // Case-sensitive here, unlike every other extension test.
                if (PathUtils::pathExtension(path) == "photoslibrary")
                    m_isPhotosLibraryPathAdded = false;
                m_arrPathNodes.erase(m_arrPathNodes.begin() + clickedRow);
            }
            saveBookmarkPathsFromTableView();
            setScanNowEnabled(!m_arrPathNodes.empty());
        }
        break;
    case RemoveAll: {
        {
            RowsResetGuard guard(this);
            m_isPhotosLibraryPathAdded = false;
            m_dictPathFiller.clear();
            m_arrPathNodes.clear();
        }
        saveBookmarkPathsFromTableView();
        setScanNowEnabled(false);
        break;
    }
    default:
        return;
    }
    reloadTable();
}

void ScanList::saveBookmarkPathsFromTableView()
{
    if (AppGlobals::isOSX_7_AndAbove)
        return;
    QVariantList saved;
    bool failed = false;
    for (const FilePathNode& node : m_arrPathNodes) {
        const QByteArray bookmark = Platform::bookmarkForPath(node.filePath);
        // One failed bookmark ends the list: later rows are not saved either.
        if (bookmark.isEmpty())
            failed = true;
        if (failed)
            continue;
        QVariantMap entry;
        entry.insert(QStringLiteral("path"), bookmark);
        entry.insert(QStringLiteral("state"), node.state);
        saved.append(entry);
    }
    m_settings.setValue(Settings::kSavedPaths, saved);
    m_settings.synchronize();
}

QVariantList ScanList::savedPathsFromUserDefaults(bool startAccess) const
{
    // Bookmarks here are plain paths: there is no access to start.
    Q_UNUSED(startAccess);
    QVariantList resolved;
    const QVariantList saved = m_settings.value(Settings::kSavedPaths).toList();
    for (const QVariant& item : saved) {
        const QVariantMap entry = item.toMap();
        if (!entry.contains(QStringLiteral("path")))
            continue;
        const std::optional<QByteArray> path =
            Platform::resolveBookmark(entry.value(QStringLiteral("path")).toByteArray());
        if (!path)
            continue;
        QVariantMap row;
        row.insert(QStringLiteral("path"), *path);
        row.insert(QStringLiteral("state"), entry.value(QStringLiteral("state")).toInt());
        resolved.append(row);
    }
    return resolved;
}

void ScanList::loadFromBookmarkPaths()
{
    if (!AppGlobals::isOSX_7_AndAbove) {
        const QVariantList saved = m_settings.value(Settings::kSavedPaths).toList();
        const QVariantList rows = savedPathsFromUserDefaults(true);
        bool dropped = rows.size() != saved.size();
        for (const QVariant& item : rows) {
            const QVariantMap row = item.toMap();
            const QByteArray path = row.value(QStringLiteral("path")).toByteArray();
            if (!PathUtils::exists(path) || Platform::isInUserTrash(path)) {
                dropped = true;
                continue;
            }
            if (PathUtils::lowerExtension(path) == kPhotosLibraryExt)
                m_isPhotosLibraryPathAdded = true;
            addPathInArrayToScan(path);
            m_arrPathNodes.back().state = row.value(QStringLiteral("state")).toInt();
        }
        reloadTable();
        if (dropped)
            saveBookmarkPathsFromTableView();
    }
    setScanNowEnabled(tickedCount() > 0);
}
