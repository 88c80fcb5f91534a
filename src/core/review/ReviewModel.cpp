#include "review/ReviewModel.h"

#include "app/Settings.h"
#include "libraries/PhotosNode.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/FileNameMatcher.h"
#include "review/GroupOrdering.h"
#include "review/TrashRun.h"
#include "util/AlertPresenter.h"
#include "util/CommonFuncs.h"
#include "util/LinqExtensions.h"
#include "util/Log.h"

#include <algorithm>

namespace LE = LinqExtensions;

namespace {

struct CategoryText
{
    const char* title;
    const char* emptyMessage;
};

// Indexed by category code.
constexpr CategoryText kCategories[ReviewModel::kCategoryCount] = {
    {"Documents", "Oops! No duplicate documents found"}, {"Images", "Oops! No duplicate images found"},
    {"Music", "Oops! No duplicate music found"},         {"Videos", "Oops! No duplicate videos found"},
    {"Archives", "Oops! No duplicate archives found"},   {"Others", "Oops! No duplicates found"},
};

bool isCategory(qint32 index)
{
    return index >= 0 && index < ReviewModel::kCategoryCount;
}

} // namespace

ReviewModel::ReviewModel(Settings& settings, AlertPresenter& alerts, QObject* parent)
    : QObject(parent), m_settings(settings), m_alerts(alerts)
{}

void ReviewModel::updateUIComponentsDetailView()
{
    m_selectedCategoryIndex = kAllCategories;
    m_summary = ReviewSummary{};
    m_marking.resetTotals();
    m_sortType = 0;
    m_sortOrder = 1;
    setGroups(getSortedArray(m_arrMainGroup));
    m_summary.lblDupCount = QStringLiteral("All Categories: %1 duplicates found of %2")
                                .arg(m_dupCount)
                                .arg(CommonFuncs::getSizeInUnits(quint64(duplicateGroupsSize(m_arrGroups))));
    updateMarkedLabelCount();
    emit groupsReset();
}

QString ReviewModel::categoryTitle(qint32 index)
{
    if (index == kAllCategories)
        return QStringLiteral("All Categories");
    return isCategory(index) ? QString::fromLatin1(kCategories[index].title) : QString();
}

QString ReviewModel::emptyCategoryMessage(qint32 index)
{
    return isCategory(index) ? QString::fromLatin1(kCategories[index].emptyMessage) : QString();
}

qint32 ReviewModel::groupCategory(const DuplicateGroup* group)
{
    // Groups always hold at least two members here.
    return group->children.front()->fileCategory;
}

std::array<quint64, ReviewModel::kCategoryCount> ReviewModel::duplicateCountsByCategory() const
{
    std::array<quint64, kCategoryCount> counts{};
    for (const DuplicateGroup* group : m_arrMainGroup) {
        const qint32 category = groupCategory(group);
        if (isCategory(category))
            counts[category] += group->children.size() - 1;
    }
    return counts;
}

bool ReviewModel::selectCategory(qint32 index)
{
    if (index == kAllCategories) {
        showAllGroupItems();
        return true;
    }
    if (!isCategory(index))
        return false;
    const GroupList result = checkAndRespondAccordingToCategory(index);
    if (result.empty()) {
        m_alerts.runModal(Alert{emptyCategoryMessage(index), QString(), {QStringLiteral("OK")}});
        return false;
    }
    setGroups(getSortedArray(result));
    emit groupsReset();
    updateMarkedCountSizeForSelectedFiles();
    return true;
}

void ReviewModel::showAllGroupItems()
{
    m_summary.autoSelectEnabled = true;
    m_summary.catIssueVisible = false;
    m_selectedCategoryIndex = kAllCategories;
    updateFilterChildrenForGroup();
    setGroups(getSortedArray(m_arrMainGroup));
    emit groupsReset();
    updateMarkedCountSizeForSelectedFiles();
    setDupCountLine(categoryTitle(kAllCategories), m_arrGroups);
}

ReviewModel::GroupList ReviewModel::checkAndRespondAccordingToCategory(qint32 index)
{
    GroupList result = categoryWalk(m_arrMainGroup, index);
    if (!result.empty()) {
        m_selectedCategoryIndex = index;
        m_summary.catIssueVisible = false;
        m_summary.autoSelectEnabled = true;
        setDupCountLine(categoryTitle(index), result);
    }
    return result;
}

