#include "review/TrashRun.h"

#include "libraries/DataFiller.h"
#include "libraries/PhotosNode.h"
#include "libraries/iPhotoNode.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "platform/FileAttributes.h"
#include "review/PhotosAlbum.h"
#include "util/Log.h"

#include <QThread>
#include <algorithm>

namespace {

// Media items go to the album in batches, to keep the messages between applications few.
constexpr int kAlbumBatch = 100;

} // namespace

TrashRun::TrashRun(TrashInterface& trash, PhotosAlbumInterface& album, QObject* parent)
    : QObject(parent), m_trash(trash), m_album(album), m_proof(isAbortClean, m_bytesCompared)
{}

TrashRun::~TrashRun()
{
    isAbortClean.store(true);
    if (m_thread)
        m_thread->wait();
}

bool TrashRun::trashMarkedFiles(const std::vector<DuplicateGroup*>& arrGroups, int countMarked,
                                quint64 sizeOfMarkedFiles)
{
    if (m_running)
        return false;
    if (m_thread)
        m_thread->wait();
    m_running = true;
    isAbortClean.store(false);
    m_countTrashed.store(0);
    m_sizeTrashed.store(0);
    m_bytesCompared.store(0);
    m_countMarked.store(countMarked);
    m_sizeOfMarkedFiles.store(sizeOfMarkedFiles);
    dictiPhotoCleanedKeys.clear();
    dictPhotosCleanerKeys.clear();
    m_inAlbum.clear();
    m_moved.clear();
    m_notTrashed.clear();
    m_trashed.clear();
    m_putBack.clear();

    m_thread.reset(QThread::create([this, arrGroups] {
        run(arrGroups);
        QMetaObject::invokeMethod(
            this,
            [this] {
                m_running = false;
                applyToRecords();
                Q_EMIT finished();
            },
            Qt::QueuedConnection);
    }));
    m_thread->start();
    return true;
}

void TrashRun::countRemoved(quint64 size)
{
    m_sizeTrashed.fetch_add(size);
    m_countTrashed.fetch_add(1);
    m_sizeOfMarkedFiles.fetch_sub(std::min(size, m_sizeOfMarkedFiles.load()));
    m_countMarked.fetch_sub(1);
}

void TrashRun::run(std::vector<DuplicateGroup*> groups)
{
    for (DuplicateGroup* group : groups) {
        const size_t count = group->filteredChildren.size();
        for (size_t i = 0; i < count; ++i) {
            if (isAbortClean.load())
                break;
            FileInfoNode* node = group->filteredChildren[i];
            if (node->state != 1)
                continue;
            QString reason;
            const bool moved = trashFile(*node, &reason);
            if (node->isPhotosNode)
                continue;
            if (moved) {
                m_moved.push_back(node);
                countRemoved(node->fileSize);
            } else if (!reason.isEmpty()) {
                m_notTrashed.push_back({node, reason});
            }
        }
    }

    for (const auto& [library, loader] : dictiPhotoCleanedKeys)
        loader->finalizeTrashOperation();

    if (!dictPhotosCleanerKeys.empty())
        collectIntoAlbum();
}

bool TrashRun::trashFile(FileInfoNode& node, QString* reason)
{
    if (node.isiPhotoNode && node.obj_iPhoto() && node.iPhotoInfo()) {
        dictiPhotoCleanedKeys[node.obj_iPhoto()->libPath] = node.obj_iPhoto();
        node.obj_iPhoto()->moveNodeToiPhotoTrash(node.iPhotoInfo()->index);
        return true;
    }
    if (node.isPhotosNode) {
        dictPhotosCleanerKeys[node.libraryPath()].push_back(&node);
        return true;
    }

    const RemovalProof::Result proof = m_proof.check(node);
    if (proof.verdict != RemovalProof::Verdict::Proved) {
        *reason = RemovalProof::reasonText(proof.verdict);
        return false;
    }
    TrashOutcome outcome = m_trash.moveToTrash(node.filePath);
    if (!outcome.moved) {
        *reason = outcome.errorText;
        return false;
    }
    m_trashed.push_back({&node, node.filePath, std::move(outcome)});
    return true;
}

