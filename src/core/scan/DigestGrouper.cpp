#include "scan/DigestGrouper.h"

#include "app/AppGlobals.h"
#include "model/ScanResult.h"
#include "scan/GroupsByDigest.h"
#include "scan/PackageDigest.h"
#include "scan/RecordedFile.h"
#include "scan/ScanEngine.h"
#include "scan/ScanState.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"

#include <QElapsedTimer>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <unordered_map>

namespace {

enum Status : quint8 {
    Pending,    // nothing known yet
    Cached,     // digest taken from the cache
    Unreadable, // vanished, changed, not a regular file or unreadable: no digest
    Digested,   // full digest computed
    EdgesRead,  // first and last block read, digest still unknown
    Unique,     // edges differ from every other file of its size: no full digest needed
    NeedFull,   // full digest to compute
};

bool isFinal(quint8 status)
{
    return status == Cached || status == Unreadable || status == Digested || status == Unique;
}

} // namespace

struct DigestGrouper::Work
{
    std::vector<FileInfoNode*> cand;                  // candidates in grouping order
    std::vector<std::pair<quint32, quint32>> buckets; // [begin, end) in cand
    std::vector<quint64> edgeKey;                     // hash of the first and last blocks
    std::unique_ptr<std::atomic<quint8>[]> status;
    bool prefilter = true;

    std::vector<quint32> firstBlocks; // candidates whose first and last blocks are read
    std::atomic<size_t> nextFirstBlock{0};
    std::unique_ptr<std::atomic<quint32>[]> remaining; // per bucket: first blocks still to read

    std::mutex mutex;              // guards the two below
    std::deque<quint32> fullQueue; // candidates to digest fully, in the order they were decided
    size_t bucketsUndecided = 0;
    std::condition_variable done; // a record became final, or work was queued

    size_t bucketOf(quint32 index) const
    {
        const auto it = std::upper_bound(buckets.begin(), buckets.end(), index,
                                         [](quint32 i, const auto& range) { return i < range.first; });
        return size_t(it - buckets.begin()) - 1;
    }
};

DigestGrouper::DigestGrouper(ScanResult& result, ScanState& state, const ScanOptions& options,
                             BatchWriter writeHashToFile)
    : m_result(result), m_state(state), m_options(options), m_writeHashToFile(std::move(writeHashToFile))
{}

void DigestGrouper::readEdges(Work& work, size_t index) const
{
    FileInfoNode& node = *work.cand[index];
    const RecordedFile::Edges edges = RecordedFile::readEdges(node, kBlockSize);
    quint8 outcome = Unreadable;
    if (!edges.md5.isEmpty()) {
        node.md5 = edges.md5; // the whole file fitted in the first block
        outcome = Digested;
    } else if (edges.reason.isEmpty()) {
        work.edgeKey[index] = edges.key;
        outcome = EdgesRead;
    } else {
        skip(node, edges.reason);
    }
    work.status[index].store(outcome);
}

void DigestGrouper::skip(const FileInfoNode& node, const QString& reason) const
{
    CommonFuncs::logMissingDigest(node.filePath, &m_state.abortMe);
    if (!m_state.aborted() && !reason.isEmpty())
        m_result.addSkipped(node.filePath, reason);
}

void DigestGrouper::digestFully(Work& work, size_t index) const
{
    FileInfoNode& node = *work.cand[index];
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
        std::lock_guard lock(work.mutex);
        node.md5 = digest;
        work.status[index].store(digest.isEmpty() ? Unreadable : Digested);
    }
    work.done.notify_all();
}

void DigestGrouper::decideBucket(Work& work, size_t bucket) const
{
    const auto [begin, end] = work.buckets[bucket];
    bool anyCached = false;
    for (quint32 i = begin; i < end; ++i)
        anyCached = anyCached || work.status[i].load() == Cached;
    // Another file of the size whose edges are unknown (cached) could share the digest.
    std::unordered_map<quint64, quint32> keyCount;
    if (!anyCached)
        for (quint32 i = begin; i < end; ++i)
            if (work.status[i].load() == EdgesRead)
                ++keyCount[work.edgeKey[i]];
    std::vector<quint32> full;
    for (quint32 i = begin; i < end; ++i) {
        if (work.status[i].load() != EdgesRead)
            continue;
        if (!anyCached && keyCount[work.edgeKey[i]] == 1) {
            work.status[i].store(Unique);
        } else {
            work.status[i].store(NeedFull);
            full.push_back(i);
        }
    }
    {
        std::lock_guard lock(work.mutex);
        work.fullQueue.insert(work.fullQueue.end(), full.begin(), full.end());
        --work.bucketsUndecided;
    }
    work.done.notify_all();
}

