#pragma once

#include "platform/Trash.h"
#include "review/RemovalProof.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <map>
#include <memory>
#include <vector>

class DataFiller;
class PhotosAlbumInterface;
class QThread;
struct DuplicateGroup;
struct FileInfoNode;
struct PhotosNode;

// A marked plain file that stayed where it is, and why.
struct NotTrashedFile
{
    FileInfoNode* node = nullptr;
    QString reason;
};

// A plain file that Put Back could not return.
struct NotPutBackFile
{
    FileInfoNode* node = nullptr;
    QByteArray trashedPath; // where it still is
    QString reason;
};

// Moves the marked members of the shown groups away on a worker thread: plain files to the
// Trash after the removal proof, iPhoto photos to their library's trash, Photos items into
// the album of marked photos. The records are only written on the owner's thread, when the
// run has finished; progress is read from atomics on a timer.
class TrashRun : public QObject
{
    Q_OBJECT

public:
    TrashRun(TrashInterface& trash, PhotosAlbumInterface& album, QObject* parent = nullptr);
    // Raises the stop flag and waits for the worker.
    ~TrashRun() override;

    // Starts a run over the shown groups (their filteredChildren, in order) with the view's
    // marked count and size; false while a run is under way.
    bool trashMarkedFiles(const std::vector<DuplicateGroup*>& arrGroups, int countMarked,
                          quint64 sizeOfMarkedFiles);
    // The stop button: nothing more is moved after the current file.
    void abortCleanning() { isAbortClean.store(true); }
    bool isRunning() const { return m_running; }

    // Progress, readable from any thread at any time.
    int countTrashed() const { return m_countTrashed.load(); }
    quint64 sizeTrashed() const { return m_sizeTrashed.load(); }
    int countMarked() const { return m_countMarked.load(); }
    quint64 sizeOfMarkedFiles() const { return m_sizeOfMarkedFiles.load(); }
    quint64 bytesCompared() const { return m_bytesCompared.load(); }
    bool wasStopped() const { return isAbortClean.load(); }

    // After finished(): the files that stayed, with the reason, in walk order.
    const std::vector<NotTrashedFile>& arrFileNotTrashed() const { return m_notTrashed; }
    // After finished(): the records that left (isMoveToTrash set), in walk order.
    const std::vector<FileInfoNode*>& movedRecords() const { return m_moved; }
    // After finished(): the Photos items that reached the album.
    const std::vector<FileInfoNode*>& albumRecords() const { return m_inAlbum; }

    // Drops the records that left from both member lists of every group; a Photos item that did
    // not reach the album has isMoveToTrash cleared and stays. The caller then rebuilds the
    // shown groups (addObjectsToGroupArray).
    static void removeMovedRecords(const std::vector<DuplicateGroup*>& arrMainGroup);

    // Returns every plain file of the last run to its place when that place is still free and
    // puts its record back into its group, unmarked (the caller rebuilds the shown groups).
    // Returns the files that stay in the Trash. Runs on the caller's thread; not during a run.
    std::vector<NotPutBackFile> putBack();
    // Whether the last run moved plain files that Put Back could return.
    bool canPutBack() const { return !m_running && !m_trashed.empty(); }
    // The records Put Back returned, after putBack().
    const std::vector<FileInfoNode*>& putBackRecords() const { return m_putBack; }

    std::atomic<bool> isAbortClean{false};

Q_SIGNALS:
    // Queued to the owner's thread when the run has ended (also after Stop).
    void finished();

private:
    struct Trashed
    {
        FileInfoNode* node;
        QByteArray originalPath;
        TrashOutcome outcome;
    };

    void run(std::vector<DuplicateGroup*> groups);
    // Worker thread: moves one marked item; false (with the reason) when it stays.
    bool trashFile(FileInfoNode& node, QString* reason);
    void collectIntoAlbum();
    void countRemoved(quint64 size);
    void applyToRecords();

    TrashInterface& m_trash;
    PhotosAlbumInterface& m_album;
    RemovalProof m_proof;
    std::unique_ptr<QThread> m_thread;
    bool m_running = false;

    std::atomic<int> m_countTrashed{0};
    std::atomic<quint64> m_sizeTrashed{0};
    std::atomic<int> m_countMarked{0};
    std::atomic<quint64> m_sizeOfMarkedFiles{0};
    std::atomic<quint64> m_bytesCompared{0};

    // Written by the worker, read by the owner after the run.
    std::map<QByteArray, DataFiller*> dictiPhotoCleanedKeys;
    std::map<QByteArray, std::vector<FileInfoNode*>> dictPhotosCleanerKeys;
    std::vector<FileInfoNode*> m_inAlbum;
    std::vector<FileInfoNode*> m_moved;
    std::vector<NotTrashedFile> m_notTrashed;
    std::vector<Trashed> m_trashed;
    std::vector<FileInfoNode*> m_putBack;
};
