#include "scan/DigestWork.h"

#include "model/ScanResult.h"
#include "scan/CacheBatchWriter.h"
#include "scan/IdenticalSetDigest.h"
#include "scan/PackageDigest.h"
#include "scan/RecordedFile.h"
#include "scan/ScanState.h"
#include "util/CommonFuncs.h"

#include <algorithm>
#include <unordered_map>

DigestWork::DigestWork(ScanResult& result, ScanState& state, bool shareDigests)
    : m_result(result), m_state(state), m_shareDigests(shareDigests)
{}

void DigestWork::finished(quint32 begin, quint32 end)
{
    // The grouping thread is woken once the hashing threads are kSlack records past the one
    // it waits for, so it takes them in a batch instead of waking for every record; a hashing
    // thread that runs out of work wakes it too, and it looks again every 50 ms regardless.
    // The status stores before this and its store of `awaited` before its status check are
    // sequentially consistent, and taking the mutex makes sure it is inside its wait.
    const qint64 waitingFor = awaited.load();
    if (waitingFor >= 0 && qint64(end) > waitingFor + kSlack && qint64(begin) <= waitingFor + kSlack)
        wakeGrouping();
}

void DigestWork::wakeGrouping()
{
    if (awaited.load() < 0)
        return;
    std::lock_guard lock(mutex);
    ready.notify_all();
}

// The longest files are digested first: they take the longest in a lane, and the shorter
// ones fill the lanes that free up meanwhile, so the lanes run out together.
bool DigestWork::shorter(const std::vector<quint32>& a, const std::vector<quint32>& b) const
{
    return cand[a.front()]->fileSize < cand[b.front()]->fileSize;
}

void DigestWork::queueSet(std::vector<quint32> set)
{
    fullQueue.push_back(std::move(set));
    std::push_heap(fullQueue.begin(), fullQueue.end(),
                   [this](const auto& a, const auto& b) { return shorter(a, b); });
}

std::vector<quint32> DigestWork::takeSet()
{
    std::pop_heap(fullQueue.begin(), fullQueue.end(),
                  [this](const auto& a, const auto& b) { return shorter(a, b); });
    std::vector<quint32> set = std::move(fullQueue.back());
    fullQueue.pop_back();
    return set;
}

void DigestWork::computed(FileInfoNode* node)
{
    std::lock_guard lock(m_batchMutex);
    m_batch.push_back(node);
    if (m_batch.size() >= kBatchSize && writer) {
        writer->add(m_batch);
        m_batch.clear();
    }
}

void DigestWork::flushComputed()
{
    std::lock_guard lock(m_batchMutex);
    if (writer)
        writer->add(m_batch);
    m_batch.clear();
}

size_t DigestWork::bucketOf(quint32 index) const
{
    const auto it = std::upper_bound(buckets.begin(), buckets.end(), index,
                                     [](quint32 i, const auto& range) { return i < range.first; });
    return size_t(it - buckets.begin()) - 1;
}

void DigestWork::readEdges(size_t index)
{
    FileInfoNode& node = *cand[index];
    const RecordedFile::Edges edges = RecordedFile::readEdges(node, kBlockSize);
    quint8 outcome = Unreadable;
    if (!edges.md5.isEmpty()) {
        node.md5 = edges.md5; // the whole file fitted in the first block
        outcome = Digested;
    } else if (edges.reason.isEmpty()) {
        edgeKey[index] = edges.key;
        outcome = EdgesRead;
    } else {
        skip(node, edges.reason);
    }
    status[index].store(outcome);
    if (outcome == Digested)
        computed(&node);
}

void DigestWork::skip(const FileInfoNode& node, const QString& reason) const
{
    CommonFuncs::logMissingDigest(node.filePath, &m_state.abortMe);
    if (!m_state.aborted() && !reason.isEmpty())
        m_result.addSkipped(node.filePath, reason);
}

void DigestWork::digestFully(size_t index)
{
    FileInfoNode& node = *cand[index];
    m_state.setCurrentFile(node.filePath, true); // a long read: show it whatever the last update
    QString reason;
    QByteArray digest =
        node.isDirectory ? PackageDigest::calculateMd5ForPackageFile(node.filePath, &m_state.abortMe, &reason)
                         : RecordedFile::digest(node, &m_state.abortMe, reason);
    if (m_state.aborted())
        digest.clear(); // the item being read when the scan was stopped gets no digest
    if (digest.isEmpty())
        skip(node, reason);
    {
        std::lock_guard lock(mutex);
        node.md5 = digest;
        status[index].store(digest.isEmpty() ? Unreadable : Digested);
    }
    if (!node.md5.isEmpty())
        computed(&node);
    wakeGrouping(); // a long read: the grouping thread need not wait for more
}

