#pragma once

#include <QByteArray>
#include <QtGlobal>
#include <atomic>
#include <functional>
#include <vector>

struct FileInfoNode;

// Digests sets of same-size files that may be byte-identical, many sets side by side.
//
// The members of a set are read chunk by chunk together and split into classes of equal
// bytes as they are read; MD5 runs once per class, on its first member's bytes, so every
// member gets exactly the digest a read of its own would give while identical copies cost a
// memcmp. The classes of all the sets in hand are independent MD5 streams: they run together
// in the lanes of one SIMD block function (Md5Lanes), which is where the speed comes from.
// A set is taken whenever a lane and room for its files are free, so the lanes stay busy.
class IdenticalSetDigest
{
public:
    // Members of one set read at once; larger sets are given in slices of this many.
    static constexpr size_t kMaxOpen = 8;
    // Files open at once over all the sets in hand.
    static constexpr size_t kMaxFiles = 64;
    // Bytes read from one member per step (a multiple of the 64-byte block); the abort flag
    // is polled before each read.
    static constexpr size_t kChunk = 128 * 1024;

    struct Set
    {
        std::vector<quint32> tags;        // the caller's, one per member
        std::vector<FileInfoNode*> nodes; // regular files of one size, at most kMaxOpen
        // One digest per member (hex, as FileMD5HashCreateWithDescriptor). An empty digest
        // means the member could not be checked or read here (vanished, changed, short read,
        // no free lane for a split, or stopped): the caller reads it on its own, which gives
        // the reason.
        std::vector<QByteArray> digests;
    };
    // Hands over another set to take now; false when there is none at the moment.
    using Next = std::function<bool(Set&)>;
    // Receives a set with its digests once it is done.
    using Done = std::function<void(Set&)>;

    // Runs until no set is in hand and next() has none, or the flag is raised (sets in hand
    // are then handed to done() without digests).
    static void run(const Next& next, const Done& done, const std::atomic<bool>* abortFlag);
};
