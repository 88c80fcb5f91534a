#include "scan/IdenticalSetDigest.h"

#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "scan/RecordedFile.h"
#include "util/Md5Lanes.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <list>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kChunk = IdenticalSetDigest::kChunk;
constexpr size_t kMaxFiles = IdenticalSetDigest::kMaxFiles;
constexpr size_t kMaxOpen = IdenticalSetDigest::kMaxOpen;
constexpr int kLanes = Md5Lanes::kMaxLanes;
static_assert(kChunk % 64 == 0, "whole blocks per chunk until the last");

struct Member
{
    int fd = -1;
    struct stat before
    {};
    bool live = false;
    unsigned char* buffer = nullptr; // one chunk, from the pool
};

// Members whose bytes were equal so far, and the lane that digests them.
struct EqualClass
{
    int lane = -1;
    std::vector<size_t> members; // indices in the set's members
};

struct InHand
{
    IdenticalSetDigest::Set set;
    std::vector<Member> members;
    std::vector<EqualClass> classes;
    quint64 size = 0;
    quint64 offset = 0; // bytes read and digested from every live member
    size_t length = 0;  // bytes of the current chunk
};

// The lanes' states and which of them are free.
struct Lanes
{
    Lanes()
    {
        for (int lane = kLanes - 1; lane >= 0; --lane)
            free.push_back(lane);
    }
    int take()
    {
        if (free.empty())
            return -1;
        const int lane = free.back();
        free.pop_back();
        return lane;
    }

    Md5Lanes::Impl impl = Md5Lanes::best();
    Md5Lanes::State state{};
    std::vector<int> free;
};

// Opens and checks the members; false when none of them can be read here.
bool open(InHand& h, std::vector<unsigned char*>& pool)
{
    const auto& nodes = h.set.nodes;
    h.size = nodes.front()->fileSize;
    h.members.resize(nodes.size());
    bool any = false;
    for (size_t i = 0; i < nodes.size(); ++i) {
        Member& m = h.members[i];
        m.fd = RecordedFile::open(*nodes[i]);
        if (m.fd < 0)
            continue;
        if (::fstat(m.fd, &m.before) != 0 || !RecordedFile::matchesRecord(*nodes[i], m.before)) {
            ::close(m.fd);
            m.fd = -1;
            continue;
        }
        ::posix_fadvise(m.fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        m.live = true;
        m.buffer = pool.back();
        pool.pop_back();
        any = true;
    }
    return any;
}

void release(InHand& h, Lanes& lanes, std::vector<unsigned char*>& pool)
{
    for (Member& m : h.members) {
        if (m.fd >= 0)
            ::close(m.fd);
        if (m.buffer)
            pool.push_back(m.buffer);
    }
    for (const EqualClass& c : h.classes)
        lanes.free.push_back(c.lane);
}

// Splits each class by this chunk's bytes. A split-off class continues from a copy of its
// lane's state, since its members shared every earlier byte; without a free lane its
// members are left to be read on their own.
void split(InHand& h, Lanes& lanes)
{
    const size_t classCount = h.classes.size();
    for (size_t c = 0; c < classCount; ++c) {
        std::vector<std::vector<size_t>> parts;
        for (size_t k : h.classes[c].members) {
            if (!h.members[k].live)
                continue;
            auto same = std::find_if(parts.begin(), parts.end(), [&](const std::vector<size_t>& part) {
                return std::memcmp(h.members[part.front()].buffer, h.members[k].buffer, h.length) == 0;
            });
            if (same == parts.end())
                parts.push_back({k});
            else
                same->push_back(k);
        }
        for (size_t p = 1; p < parts.size(); ++p) {
            const int lane = lanes.take();
            if (lane < 0) {
                for (size_t k : parts[p])
                    h.members[k].live = false;
                continue;
            }
            Md5Lanes::copy(lanes.state, h.classes[c].lane, lane);
            h.classes.push_back(EqualClass{lane, std::move(parts[p])});
        }
        h.classes[c].members = parts.empty() ? std::vector<size_t>{} : std::move(parts.front());
    }
}

// The set is read to its end: digests for the members that did not change meanwhile.
void finish(InHand& h, Lanes& lanes)
{
    h.set.digests.assign(h.set.nodes.size(), QByteArray());
    for (Member& m : h.members) {
        struct stat after;
        if (m.live && (::fstat(m.fd, &after) != 0 || !RecordedFile::unchanged(m.before, after)))
            m.live = false;
    }
    // The last chunk's bytes past its whole blocks are the tail (none when the size is a
    // multiple of the block, or zero).
    const size_t whole = h.length / 64 * 64;
    for (const EqualClass& c : h.classes) {
        if (c.members.empty())
            continue;
        unsigned char digest[16];
        Md5Lanes::finish(lanes.state, c.lane, h.members[c.members.front()].buffer + whole, h.length - whole,
                         h.size, digest);
        const QByteArray hex = QByteArray(reinterpret_cast<const char*>(digest), 16).toHex();
        for (size_t k : c.members)
            if (h.members[k].live)
                h.set.digests[k] = hex;
    }
}

} // namespace

