#pragma once

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"

#include <QByteArray>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

class DataFiller;

// An item the scan could not read, with the system's reason.
struct SkippedItem
{
    QByteArray path;
    QString reason;
};

// A record and the later paths that reached the same file (device and inode) again.
struct SameFileAgain
{
    QByteArray path;
    std::vector<QByteArray> others;
};

// Everything one scan produced. It owns the records, the groups and the library loaders;
// every other holder (groups, review) keeps plain pointers into it.
struct ScanResult
{
    // Owning store of the records: blocks of kNodesPerBlock, so addresses stay put and a
    // record costs its own size (a deque holds two per block, each block with its overhead).
    static constexpr size_t kNodesPerBlock = 256;
    std::vector<std::unique_ptr<FileInfoNode[]>> nodeBlocks;
    size_t nodeCount = 0;
    std::vector<FileInfoNode*> arrFileNodes;                            // every record, in discovery order
    std::deque<DuplicateGroup> groups;                                  // owning store
    std::vector<DuplicateGroup*> arrMainGroup;                          // every group, in order of creation
    std::map<QByteArray, std::unique_ptr<DataFiller>> dictiPhotoFiller; // library path -> loader

    quint32 countScanned = 0;
    quint64 totSizeScanned = 0;
    quint32 countDup = 0;
    quint64 sizeDup = 0;
    bool aborted = false;
    std::vector<SkippedItem> skipped;         // in the order they were met
    std::vector<SameFileAgain> sameFileAgain; // records reached again, in walk order
    QString fatalError;                       // set when the scan ended on a resource failure

    std::mutex skippedMutex;

    ScanResult();
    ~ScanResult();
    ScanResult(const ScanResult&) = delete;
    ScanResult& operator=(const ScanResult&) = delete;

    // Adds a record to the store and to arrFileNodes; returns its stable address.
    FileInfoNode* addNode(FileInfoNode&& node);
    // A new empty group, appended to arrMainGroup.
    DuplicateGroup* addGroup();
    // Notes an unreadable item; safe from the hashing threads.
    void addSkipped(const QByteArray& path, const QString& reason);
    // How many later paths reached a file already recorded.
    size_t sameFileAgainCount() const;
    // Whether any group shows more than one member.
    bool isAnyGroupContainsDuplicate() const;
    // The hand-off: drops, in place and in order, every group showing fewer than 2 members.
    void removeGroupsWithoutDuplicates();
};
