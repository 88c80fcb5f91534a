#include "scan/DigestGrouper.h"

#include "app/AppGlobals.h"
#include "model/ScanResult.h"
#include "scan/CacheBatchWriter.h"
#include "scan/DigestWork.h"
#include "scan/GroupsByDigest.h"
#include "scan/ScanEngine.h"
#include "scan/ScanState.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"

#include <QElapsedTimer>

#include <algorithm>
#include <limits>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <unordered_map>

DigestGrouper::DigestGrouper(ScanResult& result, ScanState& state, const ScanOptions& options,
                             BatchWriter writeHashToFile)
    : m_result(result), m_state(state), m_options(options), m_writeHashToFile(std::move(writeHashToFile))
{}

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
        // Not reserved for n: there are usually far fewer sizes than files.
        std::unordered_map<quint64, quint32> bucketBySize;
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

    constexpr quint32 kNone = std::numeric_limits<quint32>::max();
    QElapsedTimer md5Timer;
    md5Timer.start();
    DigestWork work(m_result, m_state, m_options.shareDigests);
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
        // From here on bucketOf[i] is the candidate index of record i, or kNone.
        for (size_t i = 0; i < n; ++i) {
            const quint32 b = bucketOf[i];
            if (counts[b] >= 2) {
                bucketOf[i] = offset[b];
                work.cand[offset[b]++] = nodes[i];
            } else {
                bucketOf[i] = kNone;
                m_state.setCurrentFile(nodes[i]->filePath); // a size of its own: never read
            }
        }
    }
    std::vector<quint32>().swap(counts); // released now ("= {}" would keep the capacity)

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
            work.status[i].store(DigestWork::Cached);
        } else if (node->isMd5Calucaluted) {
            work.status[i].store(node->md5.isEmpty() ? DigestWork::Unreadable : DigestWork::Cached);
        }
    }

    // A one-file package's digest is its file's digest, so with packages about every file
    // needs its full digest.
    const bool prefilter = m_options.prefilter && !anyPackage;
    work.remaining = std::make_unique<std::atomic<quint32>[]>(work.buckets.size());
    for (size_t b = 0; b < work.buckets.size(); ++b) {
        quint32 pending = 0;
        for (quint32 i = work.buckets[b].first; i < work.buckets[b].second; ++i) {
            if (work.status[i].load() != DigestWork::Pending)
                continue;
            if (prefilter) {
                ++pending;
            } else {
                work.status[i].store(DigestWork::NeedFull);
                work.queueSet({i});
            }
        }
        work.remaining[b].store(pending);
        if (pending > 0)
            ++work.bucketsUndecided;
    }
    // First blocks are read in the order the walk met the files, folder by folder: the
    // folders' entries and the files' metadata are then read once and close together, which
    // counts when the tree is not all in memory.
    if (prefilter)
        for (size_t i = 0; i < n; ++i)
            if (bucketOf[i] != kNone && work.status[bucketOf[i]].load() == DigestWork::Pending)
                work.firstBlocks.push_back(bucketOf[i]);
    std::vector<quint32>().swap(bucketOf);
    // Only records whose first blocks are read get an edge key (none when all are cached).
    if (!work.firstBlocks.empty())
        work.edgeKey.assign(m, 0);

    // The hashing threads read first blocks in the walk's order, decide each size bucket as
    // soon as its last first block is in, and digest the sets this queues. The groups are
    // formed here, in grouping order, as the records become final.
    // Computed digests go to the cache as they come, on the writer's thread.
    CacheBatchWriter writer(m_writeHashToFile);
    work.writer = &writer;
    std::vector<std::thread> hashers;
    const auto runHasher = [this, &work] {
        try {
            work.run();
        } catch (const std::bad_alloc&) {
            m_state.outOfMemory = true;
            m_state.abortMe = true;
            work.done.notify_all();
            work.ready.notify_all();
        }
    };
    if (m > 0 && !m_state.aborted()) {
        work.threads = std::clamp(m_options.hashThreads, 1, 16);
        for (int t = 0; t < work.threads; ++t) {
            try {
                hashers.emplace_back(runHasher);
            } catch (const std::system_error& e) {
                quillonLog(QStringLiteral("Hashing thread could not start (%1); going on with %2")
                               .arg(QString::fromLocal8Bit(e.what()))
                               .arg(hashers.size()));
                break;
            }
        }
        {
            std::lock_guard lock(work.mutex);
            work.threads = std::max<int>(1, int(hashers.size()));
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
    // A group is made when a second record of its (size, digest) comes: one-member groups,
    // which the hand-off drops anyway, cost no memory. The groups are put back in the order
    // of their first members at the end, the order the full-digest walk makes them in.
    GroupsByDigest firstOfDigest(work.cand);
    std::vector<std::pair<quint32, DuplicateGroup*>> made; // first member's index, group
    const size_t groupsBefore = m_result.arrMainGroup.size();
    std::vector<bool> grouped(m, false);
    for (size_t i = 0; i < m; ++i) {
        if (m_state.aborted())
            break;
        FileInfoNode* node = work.cand[i];
        m_state.setCurrentFile(node->filePath);
        quint8 status = work.status[i].load();
        if (!DigestWork::isFinal(status)) {
            std::unique_lock lock(work.mutex);
            work.awaited.store(qint64(i));
            while (!DigestWork::isFinal(status = work.status[i].load()) && !m_state.aborted())
                work.ready.wait_for(lock, std::chrono::milliseconds(50));
            work.awaited.store(-1);
            if (!DigestWork::isFinal(status))
                break; // stopped before its digest came
        }
        grouped[i] = true;
        if (status != DigestWork::Unique) { // proven unique: no group, no md5
            if (status == DigestWork::Cached && !node->isMd5Calucaluted) {
                // The record shares the cached digest's bytes.
                const auto it = AppGlobals::dictDataBaseFilesMd5.constFind(node->filePath);
                if (it != AppGlobals::dictDataBaseFilesMd5.constEnd())
                    node->md5 = it->fileMd5;
            }
            node->isMd5Calucaluted = true;
            if (!node->md5.isEmpty()) {
                const size_t hash = GroupsByDigest::hashOf(node->fileSize, node->md5);
                const qint64 first = firstOfDigest.find(node->fileSize, node->md5, hash);
                if (first >= 0) {
                    DuplicateGroup* group = work.cand[size_t(first)]->parent;
                    if (!group) {
                        group = startGroup(work.cand[size_t(first)]);
                        made.emplace_back(quint32(first), group);
                    }
                    node->parent = group;
                    m_state.countDup.fetch_add(1, std::memory_order_relaxed);
                    m_state.sizeDup.fetch_add(node->fileSize, std::memory_order_relaxed);
                    group->groupSize += node->fileSize;
                    group->filteredChildren.push_back(node);
                    group->children.push_back(node);
                } else {
                    firstOfDigest.insert(quint32(i), hash);
                }
            }
        }
    }
    for (std::thread& t : hashers)
        t.join();
    std::stable_sort(made.begin(), made.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (size_t g = 0; g < made.size(); ++g)
        m_result.arrMainGroup[groupsBefore + g] = made[g].second;

    // After a stop, digests already computed for records not yet grouped went to the cache
    // too; the records stay out of the groups.
    for (size_t i = 0; i < m; ++i)
        if (!grouped[i] && work.status[i].load() == DigestWork::Digested && !work.cand[i]->md5.isEmpty())
            work.cand[i]->isMd5Calucaluted = true;
    work.flushComputed();
    writer.finish();

    m_result.countDup = m_state.countDup.load();
    m_result.sizeDup = m_state.sizeDup.load();
    const qint64 md5Seconds = sizeSeconds + md5Timer.elapsed() / 1000;
    quillonLog(
        QStringLiteral("Time Calculation in grouping with Md5 %1").arg(ScanEngine::getTimeSpan(md5Seconds)));
}