void TrashRun::collectIntoAlbum()
{
    for (const auto& [library, records] : dictPhotosCleanerKeys) {
        if (!m_album.isAlbumCreated() &&
            (!m_album.createDuplicatesMarkedForTrashAlbum() || !m_album.isAlbumCreated())) {
            quillonLog(QStringLiteral("Error!! We are not able to create the album"));
            return;
        }
        QStringList uuids;
        for (const FileInfoNode* node : records)
            uuids.append(node->photosInfo() ? node->photosInfo()->uuIDRkVersion : QString());
        const QSet<QString> known = m_album.knownMediaItems(uuids);

        QStringList batch;
        for (size_t i = 0; i < records.size() && !isAbortClean.load(); ++i) {
            if (!known.contains(uuids[int(i)]))
                continue;
            batch.append(uuids[int(i)]);
            m_inAlbum.push_back(records[i]);
            if (batch.size() % kAlbumBatch == 0) {
                m_album.addToAlbum(batch);
                batch.clear();
            }
            countRemoved(quint64(std::max<qint64>(records[i]->photosInfo()->fileSize, 0)));
        }
        if (!batch.isEmpty())
            m_album.addToAlbum(batch);
    }
}

void TrashRun::applyToRecords()
{
    for (FileInfoNode* node : m_moved) {
        node->isMoveToTrash = true;
        if (node->parent)
            node->parent->groupSize -= std::min(node->parent->groupSize, node->fileSize);
    }
    for (const NotTrashedFile& kept : m_notTrashed)
        kept.node->isMoveToTrash = false;
    // Photos items count as moved until the album step says otherwise.
    for (auto& [library, records] : dictPhotosCleanerKeys) {
        for (FileInfoNode* node : records)
            node->isMoveToTrash = true;
    }
    for (FileInfoNode* node : m_inAlbum)
        node->photosInfo()->isMovedToTrashAlbum = true;
}

void TrashRun::removeMovedRecords(const std::vector<DuplicateGroup*>& arrMainGroup)
{
    for (DuplicateGroup* group : arrMainGroup) {
        auto& shown = group->filteredChildren;
        for (size_t i = 0; i < shown.size();) {
            FileInfoNode* node = shown[i];
            if (node->isPhotosNode && !(node->photosInfo() && node->photosInfo()->isMovedToTrashAlbum)) {
                node->isMoveToTrash = false;
                ++i;
            } else if (node->state == 1 && node->isMoveToTrash) {
                shown.erase(shown.begin() + qsizetype(i));
                std::erase(group->children, node);
            } else {
                ++i;
            }
        }
    }
}

std::vector<NotPutBackFile> TrashRun::putBack()
{
    std::vector<NotPutBackFile> stayed;
    if (m_running)
        return stayed;
    for (const Trashed& item : m_trashed) {
        const PutBackOutcome outcome = m_trash.putBack(item.outcome, item.originalPath);
        if (!outcome.restored) {
            stayed.push_back({item.node, item.outcome.trashedPath, outcome.errorText});
            continue;
        }
        FileInfoNode* node = item.node;
        // The moves changed only the status-change time; the proof must accept the file again.
        if (const auto now = FileAttributes::ofItem(item.originalPath); now && now->device == node->device &&
                                                                        now->inode == node->inode &&
                                                                        now->modTimeNs == node->modTimeNs)
            node->changeTimeNs = now->changeTimeNs;
        node->state = 0;
        node->isMoveToTrash = false;
        if (DuplicateGroup* group = node->parent) {
            if (std::find(group->children.begin(), group->children.end(), node) == group->children.end()) {
                group->children.push_back(node);
                group->filteredChildren.push_back(node);
            }
            group->groupSize += node->fileSize;
        }
        m_putBack.push_back(node);
    }
    m_trashed.clear();
    return stayed;
}
