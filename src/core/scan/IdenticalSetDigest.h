#pragma once

#include <QByteArray>
#include <atomic>
#include <vector>

struct FileInfoNode;

// Digests a set of same-size files that may be byte-identical by reading them side by side:
// the members are split into classes of equal bytes as they are read, and MD5 runs once per
// class on its first member's bytes. Equal bytes give equal digests, so every member gets
// exactly the digest a read of its own would give, while identical copies cost a memcmp
// instead of an MD5.
class IdenticalSetDigest
{
public:
    // Files open at once: the set is processed in slices of this many members.
    static constexpr size_t kMaxOpen = 8;
    // Bytes read from one member per step; the abort flag is polled after each read.
    static constexpr size_t kChunk = 256 * 1024;

    // Returns one digest per node (hex, as FileMD5HashCreateWithDescriptor). An empty digest
    // means the member could not be checked or read here (vanished, changed, short read, or
    // stopped): the caller reads it on its own, which gives the reason.
    static std::vector<QByteArray> digest(const std::vector<FileInfoNode*>& nodes,
                                          const std::atomic<bool>* abortFlag);
};