void IdenticalSetDigest::run(const Next& next, const Done& done, const std::atomic<bool>* abortFlag)
{
    // Chunk buffers, kept per thread from run to run.
    thread_local std::unique_ptr<unsigned char[]> storage;
    if (!storage)
        storage.reset(new unsigned char[kMaxFiles * kChunk]);
    std::vector<unsigned char*> pool;
    for (size_t i = 0; i < kMaxFiles; ++i)
        pool.push_back(storage.get() + i * kChunk);

    Lanes lanes;
    std::list<InHand> hand;
    const auto stopped = [abortFlag] { return abortFlag && abortFlag->load(std::memory_order_relaxed); };
    const auto handOver = [&](InHand& h, bool digested) {
        if (!digested)
            h.set.digests.assign(h.set.nodes.size(), QByteArray());
        release(h, lanes, pool);
        done(h.set);
    };
    for (;;) {
        // Take sets while a lane and room for a whole set's files are free.
        while (!stopped() && !lanes.free.empty() && pool.size() >= kMaxOpen) {
            InHand h;
            if (!next(h.set))
                break;
            if (!open(h, pool)) {
                handOver(h, false);
                continue;
            }
            EqualClass all{lanes.take(), {}};
            for (size_t k = 0; k < h.members.size(); ++k)
                if (h.members[k].live)
                    all.members.push_back(k);
            Md5Lanes::init(lanes.state, all.lane);
            h.classes.push_back(std::move(all));
            hand.push_back(std::move(h));
        }
        if (hand.empty())
            return;

        // One chunk of every member in hand.
        for (InHand& h : hand) {
            h.length = size_t(std::min<quint64>(kChunk, h.size - h.offset));
            for (Member& m : h.members) {
                if (stopped())
                    break;
                if (m.live && Platform::readFull(m.fd, reinterpret_cast<char*>(m.buffer), qint64(h.length)) !=
                                  qint64(h.length))
                    m.live = false;
            }
        }
        if (stopped()) {
            for (InHand& h : hand)
                handOver(h, false);
            return;
        }

        // Split the classes, then run every class's whole blocks through the lanes at once.
        const unsigned char* data[kLanes] = {};
        size_t blocks[kLanes] = {};
        for (InHand& h : hand) {
            split(h, lanes);
            for (const EqualClass& c : h.classes) {
                if (c.members.empty())
                    continue;
                data[c.lane] = h.members[c.members.front()].buffer;
                blocks[c.lane] = h.length / 64;
            }
        }
        Md5Lanes::compressBusy(lanes.impl, lanes.state, data, blocks);

        for (auto it = hand.begin(); it != hand.end();) {
            it->offset += it->length;
            if (it->offset < it->size) {
                ++it;
                continue;
            }
            finish(*it, lanes);
            handOver(*it, true);
            it = hand.erase(it);
        }
    }
}