void DigestGrouper::hashWorker(Work& work) const
{
    for (;;) {
        if (m_state.aborted())
            break;
        std::optional<quint32> full;
        {
            std::lock_guard lock(work.mutex);
            if (!work.fullQueue.empty()) {
                full = work.fullQueue.front();
                work.fullQueue.pop_front();
            }
        }
        if (full) {
            digestFully(work, *full);
            continue;
        }
        const size_t k = work.nextFirstBlock.fetch_add(1);
        if (k < work.firstBlocks.size()) {
            const quint32 index = work.firstBlocks[k];
            m_state.setCurrentFile(work.cand[index]->filePath);
            readEdges(work, index);
            if (isFinal(work.status[index].load()))
                work.done.notify_all();
            const size_t bucket = work.bucketOf(index);
            if (work.remaining[bucket].fetch_sub(1) == 1)
                decideBucket(work, bucket);
            continue;
        }
        // No first blocks left: wait for full digests that other threads' decisions queue.
        std::unique_lock lock(work.mutex);
        if (work.fullQueue.empty() && work.bucketsUndecided == 0)
            break;
        work.done.wait_for(lock, std::chrono::milliseconds(50));
    }
    work.done.notify_all();
}

void DigestGrouper::filterNodesWithSizeAndMd5()
{
    QElapsedTimer sizeTimer;
    sizeTimer.start();
    const std::vector<FileInfoNode*>& nodes = m_result.arrFileNodes;
    const size_t n = nodes.size();

    // Size buckets, in order of their first record; records in discovery order.
    std::vector<quint32> bucketOf(n);
    std::vector<quint32> counts;
    quint64 totalSize = 0;
    {
        std::unordered_map<quint64, quint32> bucketBySize;
        bucketBySize.reserve(n);
        for (size_t i = 0; i < n; ++i) {
            if (m_state.aborted())
                break;
            totalSize += nodes[i]->fileSize;
            const auto [it, inserted] = bucketBySize.try_emplace(nodes[i]->fileSize, quint32(counts.size()));
            if (inserted)
                counts.push_back(0);
            bucketOf[i] = it->second;
            ++counts[it->second];
        }
    }
    if (m_state.aborted())
        return;
    quillonLog(QStringLiteral("Total Files Size %1").arg(CommonFuncs::getSizeInUnits(totalSize)));
    const qint64 sizeSeconds = sizeTimer.elapsed() / 1000;
    quillonLog(QStringLiteral("Time Calculation in grouping with size %1")
                   .arg(ScanEngine::getTimeSpan(sizeSeconds)));

    QElapsedTimer md5Timer;
    md5Timer.start();
    Work work;
    {
        std::vector<quint32> offset(counts.size(), 0);
        quint32 total = 0;
        for (size_t b = 0; b < counts.size(); ++b) {
            if (counts[b] < 2)
                continue;
            offset[b] = total;
            work.buckets.emplace_back(total, total + counts[b]);
            total += counts[b];
        }
        work.cand.resize(total);
        for (size_t i = 0; i < n; ++i) {
            const quint32 b = bucketOf[i];
            if (counts[b] >= 2)
                work.cand[offset[b]++] = nodes[i];
            else
                m_state.setCurrentFile(nodes[i]->filePath); // a size of its own: never read
        }
    }
    bucketOf = {};
    counts = {};

    const size_t m = work.cand.size();
    work.status = std::make_unique<std::atomic<quint8>[]>(m);
    bool anyPackage = false;
    for (size_t i = 0; i < m; ++i) {
        FileInfoNode* node = work.cand[i];
        anyPackage = anyPackage || node->isDirectory;
        auto it = AppGlobals::dictDataBaseFilesMd5.constFind(node->filePath);
        // A cached row counts only when its size is the record's too.
        if (!node->isMd5Calucaluted && it != AppGlobals::dictDataBaseFilesMd5.constEnd() &&
            quint64(it->fileSize) == node->fileSize) {
            work.status[i].store(Cached);
        } else if (node->isMd5Calucaluted) {
            work.status[i].store(node->md5.isEmpty() ? Unreadable : Cached);
        }
    }

    // A one-file package's digest is its file's digest, so with packages about every file
    // needs its full digest.
    work.prefilter = m_options.prefilter && !anyPackage;
    work.remaining = std::make_unique<std::atomic<quint32>[]>(work.buckets.size());
    for (size_t b = 0; b < work.buckets.size(); ++b) {
        quint32 pending = 0;
        for (quint32 i = work.buckets[b].first; i < work.buckets[b].second; ++i) {
            if (work.status[i].load() != Pending)
                continue;
            if (work.prefilter) {
                work.firstBlocks.push_back(i);
                ++pending;
            } else {
                work.status[i].store(NeedFull);
                work.fullQueue.push_back(i);
            }
        }
        work.remaining[b].store(pending);
        if (pending > 0)
            ++work.bucketsUndecided;
    }
    // Only records whose first blocks are read get an edge key (none when all are cached).
    if (!work.firstBlocks.empty())
        work.edgeKey.assign(m, 0);

    // The hashing threads read first blocks in grouping order, decide each size bucket as
    // soon as its last first block is in, and take the full digests that this asks for
    // before further first blocks. The groups are formed here, in grouping order, as the
    // records become final; the cache batches are written meanwhile.
    std::vector<std::thread> hashers;
    const auto runHasher = [this, &work] {
        try {
            hashWorker(work);
        } catch (const std::bad_alloc&) {
            m_state.outOfMemory = true;
            m_state.abortMe = true;
            work.done.notify_all();
        }
    };
    if (m > 0 && !m_state.aborted()) {
        for (int t = 0; t < std::clamp(m_options.hashThreads, 1, 16); ++t) {
            try {
                hashers.emplace_back(runHasher);
            } catch (const std::system_error& e) {
                quillonLog(QStringLiteral("Hashing thread could not start (%1); going on with %2")
                               .arg(QString::fromLocal8Bit(e.what()))
                               .arg(hashers.size()));
                break;
            }
        }
        if (hashers.empty())
            runHasher(); // no thread at all: everything is read here, then grouped
    }

    const auto startGroup = [this](FileInfoNode* node) {
        DuplicateGroup* group = m_result.addGroup();
        group->groupSize = node->fileSize;
        group->children.push_back(node);
        group->filteredChildren.push_back(node);
        node->parent = group;
        return group;
    };
    GroupsByDigest dictMapMD5ToGroup;
    std::vector<FileInfoNode*> batch;
    batch.reserve(kBatchSize);
    std::vector<bool> grouped(m, false);
    for (size_t i = 0; i < m; ++i) {
        if (m_state.aborted())
            break;
        FileInfoNode* node = work.cand[i];
        m_state.setCurrentFile(node->filePath);
        quint8 status = work.status[i].load();
        if (!isFinal(status)) {
            std::unique_lock lock(work.mutex);
            while (!isFinal(status = work.status[i].load()) && !m_state.aborted())
                work.done.wait_for(lock, std::chrono::milliseconds(50));
            if (!isFinal(status))
                break; // stopped before its digest came
        }
        grouped[i] = true;
        if (status == Unique) {
            // Proven unique: the one-member group the full digest would have made, no md5.
            startGroup(node);
            batch.push_back(node);
        } else {
            if (status == Cached && !node->isMd5Calucaluted) {
                // The record shares the cached digest's bytes.
                const auto it = AppGlobals::dictDataBaseFilesMd5.constFind(node->filePath);
                if (it != AppGlobals::dictDataBaseFilesMd5.constEnd())
                    node->md5 = it->fileMd5;
            }
            node->isMd5Calucaluted = true;
            if (!node->md5.isEmpty()) {
                const size_t hash = GroupsByDigest::hashOf(node->fileSize, node->md5);
                DuplicateGroup* group = dictMapMD5ToGroup.find(node->fileSize, node->md5, hash);
                if (group) {
                    node->parent = group;
                    m_state.countDup.fetch_add(1, std::memory_order_relaxed);
                    m_state.sizeDup.fetch_add(node->fileSize, std::memory_order_relaxed);
                    group->groupSize += node->fileSize;
                    group->filteredChildren.push_back(node);
                    group->children.push_back(node);
                } else {
                    dictMapMD5ToGroup.insert(startGroup(node), hash);
                }
            }
            batch.push_back(node);
        }
        if (batch.size() >= size_t(kBatchSize)) {
            m_writeHashToFile(batch);
            batch.clear();
        }
    }
    for (std::thread& t : hashers)
        t.join();

    // After a stop, digests already computed for records not yet grouped still go to the
    // cache; the records stay out of the groups.
    for (size_t i = 0; i < m; ++i) {
        if (grouped[i] || work.status[i].load() != Digested || work.cand[i]->md5.isEmpty())
            continue;
        work.cand[i]->isMd5Calucaluted = true;
        batch.push_back(work.cand[i]);
    }
    for (size_t begin = 0; begin < batch.size(); begin += size_t(kBatchSize)) {
        const auto first = batch.begin() + qsizetype(begin);
        m_writeHashToFile(std::vector<FileInfoNode*>(
            first, first + qsizetype(std::min(batch.size() - begin, size_t(kBatchSize)))));
    }

    m_result.countDup = m_state.countDup.load();
    m_result.sizeDup = m_state.sizeDup.load();
    const qint64 md5Seconds = sizeSeconds + md5Timer.elapsed() / 1000;
    quillonLog(
        QStringLiteral("Time Calculation in grouping with Md5 %1").arg(ScanEngine::getTimeSpan(md5Seconds)));
}
