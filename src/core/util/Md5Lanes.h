#pragma once

#include <cstddef>
#include <cstdint>

// MD5 of several independent streams at once, one stream per SIMD lane: MD5 is sequential
// within a stream, so the only way past one core's scalar speed is to run streams side by side.
// The caller owns the streams and feeds whole 64-byte blocks; finish() pads one lane's tail.
namespace Md5Lanes {

constexpr int kMaxLanes = 16;

// Scalar and ScalarPair are portable (ScalarPair runs two streams interleaved on the integer
// units); Avx512Vl is 8 lanes on 256-bit registers with the AVX-512VL rotate and logic.
// Ordered by width within each family: a limit admits the entries up to it.
enum class Impl { Scalar, ScalarPair, Avx2, Avx512Vl, Avx512 };

// The widest implementation this CPU runs, narrowed by QUILLON_MD5_LANES ("scalar", "avx2",
// "avx512vl", "avx512") when set; never wider than the CPU supports. Read afresh on every
// call. Never ScalarPair: that one is a choice of compressBusy().
Impl best();
int width(Impl impl); // lanes per compress(): 1, 2, 8, 8, 16
bool supported(Impl impl);

struct State
{
    alignas(64) uint32_t a[kMaxLanes], b[kMaxLanes], c[kMaxLanes], d[kMaxLanes];
};

// The MD5 initial values for one lane.
void init(State& state, int lane);
// A lane's state into another, for streams that share a prefix and then fork.
void copy(State& state, int from, int to);

// Runs the MD5 block function for each lane l < width(impl) over blocks[l] 64-byte blocks that
// start at data[l] (no alignment needed). Lanes with blocks[l] == 0 keep their state and their
// data may be null; lanes may have different block counts.
void compress(Impl impl, State& state, const unsigned char* const data[kMaxLanes],
              const size_t blocks[kMaxLanes]);

// Runs every one of the kMaxLanes lane slots like compress(), choosing per call the cheapest
// way for the busy lanes among the portable paths and the vector ones up to widest: busy lanes
// are gathered by block count into groups for the vector paths, and stragglers run in pairs
// or alone. With widest == Scalar only portable code runs.
void compressBusy(Impl widest, State& state, const unsigned char* const data[kMaxLanes],
                  const size_t blocks[kMaxLanes]);

// Pads one lane's stream and writes its digest: tail holds the tailLength (< 64) bytes not yet
// compressed, totalLength is the stream's whole length in bytes.
void finish(const State& state, int lane, const unsigned char* tail, size_t tailLength, uint64_t totalLength,
            unsigned char digest[16]);

// One-shot digest of a buffer on the scalar path.
void digest(const unsigned char* data, size_t length, unsigned char out[16]);

} // namespace Md5Lanes
