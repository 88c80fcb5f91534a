#include "scan/DigestGrouper.h"

#include "app/AppGlobals.h"
#include "model/ScanResult.h"
#include "platform/FileAttributes.h"
#include "scan/ScanEngine.h"
#include "scan/ScanState.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QHash>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <sys/stat.h>
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

// Whether the file still is the regular file the walk recorded.
bool stillSameFile(const FileInfoNode& node, FileAttributes& now)
{
    const auto a = FileAttributes::ofItem(node.filePath);
    if (!a || !a->isRegular() || a->size != node.fileSize)
        return false;
    // The record's date may have been rounded by another reader; a change is far larger.
    if (std::abs(a->modDate - node.modDate) > 1e-3)
        return false;
    now = *a;
    return true;
}

bool unchangedSince(const QByteArray& path, const FileAttributes& before)
{
    const auto a = FileAttributes::ofItem(path);
    return a && a->isRegular() && a->size == before.size && a->modDate == before.modDate &&
           a->inode == before.inode;
}

double mtimeOf(const struct stat& st)
{
    return double(st.st_mtim.tv_sec) + double(st.st_mtim.tv_nsec) / 1e9;
}

// Whether an open file still is the regular file the walk recorded.
bool isRecordedFile(const FileInfoNode& node, const struct stat& st)
{
    return S_ISREG(st.st_mode) && quint64(st.st_size) == node.fileSize &&
           std::abs(mtimeOf(st) - node.modDate) <= 1e-3;
}

bool sameState(const struct stat& a, const struct stat& b)
{
    return a.st_size == b.st_size && a.st_mtim.tv_sec == b.st_mtim.tv_sec &&
           a.st_mtim.tv_nsec == b.st_mtim.tv_nsec && a.st_ino == b.st_ino;
}

bool preadFully(int fd, char* buffer, qint64 length, qint64 offset)
{
    while (length > 0) {
        const ssize_t n = ::pread(fd, buffer, size_t(length), offset);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        buffer += n;
        length -= n;
        offset += n;
    }
    return true;
}

// Appends the digests of the files below dirfd/name to md5; false when aborted or unreadable.
bool appendPackageDigests(int dirfd, const char* name, const QByteArray& path, QByteArray& md5,
                          const std::atomic<bool>* abortFlag)
{
    const int self = ::openat(dirfd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (self < 0)
        return false;
    const int listed = ::dup(self);
    if (listed < 0) {
        ::close(self);
        return false;
    }
    const std::vector<PathUtils::DirEntry> entries = PathUtils::sortedEntries(listed);
    bool ok = true;
    for (const PathUtils::DirEntry& entry : entries) {
        if (entry.name == ".DS_Store" || entry.name == ".localized")
            continue;
        if (abortFlag->load()) {
            ok = false;
            break;
        }
        const QByteArray child = PathUtils::join(path, entry.name);
        unsigned char type = entry.type;
        if (type == DT_UNKNOWN) {
            const auto a = FileAttributes::ofEntry(self, entry.name.constData());
            type = !a ? DT_UNKNOWN : a->isDirectory() ? DT_DIR : a->isRegular() ? DT_REG : DT_LNK;
        }
        if (type == DT_DIR) {
            if (!appendPackageDigests(self, entry.name.constData(), child, md5, abortFlag)) {
                ok = false;
                break;
            }
        } else if (type == DT_REG) {
            const QByteArray digest = CommonFuncs::getFileMD5UsingStreamWithAbortFlag(child, abortFlag);
            if (digest.isEmpty() || abortFlag->load()) {
                ok = false;
                break;
            }
            md5 += digest;
        }
        // Links and special files inside a package are neither followed nor read.
    }
    ::close(self);
    return ok;
}

// The groups by digest, for the grouping loop: an open-addressing table of the groups
// themselves, a group's digest being its first member's md5 (set before the group is entered
// and not changed while the table lives). No copy of the digest, no node per entry.
class GroupsByDigest
{
public:
    DuplicateGroup* find(const QByteArray& md5, size_t hash) const
    {
        if (m_slots.empty())
            return nullptr;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            DuplicateGroup* group = m_slots[i];
            if (!group || group->children.front()->md5 == md5)
                return group;
        }
    }

    // Enters a group whose digest is not in the table yet.
    void insert(DuplicateGroup* group, size_t hash)
    {
        // At most three quarters full: linear probing stays short with a digest's hash.
        if ((m_count + 1) * 4 > m_slots.size() * 3)
            grow();
        place(group, hash);
        ++m_count;
    }

private:
    void place(DuplicateGroup* group, size_t hash)
    {
        const size_t mask = m_slots.size() - 1;
        size_t i = hash & mask;
        while (m_slots[i])
            i = (i + 1) & mask;
        m_slots[i] = group;
    }

    void grow()
    {
        std::vector<DuplicateGroup*> old(std::max<size_t>(64, m_slots.size() * 2), nullptr);
        old.swap(m_slots);
        for (DuplicateGroup* group : old)
            if (group)
                place(group, qHash(group->children.front()->md5));
    }

    std::vector<DuplicateGroup*> m_slots; // a power of two in size
    size_t m_count = 0;
};

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

