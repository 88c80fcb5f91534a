#pragma once

#include "review/GroupOrdering.h"
#include "review/ReviewMarking.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <array>
#include <map>
#include <optional>
#include <vector>

class AlertPresenter;
class DataFiller;
class Settings;
class TrashRun;
struct DuplicateGroup;
struct FileInfoNode;

// What the results view shows around its tables: the summary labels and which buttons work.
struct ReviewSummary
{
    QString lblDupCount;
    bool catIssueVisible = false;
    QString lblSelectedCatIssue;
    bool autoSelectEnabled = true;
    bool markedVisible = false; // lblNumMarkedFiles shown; trash and deselect-all enabled
    QString lblNumMarkedFiles;
    bool exhausted = false; // every group has been cleaned out
};

// The results review without a window: the groups of a scan by category, name search and
// sort key, and the marks. The results view drives it and redraws on its signals; the Trash
// run removes marked files through it. Everything runs on the thread that owns it.
class ReviewModel : public QObject
{
    Q_OBJECT
public:
    using GroupList = std::vector<DuplicateGroup*>;
    static constexpr qint32 kAllCategories = -1;
    static constexpr int kCategoryCount = 6;

    // Neither is owned; both must outlive the model.
    ReviewModel(Settings& settings, AlertPresenter& alerts, QObject* parent = nullptr);

    // The hand-off of a finished scan; updateUIComponentsDetailView then shows the results.
    void setArrMainGroup(GroupList groups) { m_arrMainGroup = std::move(groups); }
    void setDupCount(qint32 dupCount) { m_dupCount = dupCount; }
    void setDictiPhotoFiller(std::map<QByteArray, DataFiller*> fillers)
    {
        m_dictiPhotoFiller = std::move(fillers);
    }
    // Fresh results: all categories, largest groups first, nothing marked.
    void updateUIComponentsDetailView();

    const GroupList& arrMainGroup() const { return m_arrMainGroup; }
    // The rows of the group table, in display order; a row's files are its filteredChildren.
    const GroupList& arrGroups() const { return m_arrGroups; }
    const std::map<QByteArray, DataFiller*>& dictiPhotoFiller() const { return m_dictiPhotoFiller; }
    qint32 selectedCategoryIndex() const { return m_selectedCategoryIndex; }
    quint32 sortType() const { return m_sortType; }
    qint32 sortOrder() const { return m_sortOrder; }
    const ReviewSummary& summary() const { return m_summary; }

    // Category titles and the alert for an empty category (0..5; -1 is "All Categories").
    static QString categoryTitle(qint32 index);
    static QString emptyCategoryMessage(qint32 index);
    // The category of a group: that of its first member.
    static qint32 groupCategory(const DuplicateGroup* group);
    // Duplicates (members past the first) of all results, per category, for the buttons.
    std::array<quint64, kCategoryCount> duplicateCountsByCategory() const;

    // A category button (0..5) or "All Categories" (-1). An empty category shows its alert
    // and changes nothing; returns whether the selection was made.
    bool selectCategory(qint32 index);
    void showAllGroupItems();
    // The groups of all results in the category, their filters reset; on a hit the
    // selection and the summary line follow.
    GroupList checkAndRespondAccordingToCategory(qint32 index);
    // The same walk over the shown groups, without touching the selection or summary.
    GroupList checkAndRespondAccordingToCategoryAfterSearch(qint32 index);
    void updateFilterChildrenForGroup();

    // The name search: trimmed, case-insensitive substring of any shown file's name.
    void runSearchForDuplicates(const QString& text);

    static quint64 duplicateCountInCategory(const GroupList& groups);
    static qint64 duplicateGroupsSize(const GroupList& groups);
    // Marked shown files of a group.
    static quint64 markedCount(const DuplicateGroup* group) { return GroupOrdering::markedCount(group); }

    // Display order for the current key and order; nothing for a key of 1 or above 4.
    std::optional<GroupList> getSortedArray(const GroupList& groups) const;
    static std::optional<GroupList> getSortedArray(const GroupList& groups, quint32 sortType,
                                                   qint32 sortOrder);
    // The sort pop-up: items 0, 2, 3, 4 choose the key, 6 ascending, 7 descending; any other
    // item changes nothing. Re-sorts the shown groups either way.
    void selectSortingType(int itemIndex);
    // The pop-up items that carry a check mark: the key and the order.
    std::array<int, 2> checkedSortItems() const { return {int(m_sortType), m_sortOrder + 6}; }

    // Marking.
    qint32 countMarked() const { return m_marking.countMarked(); }
    qint64 sizeOfMarkedFiles() const { return m_marking.sizeOfMarkedFiles(); }
    qint32 keepFile() const { return m_marking.keepFile(); }
    static bool isAllNodesSelectedExceptOne(const FileInfoNode* node)
    {
        return ReviewMarking::isAllNodesSelectedExceptOne(node);
    }
    // A file's check box; returns the state the box must show afterwards.
    int updateNodeState(FileInfoNode* node, bool checked);
    // The keep control (0, 1, 2) applied to a group (the first shown group when null).
    void keepFileOption(qint32 keepFile, DuplicateGroup* group = nullptr);
    void keepFileAcoordingToSelectedOption(DuplicateGroup* group);
    // Automatic marking of all shown groups by "autoSelectOption" (1 keeps the oldest) and
    // "autoMarkPhotos". The confirmation panel is the view's.
    void proceedToautoMarkAllitems();
    // The same with the rule given, without settings or alerts (the command line).
    void autoMarkAll(KeepRule keep, bool autoMarkPhotos);
    void unMarkAllDuplicate();
    void updateMarkedCountSizeForSelectedFiles();

    // After a Trash run, on this model's thread. Each moved file leaves the totals (the
    // group's groupSize is the mover's to reduce); no signal, addObjectsToGroupArray
    // refreshes the summary.
    void decrementMarked(quint64 fileSize);
    // Drops every marked member with isMoveToTrash from children and filteredChildren of all
    // groups (a Photos item not put in the album is kept and its isMoveToTrash cleared).
    void removeMovedRecords();
    // Drops groups left with fewer than 2 members and rebuilds the shown list and summary.
    void addObjectsToGroupArray();
    // A finished Trash run: what left comes off the marked totals and out of both member
    // lists, then the shown groups are rebuilt.
    void applyTrashRun(const TrashRun& run);
    // Records Put Back returned to their groups (unmarked): groups that had left for being too
    // small come back, then the shown groups are rebuilt.
    void restoreRecords(const std::vector<FileInfoNode*>& records);

Q_SIGNALS:
    // arrGroups was replaced or reordered: reload the group table and select row 0.
    void groupsReset();
    // Marks changed: redraw check boxes and the groups' marked counts.
    void marksChanged();
    // summary() changed.
    void summaryChanged();

private:
    GroupList categoryWalk(const GroupList& source, qint32 index) const;
    void setGroups(std::optional<GroupList> groups);
    void updateMarkedLabelCount();
    void setDupCountLine(const QString& title, const GroupList& groups);

    Settings& m_settings;
    AlertPresenter& m_alerts;
    GroupList m_arrMainGroup;
    GroupList m_arrGroups;
    std::map<QByteArray, DataFiller*> m_dictiPhotoFiller;
    qint32 m_selectedCategoryIndex = kAllCategories;
    quint32 m_sortType = 0;
    qint32 m_sortOrder = 1;
    qint32 m_dupCount = 0;
    ReviewMarking m_marking;
    ReviewSummary m_summary;
};
