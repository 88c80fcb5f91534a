#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

class CacheBatchWriter;
class ScanState;
struct FileInfoNode;
struct ScanResult;

// The hashing side of the grouping: the candidates (same-size buckets in grouping order),
// what is known of each, and the hashing threads' loop. Threads read first and last blocks
// in the order the walk met them and decide a bucket once its last edges are in; the full
// digests this asks for (as sets of possibly identical files) are queued, and once the
// edges are all read the threads share the queue out and digest their sets side by side in
// MD5 lanes.
class DigestWork
{
public:
    enum Status : quint8 {
        Pending,    // nothing known yet
        Cached,     // digest taken from the cache
        Unreadable, // vanished, changed, not a regular file or unreadable: no digest
        Digested,   // full digest computed
        EdgesRead,  // first and last block read, digest still unknown
        Unique,     // edges differ from every other file of its size: no full digest needed
        NeedFull,   // full digest to compute
    };
    static bool isFinal(quint8 status)
    {
        return status == Cached || status == Unreadable || status == Digested || status == Unique;
    }

    static constexpr qint64 kBlockSize = 4096;
    static constexpr qint64 kSlack = 64; // records the hashing threads run ahead before a wake-up

    DigestWork(ScanResult& result, ScanState& state, bool shareDigests);

    // One hashing thread's loop; returns when nothing is left or the scan is stopped.
    void run();

    std::vector<FileInfoNode*> cand;                  // candidates in grouping order
    std::vector<std::pair<quint32, quint32>> buckets; // [begin, end) in cand
    std::vector<quint64> edgeKey;                     // hash of the first and last blocks
    std::unique_ptr<std::atomic<quint8>[]> status;

    std::vector<quint32> firstBlocks; // candidates whose first and last blocks are read
    std::atomic<size_t> nextFirstBlock{0};
    std::unique_ptr<std::atomic<quint32>[]> remaining; // per bucket: first blocks still to read

    std::mutex mutex; // guards the queue, the counts below and the records' digests
    // Sets of candidates to digest fully; the members of a set share their size and edges,
    // so may be byte-identical.
    std::vector<std::vector<quint32>> fullQueue; // a heap, longest files on top: see queueSet
    void queueSet(std::vector<quint32> set);     // with the mutex held
    std::vector<quint32> takeSet();              // the longest; with the mutex held
    size_t bucketsUndecided = 0;
    int slicesInHand = 0;          // set slices the threads are digesting
    int threads = 1;               // hashing threads sharing the queue
    std::condition_variable done;  // hashing threads: work was queued, or the last bucket decided
    std::condition_variable ready; // the grouping thread: records it waits for became final
    // The candidate the grouping thread waits for, or -1: set under the mutex before it
    // waits, so a hashing thread wakes it only for that record, not for every one.
    std::atomic<qint64> awaited{-1};

    // Where computed digests go, in batches (set before the threads start; may be null).
    CacheBatchWriter* writer = nullptr;
    static constexpr size_t kBatchSize = 1000;
    // Hands what is left of the batch to the writer (after the threads have ended).
    void flushComputed();

private:
    // Called after the records [begin, end) became final: wakes the grouping thread when
    // they take the hashing threads far enough past the record it waits for.
    void finished(quint32 begin, quint32 end);
    void wakeGrouping();
    void computed(FileInfoNode* node);
    // Heap order of the queue: a set of shorter files is below one of longer files.
    bool shorter(const std::vector<quint32>& a, const std::vector<quint32>& b) const;
    size_t bucketOf(quint32 index) const;
    void readEdges(size_t index);
    void skip(const FileInfoNode& node, const QString& reason) const;
    void digestFully(size_t index);
    // Digests queued sets, this thread's share of them side by side, while there are any.
    void digestQueued();
    void decideBucket(size_t bucket);

    ScanResult& m_result;
    ScanState& m_state;
    bool m_shareDigests;
    std::mutex m_batchMutex;
    std::vector<FileInfoNode*> m_batch; // computed digests not yet handed to the writer
};