QByteArray DigestGrouper::calculateMd5ForPackageFile(const QByteArray& path,
                                                     const std::atomic<bool>* abortFlag)
{
    QByteArray md5;
    if (!appendPackageDigests(AT_FDCWD, path.constData(), path, md5, abortFlag))
        return QByteArray();
    return md5;
}

void DigestGrouper::readEdges(Work& work, size_t index) const
{
    FileInfoNode& node = *work.cand[index];
    quint8 outcome = Unreadable;
    // Never blocks on a FIFO that took the file's place; only a regular file is read.
    const int fd = ::open(node.filePath.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat before;
    if (fd >= 0 && ::fstat(fd, &before) == 0 && isRecordedFile(node, before)) {
        const qint64 size = qint64(node.fileSize);
        char buffer[2 * kBlockSize];
        if (size <= kBlockSize) {
            // The whole file fits in the first block: its digest is complete.
            char probe;
            if (preadFully(fd, buffer, size, 0) && ::pread(fd, &probe, 1, size) == 0) {
                node.md5 =
                    QCryptographicHash::hash(QByteArrayView(buffer, size), QCryptographicHash::Md5).toHex();
                outcome = Digested;
            }
        } else {
            const qint64 tail = std::min<qint64>(kBlockSize, size - kBlockSize);
            if (preadFully(fd, buffer, kBlockSize, 0) &&
                preadFully(fd, buffer + kBlockSize, tail, size - tail)) {
                work.edgeKey[index] =
                    std::hash<std::string_view>{}(std::string_view(buffer, size_t(kBlockSize + tail)));
                outcome = EdgesRead;
            }
        }
        struct stat after;
        if (outcome != Unreadable && (::fstat(fd, &after) != 0 || !sameState(before, after))) {
            outcome = Unreadable; // written to while it was read
            node.md5.clear();
        }
    }
    if (fd >= 0)
        ::close(fd);
    work.status[index].store(outcome);
}

void DigestGrouper::digestFully(Work& work, size_t index) const
{
    FileInfoNode& node = *work.cand[index];
    m_state.setCurrentFile(node.filePath, true); // a long read: show it whatever the last update
    QByteArray digest;
    if (node.isDirectory) {
        digest = calculateMd5ForPackageFile(node.filePath, &m_state.abortMe);
    } else {
        FileAttributes before;
        if (stillSameFile(node, before)) {
            digest = CommonFuncs::getFileMD5UsingStreamWithAbortFlag(node.filePath, &m_state.abortMe);
            if (!digest.isEmpty() && !unchangedSince(node.filePath, before))
                digest.clear();
        }
    }
    if (m_state.aborted())
        digest.clear(); // the item being read when the scan was stopped gets no digest
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
        if (!node->isMd5Calucaluted && it != AppGlobals::dictDataBaseFilesMd5.constEnd()) {
            work.status[i].store(Cached);
        } else if (node->isMd5Calucaluted) {
            work.status[i].store(node->md5.isEmpty() ? Unreadable : Cached);
        }
    }

    // A one-file package's digest is its file's digest, and groups are keyed by digest
    // alone, so with packages about every file needs its full digest.
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
    if (m > 0 && !m_state.aborted())
        for (int t = 0; t < std::clamp(m_options.hashThreads, 1, 16); ++t)
            hashers.emplace_back([this, &work] { hashWorker(work); });

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
                const size_t hash = qHash(node->md5);
                DuplicateGroup* group = dictMapMD5ToGroup.find(node->md5, hash);
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