ReviewModel::GroupList ReviewModel::checkAndRespondAccordingToCategoryAfterSearch(qint32 index)
{
    return categoryWalk(m_arrGroups, index);
}

ReviewModel::GroupList ReviewModel::categoryWalk(const GroupList& source, qint32 index) const
{
    GroupList result;
    for (DuplicateGroup* group : source) {
        if (groupCategory(group) == index) {
            group->filteredChildren = group->children;
            result.push_back(group);
        }
    }
    return result;
}

void ReviewModel::updateFilterChildrenForGroup()
{
    for (DuplicateGroup* group : m_arrMainGroup)
        group->filteredChildren = group->children;
}

void ReviewModel::runSearchForDuplicates(const QString& text)
{
    const QString needle = text.trimmed().toLower();
    if (needle.isEmpty()) {
        setGroups(getSortedArray(LE::where(
            m_arrMainGroup, [](const DuplicateGroup* g) { return g->filteredChildren.size() >= 2; })));
    } else {
        // In result order and unsorted; a matching group keeps all its shown files.
        const FileNameMatcher matches(needle);
        m_arrGroups = LE::where(m_arrMainGroup, [&matches](const DuplicateGroup* g) {
            return LE::any(g->filteredChildren, [&matches](const FileInfoNode* f) { return matches(f); });
        });
    }
    if (m_selectedCategoryIndex != kAllCategories)
        setGroups(getSortedArray(checkAndRespondAccordingToCategoryAfterSearch(m_selectedCategoryIndex)));
    emit groupsReset();
    // The totals describe the marked files among the shown groups.
    updateMarkedCountSizeForSelectedFiles();
}

quint64 ReviewModel::duplicateCountInCategory(const GroupList& groups)
{
    quint64 count = 0;
    for (const DuplicateGroup* group : groups)
        count += group->filteredChildren.size() - 1;
    return count;
}

qint64 ReviewModel::duplicateGroupsSize(const GroupList& groups)
{
    qint64 size = 0;
    for (const DuplicateGroup* group : groups) {
        for (size_t i = 1; i < group->filteredChildren.size(); ++i)
            size += qint64(group->filteredChildren[i]->fileSize);
    }
    return size;
}

std::optional<ReviewModel::GroupList> ReviewModel::getSortedArray(const GroupList& groups) const
{
    return getSortedArray(groups, m_sortType, m_sortOrder);
}

std::optional<ReviewModel::GroupList> ReviewModel::getSortedArray(const GroupList& groups, quint32 sortType,
                                                                  qint32 sortOrder)
{
    return GroupOrdering::sorted(groups, sortType, sortOrder);
}

void ReviewModel::selectSortingType(int itemIndex)
{
    if (itemIndex == 0 || itemIndex == 2 || itemIndex == 3 || itemIndex == 4)
        m_sortType = quint32(itemIndex);
    else if (itemIndex == 6)
        m_sortOrder = 0;
    else if (itemIndex == 7)
        m_sortOrder = 1;
    setGroups(getSortedArray(m_arrGroups));
    emit groupsReset();
}

int ReviewModel::updateNodeState(FileInfoNode* node, bool checked)
{
    const int state = m_marking.updateNodeState(node, checked, m_alerts);
    updateMarkedLabelCount();
    emit marksChanged();
    return state;
}

void ReviewModel::keepFileOption(qint32 keepFile, DuplicateGroup* group)
{
    m_marking.setKeepFile(keepFile);
    if (!group && !m_arrGroups.empty())
        group = m_arrGroups.front();
    if (group)
        keepFileAcoordingToSelectedOption(group);
}

void ReviewModel::keepFileAcoordingToSelectedOption(DuplicateGroup* group)
{
    m_marking.keepFileAcoordingToSelectedOption(group, m_settings.autoMarkPhotos());
    updateMarkedLabelCount();
    emit marksChanged();
}

void ReviewModel::proceedToautoMarkAllitems()
{
    // "autoSelectOption" 1 keeps the oldest: the opposite sense of the keep control.
    autoMarkAll(m_settings.autoSelectOption() == 1 ? KeepRule::Oldest : KeepRule::Newest,
                m_settings.autoMarkPhotos());
}

void ReviewModel::autoMarkAll(KeepRule keep, bool autoMarkPhotos)
{
    m_marking.markAllButOne(m_arrGroups, keep, autoMarkPhotos);
    updateMarkedLabelCount();
    emit marksChanged();
}

void ReviewModel::unMarkAllDuplicate()
{
    m_marking.unMarkAllDuplicate(m_arrGroups);
    updateMarkedLabelCount();
    emit marksChanged();
}

