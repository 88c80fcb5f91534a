#include "review/ReviewMarking.h"

#include "app/AppGlobals.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "util/AlertPresenter.h"
#include "util/LinqExtensions.h"

namespace LE = LinqExtensions;

namespace {

bool isLibraryItem(const FileInfoNode* node)
{
    return AppGlobals::isPhotosAppInstalled ? node->isPhotosNode : node->isiPhotoNode;
}

} // namespace

void ReviewMarking::resetTotals()
{
    m_countMarked = 0;
    m_sizeOfMarkedFiles = 0;
}

void ReviewMarking::decrementMarked(quint64 fileSize)
{
    m_countMarked -= 1;
    m_sizeOfMarkedFiles -= qint64(fileSize);
}

bool ReviewMarking::isAllNodesSelectedExceptOne(const FileInfoNode* node)
{
    const auto unmarked =
        LE::count(node->parent->filteredChildren, [](const FileInfoNode* f) { return f->state == 0; });
    return unmarked >= 2;
}

int ReviewMarking::updateNodeState(FileInfoNode* node, bool checked, AlertPresenter& alerts)
{
    if (!checked) {
        // The check box mirrors the state, so no test that the file was marked.
        node->state = 0;
        m_sizeOfMarkedFiles -= qint64(node->fileSize);
        m_countMarked -= 1;
    } else if (isAllNodesSelectedExceptOne(node)) {
        if (node->state != 0) {
            m_sizeOfMarkedFiles -= qint64(node->fileSize);
            m_countMarked -= 1;
        } else {
            m_sizeOfMarkedFiles += qint64(node->fileSize);
            m_countMarked += 1;
        }
        node->state = 1;
    } else {
        alerts.runModal(Alert{QStringLiteral("Oops! You cannot mark all files in the same group"),
                              QString(),
                              {QStringLiteral("OK")}});
    }
    return node->state;
}

void ReviewMarking::keepFileAcoordingToSelectedOption(DuplicateGroup* group, bool autoMarkPhotos)
{
    for (FileInfoNode* node : group->filteredChildren) {
        if (node->state == 1)
            unmark(node);
    }
    if (m_keepFile == 1 || m_keepFile == 2)
        markAllButLast(orderForMarking(group->filteredChildren, m_keepFile == 1, autoMarkPhotos));
}

void ReviewMarking::markAllButOne(const GroupList& groups, KeepRule keep, bool autoMarkPhotos)
{
    unMarkAllDuplicate(groups);
    // Oldest first keeps the newest; newest first keeps the oldest.
    for (DuplicateGroup* group : groups)
        markAllButLast(orderForMarking(group->filteredChildren, keep == KeepRule::Newest, autoMarkPhotos));
}

void ReviewMarking::unMarkAllDuplicate(const GroupList& groups)
{
    resetTotals();
    for (DuplicateGroup* group : groups) {
        for (FileInfoNode* node : group->filteredChildren)
            node->state = 0;
    }
}

void ReviewMarking::updateMarkedCountSizeForSelectedFiles(const GroupList& groups)
{
    resetTotals();
    for (const DuplicateGroup* group : groups) {
        for (const FileInfoNode* node : group->filteredChildren) {
            if (node->state == 1) {
                m_countMarked += 1;
                m_sizeOfMarkedFiles += qint64(node->fileSize);
            }
        }
    }
}

ReviewMarking::FileList ReviewMarking::getSortedArrayAccordingToDate(const FileList& files)
{
    return LE::sortDesc(files, [](const FileInfoNode* f) { return qint64(f->createDate); });
}

ReviewMarking::FileList ReviewMarking::getSortedArrayItemBelognsToPhotosApp(const FileList& files)
{
    return LE::sortDesc(files, [](const FileInfoNode* f) { return isLibraryItem(f) ? 1 : 0; });
}

ReviewMarking::FileList ReviewMarking::getSortedArrayItemBelognsToNonPhotosApp(const FileList& files)
{
    return LE::sortDesc(files, [](const FileInfoNode* f) { return isLibraryItem(f) ? 0 : 1; });
}

ReviewMarking::FileList ReviewMarking::orderForMarking(const FileList& files, bool oldestFirst,
                                                       bool autoMarkPhotos)
{
    FileList ordered = getSortedArrayAccordingToDate(files);
    if (oldestFirst)
        ordered = LE::reverse(ordered);
    return autoMarkPhotos ? getSortedArrayItemBelognsToPhotosApp(ordered)
                          : getSortedArrayItemBelognsToNonPhotosApp(ordered);
}

void ReviewMarking::mark(FileInfoNode* node)
{
    node->state = 1;
    m_countMarked += 1;
    m_sizeOfMarkedFiles += qint64(node->fileSize);
}

void ReviewMarking::unmark(FileInfoNode* node)
{
    node->state = 0;
    m_countMarked -= 1;
    m_sizeOfMarkedFiles -= qint64(node->fileSize);
}

void ReviewMarking::markAllButLast(const FileList& ordered)
{
    for (size_t i = 0; i + 1 < ordered.size(); ++i)
        mark(ordered[i]);
}
