#include "preferences/ExclusionList.h"

#include "app/Settings.h"
#include "platform/Platform.h"
#include "preferences/PreferencesNotifier.h"
#include "util/AlertPresenter.h"
#include "util/PathUtils.h"

ExclusionList::ExclusionList(Settings& settings, AlertPresenter& alerts, ScanListProvider scanList,
                             QObject* parent)
    : QObject(parent), m_settings(settings), m_alerts(alerts), m_scanList(std::move(scanList))
{
    // Default connection: a reset posted from another thread is handled in this object's thread.
    connect(&PreferencesNotifier::instance(), &PreferencesNotifier::preferencesResetToDefaults, this,
            &ExclusionList::updateArrayFromUserDefaults);
    updateArrayFromUserDefaults();
}

void ExclusionList::updateArrayFromUserDefaults()
{
    Q_EMIT listAboutToChange();
    m_arrExclude = m_settings.excludedFolders();
    Q_EMIT listChanged();
}

bool ExclusionList::isPathAddedToScanList(const QString& path) const
{
    if (!m_scanList)
        return false;
    const QString candidate = path.toLower();
    const QList<QByteArray> entries = m_scanList();
    for (const QByteArray& entry : entries) {
        const QString covered = PathUtils::toDisplay(entry).toLower() + QLatin1Char('/');
        if (covered.startsWith(candidate) || covered == candidate)
            return true;
    }
    return false;
}

int ExclusionList::addFolderToExclude(const QStringList& selection)
{
    if (selection.isEmpty())
        return 0;
    // Only the first item is tested, and a Trash hit refuses the whole selection.
    if (Platform::isInUserTrash(PathUtils::fromText(selection.first()))) {
        m_alerts.runModal(Alert{QString(), QString()});
        return 0;
    }

    bool isInScanList = false;
    bool isAlreadyListed = false;
    QStringList added;
    for (const QString& path : selection) {
        const bool conflict = isPathAddedToScanList(path);
        const bool listed = m_arrExclude.contains(path, Qt::CaseSensitive) || added.contains(path);
        isInScanList = isInScanList || conflict;
        isAlreadyListed = isAlreadyListed || listed;
        if (!conflict && !listed)
            added.append(path);
    }
    if (!added.isEmpty()) {
        Q_EMIT listAboutToChange();
        m_arrExclude.append(added);
        Q_EMIT listChanged();
    }
    checkAndShowPrompt(isInScanList, isAlreadyListed, qint32(added.size()));
    writeToUserDefaults();
    return int(added.size());
}

void ExclusionList::checkAndShowPrompt(bool isInScanList, bool isAlreadyInExclusionList,
                                       qint32 numberOfPathAdded)
{
    // The count never changes the outcome: both refusals together always give the first row.
    Q_UNUSED(numberOfPathAdded);
    if (isInScanList && isAlreadyInExclusionList)
        m_alerts.runModal(Alert{kCannotExcludeBothTitle, kInScanListText});
    else if (isInScanList)
        m_alerts.runModal(Alert{kCannotExcludeTitle, kInScanListText});
    else if (isAlreadyInExclusionList)
        m_alerts.runModal(Alert{kAlreadyListedTitle, kAlreadyListedText});
}

bool ExclusionList::deleteFolderPath(int selectedRow)
{
    if (selectedRow < 0 || selectedRow >= m_arrExclude.size())
        return false;
    Q_EMIT listAboutToChange();
    m_arrExclude.removeAt(selectedRow);
    Q_EMIT listChanged();
    writeToUserDefaults();
    return true;
}

void ExclusionList::writeToUserDefaults()
{
    m_settings.setExcludedFolders(m_arrExclude);
    m_settings.synchronize();
}