void ReviewModel::updateMarkedCountSizeForSelectedFiles()
{
    m_marking.updateMarkedCountSizeForSelectedFiles(m_arrGroups);
    updateMarkedLabelCount();
}

void ReviewModel::decrementMarked(quint64 fileSize)
{
    m_marking.decrementMarked(fileSize);
}

void ReviewModel::removeMovedRecords()
{
    for (DuplicateGroup* group : m_arrMainGroup) {
        std::vector<FileInfoNode*>& shown = group->filteredChildren;
        for (size_t i = 0; i < shown.size();) {
            FileInfoNode* node = shown[i];
            if (node->isPhotosNode && !(node->photosInfo() && node->photosInfo()->isMovedToTrashAlbum)) {
                node->isMoveToTrash = false;
            } else if (node->state == 1 && node->isMoveToTrash) {
                shown.erase(shown.begin() + qsizetype(i));
                std::erase(group->children, node);
                continue;
            }
            ++i;
        }
    }
}

void ReviewModel::addObjectsToGroupArray()
{
    std::erase_if(m_arrMainGroup, [](const DuplicateGroup* g) { return g->children.size() < 2; });
    setGroups(getSortedArray(m_selectedCategoryIndex != kAllCategories
                                 ? checkAndRespondAccordingToCategory(m_selectedCategoryIndex)
                                 : m_arrMainGroup));
    quillonLog(QStringLiteral("Groups Count %1").arg(m_arrGroups.size()));
    m_summary.lblDupCount = QStringLiteral("%1 duplicate(s) found %2")
                                .arg(duplicateCountInCategory(m_arrGroups))
                                .arg(CommonFuncs::getSizeInUnits(quint64(duplicateGroupsSize(m_arrGroups))));
    if (m_arrGroups.empty() && m_arrMainGroup.empty()) {
        m_summary.exhausted = true;
    } else if (m_arrGroups.empty()) {
        m_summary.catIssueVisible = true;
        m_summary.lblSelectedCatIssue = QStringLiteral("All duplicates in this category have been cleaned");
        m_summary.autoSelectEnabled = false;
        m_summary.lblDupCount = QStringLiteral("There are no duplicates in this category");
    }
    emit groupsReset();
    updateMarkedLabelCount();
}

void ReviewModel::applyTrashRun(const TrashRun& run)
{
    for (const FileInfoNode* node : run.movedRecords())
        decrementMarked(node->fileSize);
    for (const FileInfoNode* node : run.albumRecords())
        decrementMarked(node->fileSize);
    removeMovedRecords();
    addObjectsToGroupArray();
}

void ReviewModel::restoreRecords(const std::vector<FileInfoNode*>& records)
{
    for (const FileInfoNode* node : records) {
        DuplicateGroup* group = node->parent;
        if (group && group->children.size() >= 2 &&
            std::find(m_arrMainGroup.begin(), m_arrMainGroup.end(), group) == m_arrMainGroup.end())
            m_arrMainGroup.push_back(group);
    }
    // What the emptied lists said no longer holds; the rebuild says it again if it must.
    m_summary.exhausted = false;
    m_summary.catIssueVisible = false;
    m_summary.lblSelectedCatIssue.clear();
    m_summary.autoSelectEnabled = true;
    addObjectsToGroupArray();
}

void ReviewModel::setGroups(std::optional<GroupList> groups)
{
    // A key without an ordering gives no list: nothing is shown.
    m_arrGroups = groups ? std::move(*groups) : GroupList();
}

void ReviewModel::updateMarkedLabelCount()
{
    m_summary.markedVisible = m_marking.countMarked() > 0;
    m_summary.lblNumMarkedFiles =
        m_summary.markedVisible
            ? QStringLiteral("%1 item(s) marked %2")
                  .arg(m_marking.countMarked())
                  .arg(CommonFuncs::getSizeInUnits(quint64(m_marking.sizeOfMarkedFiles())))
            : QString();
    emit summaryChanged();
}

void ReviewModel::setDupCountLine(const QString& title, const GroupList& groups)
{
    m_summary.lblDupCount = QStringLiteral("%1: %2 duplicate(s) found %3")
                                .arg(title)
                                .arg(duplicateCountInCategory(groups))
                                .arg(CommonFuncs::getSizeInUnits(quint64(duplicateGroupsSize(groups))));
    emit summaryChanged();
}
