#include "scan/IdenticalSetDigest.h"

#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "scan/RecordedFile.h"
#include "util/CommonFuncs.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kMaxOpen = IdenticalSetDigest::kMaxOpen;
constexpr size_t kChunk = IdenticalSetDigest::kChunk;

using Context = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

Context newContext()
{
    return Context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
}

// False on an error or when the file is shorter than recorded.
bool readFully(int fd, unsigned char* buffer, size_t length)
{
    return Platform::readFull(fd, reinterpret_cast<char*>(buffer), qint64(length)) == qint64(length);
}

struct Member
{
    size_t node = 0; // index in the caller's nodes
    int fd = -1;
    struct stat before
    {};
    bool live = true;
};

// Members whose bytes were equal so far, and the digest of those bytes.
struct EqualClass
{
    Context context = newContext();
    std::vector<size_t> members; // indices in the member list
};

void digestSlice(const std::vector<FileInfoNode*>& nodes, size_t begin, size_t end,
                 const std::atomic<bool>* abortFlag, std::vector<QByteArray>& out)
{
    std::vector<Member> members;
    for (size_t i = begin; i < end; ++i) {
        Member m;
        m.node = i;
        m.fd = RecordedFile::open(*nodes[i]);
        if (m.fd < 0)
            continue;
        if (::fstat(m.fd, &m.before) != 0 || !RecordedFile::matchesRecord(*nodes[i], m.before)) {
            ::close(m.fd);
            continue;
        }
        ::posix_fadvise(m.fd, 0, 0, POSIX_FADV_SEQUENTIAL);
        members.push_back(m);
    }
    const auto closeAll = [&members] {
        for (Member& m : members)
            ::close(m.fd);
    };
    if (members.size() < 2) {
        closeAll(); // nothing to share: the caller reads what is left on its own
        return;
    }

    // One buffer per open member, kept per thread from set to set.
    thread_local std::unique_ptr<unsigned char[]> buffers;
    thread_local size_t capacity = 0;
    if (capacity < kMaxOpen * kChunk) {
        buffers.reset(new unsigned char[kMaxOpen * kChunk]);
        capacity = kMaxOpen * kChunk;
    }
    const auto bufferOf = [](size_t member) { return buffers.get() + member * kChunk; };

    std::vector<EqualClass> classes(1);
    for (size_t k = 0; k < members.size(); ++k)
        classes[0].members.push_back(k);
    if (!classes[0].context || EVP_DigestInit_ex(classes[0].context.get(), md5Algorithm(), nullptr) != 1) {
        closeAll();
        return;
    }

    const quint64 size = nodes[begin]->fileSize;
    bool stopped = false;
    for (quint64 offset = 0; offset < size && !stopped; offset += kChunk) {
        const size_t length = size_t(std::min<quint64>(kChunk, size - offset));
        for (size_t k = 0; k < members.size(); ++k) {
            if (abortFlag && abortFlag->load(std::memory_order_relaxed)) {
                stopped = true;
                break;
            }
            if (members[k].live && !readFully(members[k].fd, bufferOf(k), length))
                members[k].live = false;
        }
        if (stopped)
            break;
        // Split each class by this chunk's bytes. A new class starts from a copy of the
        // digest state so far, since its members shared every earlier byte.
        const size_t classCount = classes.size();
        for (size_t c = 0; c < classCount; ++c) {
            std::vector<std::vector<size_t>> parts;
            for (size_t k : classes[c].members) {
                if (!members[k].live)
                    continue;
                auto same = std::find_if(parts.begin(), parts.end(), [&](const std::vector<size_t>& part) {
                    return std::memcmp(bufferOf(part.front()), bufferOf(k), length) == 0;
                });
                if (same == parts.end())
                    parts.push_back({k});
                else
                    same->push_back(k);
            }
            for (size_t p = 1; p < parts.size(); ++p) {
                EqualClass split;
                if (!split.context || EVP_MD_CTX_copy_ex(split.context.get(), classes[c].context.get()) != 1)
                    continue; // its members get no digest here and are read on their own
                split.members = std::move(parts[p]);
                classes.push_back(std::move(split));
            }
            classes[c].members = parts.empty() ? std::vector<size_t>{} : std::move(parts.front());
        }
        for (EqualClass& cls : classes)
            if (!cls.members.empty() &&
                EVP_DigestUpdate(cls.context.get(), bufferOf(cls.members.front()), length) != 1)
                cls.members.clear();
    }

    if (!stopped) {
        for (Member& m : members) {
            struct stat after;
            if (m.live && (::fstat(m.fd, &after) != 0 || !RecordedFile::unchanged(m.before, after)))
                m.live = false;
        }
        for (EqualClass& cls : classes) {
            unsigned char digest[EVP_MAX_MD_SIZE];
            unsigned int digestLength = 0;
            if (cls.members.empty() || EVP_DigestFinal_ex(cls.context.get(), digest, &digestLength) != 1 ||
                digestLength != 16)
                continue;
            const QByteArray hex = QByteArray(reinterpret_cast<const char*>(digest), 16).toHex();
            for (size_t k : cls.members)
                if (members[k].live)
                    out[members[k].node] = hex;
        }
    }
    closeAll();
}

} // namespace

std::vector<QByteArray> IdenticalSetDigest::digest(const std::vector<FileInfoNode*>& nodes,
                                                   const std::atomic<bool>* abortFlag)
{
    std::vector<QByteArray> out(nodes.size());
    for (size_t begin = 0; begin < nodes.size(); begin += kMaxOpen)
        digestSlice(nodes, begin, std::min(nodes.size(), begin + kMaxOpen), abortFlag, out);
    return out;
}
