#include "TrashCommand.h"

#include "app/AppGlobals.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/TrashRun.h"

#include <QEventLoop>
#include <QTimer>

void TrashCommand::mark(const std::vector<DuplicateGroup*>& groups)
{
    m_groups = groups;
    ReviewMarking marking;
    marking.markAllButOne(m_groups, m_keep, m_autoMarkPhotos);
    m_countMarked = marking.countMarked();
    m_sizeOfMarkedFiles = quint64(marking.sizeOfMarkedFiles());
    m_outcomes.clear();
    for (const DuplicateGroup* group : m_groups)
        for (const FileInfoNode* node : group->filteredChildren)
            if (node->state == 1)
                m_outcomes[node] = {FileOutcome::Kind::WouldMove, {}};
}

void TrashCommand::move(TrashInterface& trash, PhotosAlbumInterface& album,
                        const std::atomic<bool>& interrupted,
                        const std::function<void(const TrashRun&)>& poll)
{
    m_moveRan = true;
    TrashRun run(trash, album);
    QEventLoop loop;
    QObject::connect(&run, &TrashRun::finished, &loop, &QEventLoop::quit);
    QTimer ticker;
    ticker.setInterval(100);
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        if (interrupted.load())
            run.abortCleanning();
        if (poll)
            poll(run);
    });
    if (run.trashMarkedFiles(m_groups, m_countMarked, m_sizeOfMarkedFiles)) {
        ticker.start();
        // finished() is queued, so it cannot be missed even when the run ends before exec().
        loop.exec();
        ticker.stop();
    }

    for (const FileInfoNode* node : run.movedRecords())
        m_outcomes[node] = {FileOutcome::Kind::Moved, {}};
    for (const FileInfoNode* node : run.albumRecords())
        m_outcomes[node] = {FileOutcome::Kind::InAlbum, {}};
    for (const NotTrashedFile& kept : run.arrFileNotTrashed())
        m_outcomes[kept.node] = {FileOutcome::Kind::NotMoved, kept.reason};

    m_countMoved = 0;
    m_sizeMoved = 0;
    m_countStopped = 0;
    m_notMoved.clear();
    for (const DuplicateGroup* group : m_groups) {
        for (const FileInfoNode* node : group->filteredChildren) {
            const auto it = m_outcomes.find(node);
            if (it == m_outcomes.end())
                continue;
            FileOutcome& outcome = it->second;
            if (outcome.kind == FileOutcome::Kind::WouldMove) {
                // Marked, but the run never moved it: stopped first, or a Photos item that
                // did not reach the album.
                outcome.kind = FileOutcome::Kind::NotMoved;
                outcome.reason =
                    run.wasStopped() ? kStoppedReason
                    : node->isPhotosNode
                        ? QStringLiteral("not added to the album \"%1\"").arg(AppGlobals::photosAlbumName)
                        : QStringLiteral("not moved");
            }
            if (outcome.kind == FileOutcome::Kind::NotMoved) {
                m_notMoved.emplace_back(node, outcome.reason);
                m_countStopped += outcome.reason == kStoppedReason;
            } else {
                ++m_countMoved;
                m_sizeMoved += node->fileSize;
            }
        }
    }
}

FileOutcome TrashCommand::outcome(const FileInfoNode* node) const
{
    const auto it = m_outcomes.find(node);
    return it == m_outcomes.end() ? FileOutcome{} : it->second;
}