void DigestWork::digestQueued()
{
    if (!m_shareDigests) { // the plain walk: one set at a time, each file read on its own
        std::vector<quint32> set;
        {
            std::lock_guard lock(mutex);
            if (fullQueue.empty())
                return;
            set = takeSet();
        }
        for (size_t k = 0; k < set.size() && !m_state.aborted(); ++k)
            digestFully(set[k]);
        return;
    }
    // A set popped from the queue, in slices of at most kMaxOpen members; packages, and the
    // members that could not be settled side by side, are read on their own after.
    std::vector<quint32> current;
    std::vector<quint32> alone;
    int mine = 0; // slices in this thread's hands
    const auto next = [&](IdenticalSetDigest::Set& set) {
        for (;;) {
            if (current.empty()) {
                std::lock_guard lock(mutex);
                if (fullQueue.empty())
                    return false;
                // The queued sets are shared out between the threads, so that every thread
                // has lanes to fill and reads its part.
                const size_t share =
                    (size_t(slicesInHand) + fullQueue.size() + threads - 1) / size_t(threads);
                if (mine > 0 && size_t(mine) >= share)
                    return false;
                current = takeSet();
                if (cand[current.front()]->isDirectory) {
                    alone.insert(alone.end(), current.begin(), current.end());
                    current.clear();
                    continue;
                }
            }
            const size_t take = std::min(current.size(), IdenticalSetDigest::kMaxOpen);
            set.tags.assign(current.begin(), current.begin() + qsizetype(take));
            current.erase(current.begin(), current.begin() + qsizetype(take));
            set.nodes.clear();
            for (quint32 index : set.tags)
                set.nodes.push_back(cand[index]);
            m_state.setCurrentFile(set.nodes.front()->filePath, true);
            std::lock_guard lock(mutex);
            ++slicesInHand;
            ++mine;
            return true;
        }
    };
    const auto settle = [&](IdenticalSetDigest::Set& set) {
        std::vector<FileInfoNode*> digested;
        {
            std::lock_guard lock(mutex);
            --slicesInHand;
            --mine;
            for (size_t k = 0; k < set.tags.size(); ++k) {
                if (set.digests[k].isEmpty()) {
                    alone.push_back(set.tags[k]);
                    continue;
                }
                set.nodes[k]->md5 = std::move(set.digests[k]);
                status[set.tags[k]].store(Digested);
                digested.push_back(set.nodes[k]);
            }
        }
        for (FileInfoNode* node : digested)
            computed(node);
        wakeGrouping();
    };
    IdenticalSetDigest::run(next, settle, &m_state.abortMe);
    // A set left over after a stop goes back to the queue (nothing more is read, and the
    // grouping stops before those records).
    if (!current.empty()) {
        std::lock_guard lock(mutex);
        queueSet(std::move(current));
    }
    // Read on their own, which gives the reason of what could not be read.
    for (size_t k = 0; k < alone.size() && !m_state.aborted(); ++k)
        digestFully(alone[k]);
}

void DigestWork::decideBucket(size_t bucket)
{
    const auto [begin, end] = buckets[bucket];
    bool anyCached = false;
    for (quint32 i = begin; i < end; ++i)
        anyCached = anyCached || status[i].load() == Cached;
    // Another file of the size whose edges are unknown (cached) could share the digest.
    std::unordered_map<quint64, quint32> keyCount;
    if (!anyCached)
        for (quint32 i = begin; i < end; ++i)
            if (status[i].load() == EdgesRead)
                ++keyCount[edgeKey[i]];
    // Candidates with equal edges form one set, in order of their first member.
    std::vector<std::vector<quint32>> sets;
    std::unordered_map<quint64, size_t> setOfKey;
    for (quint32 i = begin; i < end; ++i) {
        if (status[i].load() != EdgesRead)
            continue;
        if (!anyCached && keyCount[edgeKey[i]] == 1) {
            status[i].store(Unique);
            continue;
        }
        status[i].store(NeedFull);
        if (!m_shareDigests) {
            sets.push_back({i});
            continue;
        }
        const auto [it, inserted] = setOfKey.try_emplace(edgeKey[i], sets.size());
        if (inserted)
            sets.emplace_back();
        sets[it->second].push_back(i);
    }
    bool wakeAll = false;
    {
        std::lock_guard lock(mutex);
        for (std::vector<quint32>& set : sets)
            queueSet(std::move(set));
        --bucketsUndecided;
        // Idle hashing threads wait for queued work, or for the last decision to leave.
        wakeAll = !sets.empty() || bucketsUndecided == 0;
    }
    if (wakeAll) {
        done.notify_all();
        wakeGrouping();
    } else {
        finished(begin, end);
    }
}

void DigestWork::run()
{
    // First blocks first: every decision made early gives the lanes many sets to digest
    // side by side.
    for (;;) {
        if (m_state.aborted())
            break;
        const size_t k = nextFirstBlock.fetch_add(1);
        if (k < firstBlocks.size()) {
            const quint32 index = firstBlocks[k];
            m_state.setCurrentFile(cand[index]->filePath);
            readEdges(index);
            if (isFinal(status[index].load()))
                finished(index, index + 1);
            const size_t bucket = bucketOf(index);
            if (remaining[bucket].fetch_sub(1) == 1)
                decideBucket(bucket);
            continue;
        }
        bool queued = false;
        {
            std::lock_guard lock(mutex);
            queued = !fullQueue.empty();
        }
        if (queued) {
            digestQueued();
            continue;
        }
        // Wait for full digests that other threads' decisions queue.
        wakeGrouping(); // it may wait for records this thread finished
        std::unique_lock lock(mutex);
        if (fullQueue.empty() && bucketsUndecided == 0)
            break;
        if (fullQueue.empty())
            done.wait_for(lock, std::chrono::milliseconds(50));
    }
    done.notify_all();
    wakeGrouping();
}
