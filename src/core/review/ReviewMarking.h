#pragma once

#include <QtGlobal>
#include <vector>

class AlertPresenter;
struct DuplicateGroup;
struct FileInfoNode;

// Which file of a group automatic marking leaves unmarked.
enum class KeepRule { Oldest, Newest };

// The marks of the review and their running totals. One rule holds everywhere: at least one
// shown file of every group stays unmarked. Works on the groups it is given (the shown ones);
// it keeps no list of its own.
class ReviewMarking
{
public:
    using GroupList = std::vector<DuplicateGroup*>;
    using FileList = std::vector<FileInfoNode*>;

    qint32 countMarked() const { return m_countMarked; }
    qint64 sizeOfMarkedFiles() const { return m_sizeOfMarkedFiles; }
    // The keep control: 0 only unmarks, 1 keeps the newest, 2 the oldest.
    qint32 keepFile() const { return m_keepFile; }
    void setKeepFile(qint32 keepFile) { m_keepFile = keepFile; }

    // Fresh results: nothing counted yet.
    void resetTotals();
    // A marked file has left (moved to a Trash or an album): one fewer, its bytes fewer.
    void decrementMarked(quint64 fileSize);

    // True when at least two shown files of the node's group are unmarked, so one more may
    // be marked (the name says the opposite; the behaviour is what callers rely on).
    static bool isAllNodesSelectedExceptOne(const FileInfoNode* node);

    // A file row's check box turned on or off. Refuses, with the alert, to mark the last
    // unmarked shown file of a group. Returns the file's state afterwards.
    int updateNodeState(FileInfoNode* node, bool checked, AlertPresenter& alerts);

    // Unmarks the group's shown files, then, for keepFile 1 or 2, marks all but one by date,
    // library copies ordered by autoMarkPhotos.
    void keepFileAcoordingToSelectedOption(DuplicateGroup* group, bool autoMarkPhotos);

    // Clears the shown marks of the groups, then marks all but one shown file of each.
    void markAllButOne(const GroupList& groups, KeepRule keep, bool autoMarkPhotos);

    // State 0 on every shown file of the groups; totals 0 (marks of other groups stay).
    void unMarkAllDuplicate(const GroupList& groups);

    // The totals recomputed from the marked shown files of the groups.
    void updateMarkedCountSizeForSelectedFiles(const GroupList& groups);

    // Newest first by creation date in whole seconds (no date counts as 0). Stable.
    static FileList getSortedArrayAccordingToDate(const FileList& files);
    // Library items first / last; otherwise the order is kept. The library kind is Photos
    // when AppGlobals::isPhotosAppInstalled is set, else iPhoto.
    static FileList getSortedArrayItemBelognsToPhotosApp(const FileList& files);
    static FileList getSortedArrayItemBelognsToNonPhotosApp(const FileList& files);

private:
    // Orders the files by the date rule and the library rule; the last one is kept.
    static FileList orderForMarking(const FileList& files, bool oldestFirst, bool autoMarkPhotos);
    void mark(FileInfoNode* node);
    void unmark(FileInfoNode* node);
    void markAllButLast(const FileList& ordered);

    qint32 m_countMarked = 0;
    qint64 m_sizeOfMarkedFiles = 0;
    qint32 m_keepFile = 0;
};
