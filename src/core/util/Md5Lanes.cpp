#include "util/Md5Lanes.h"

#include "util/Md5LanesRounds.h"

#include <bit>
#include <cstdlib>
#include <cstring>

namespace Md5Lanes {
namespace {

// Lane type of the scalar path: one stream, plain 32-bit words.
struct ScalarOps
{
    static uint32_t add(uint32_t x, uint32_t y) { return x + y; }
    template <int I> static uint32_t constant() { return Rounds::kK[I]; }
    template <int S> static uint32_t rotl(uint32_t x) { return std::rotl(x, S); }
    template <int Round> static uint32_t f(uint32_t b, uint32_t c, uint32_t d)
    {
        if constexpr (Round == 0)
            return d ^ (b & (c ^ d)); // b ? c : d
        else if constexpr (Round == 1)
            return c ^ (d & (b ^ c)); // d ? b : c
        else if constexpr (Round == 2)
            return b ^ c ^ d;
        else
            return c ^ (b | ~d);
    }
};

// The MD5 block function over consecutive blocks of one stream.
void compressScalar(uint32_t v[4], const unsigned char* data, size_t blocks)
{
    for (; blocks > 0; --blocks, data += 64) {
        uint32_t w[16];
        for (int i = 0; i < 16; ++i) // little-endian words, whatever the host's order
            w[i] = uint32_t(data[4 * i]) | uint32_t(data[4 * i + 1]) << 8 | uint32_t(data[4 * i + 2]) << 16 |
                   uint32_t(data[4 * i + 3]) << 24;
        uint32_t x[4] = {v[0], v[1], v[2], v[3]};
        Rounds::allSteps(ScalarOps(), x, w, std::make_integer_sequence<int, 64>());
        for (int r = 0; r < 4; ++r)
            v[r] += x[r];
    }
}

// Whether the CPU and the operating system (saved vector state) run each width.
bool cpuRuns(Impl impl)
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    switch (impl) {
    case Impl::Scalar:
        return true;
    case Impl::Avx2:
        return __builtin_cpu_supports("avx2");
    case Impl::Avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl");
    }
    return false;
#else
    return impl == Impl::Scalar;
#endif
}

} // namespace

bool supported(Impl impl)
{
    return cpuRuns(impl);
}

Impl best()
{
    Impl limit = Impl::Avx512;
    if (const char* forced = std::getenv("QUILLON_MD5_LANES")) {
        if (std::strcmp(forced, "scalar") == 0)
            limit = Impl::Scalar;
        else if (std::strcmp(forced, "avx2") == 0)
            limit = Impl::Avx2;
    }
    for (Impl impl : {Impl::Avx512, Impl::Avx2})
        if (impl <= limit && supported(impl))
            return impl;
    return Impl::Scalar;
}

int width(Impl impl)
{
    switch (impl) {
    case Impl::Avx512:
        return 16;
    case Impl::Avx2:
        return 8;
    case Impl::Scalar:
        break;
    }
    return 1;
}

void init(State& state, int lane)
{
    state.a[lane] = Rounds::kInit[0];
    state.b[lane] = Rounds::kInit[1];
    state.c[lane] = Rounds::kInit[2];
    state.d[lane] = Rounds::kInit[3];
}

void copy(State& state, int from, int to)
{
    state.a[to] = state.a[from];
    state.b[to] = state.b[from];
    state.c[to] = state.c[from];
    state.d[to] = state.d[from];
}

void compress(Impl impl, State& state, const unsigned char* const data[kMaxLanes],
              const size_t blocks[kMaxLanes])
{
    switch (impl) {
    case Impl::Avx512:
        Detail::compressAvx512(state, data, blocks);
        return;
    case Impl::Avx2:
        Detail::compressAvx2(state, data, blocks);
        return;
    case Impl::Scalar:
        break;
    }
    uint32_t v[4] = {state.a[0], state.b[0], state.c[0], state.d[0]};
    compressScalar(v, data[0], blocks[0]);
    state.a[0] = v[0];
    state.b[0] = v[1];
    state.c[0] = v[2];
    state.d[0] = v[3];
}

void finish(const State& state, int lane, const unsigned char* tail, size_t tailLength, uint64_t totalLength,
            unsigned char digest[16])
{
    // The tail, 0x80, zeros up to 56 mod 64, then the length in bits, little-endian: one
    // padding block, or two when the tail leaves no room for the 0x80 and the length.
    unsigned char pad[128] = {};
    if (tailLength > 0)
        std::memcpy(pad, tail, tailLength);
    pad[tailLength] = 0x80;
    const size_t padBlocks = tailLength < 56 ? 1 : 2;
    const uint64_t bits = totalLength * 8;
    for (int i = 0; i < 8; ++i)
        pad[padBlocks * 64 - 8 + i] = static_cast<unsigned char>(bits >> (8 * i));
    uint32_t v[4] = {state.a[lane], state.b[lane], state.c[lane], state.d[lane]};
    compressScalar(v, pad, padBlocks);
    for (int r = 0; r < 4; ++r)
        for (int i = 0; i < 4; ++i)
            digest[4 * r + i] = static_cast<unsigned char>(v[r] >> (8 * i));
}

void digest(const unsigned char* data, size_t length, unsigned char out[16])
{
    State state;
    init(state, 0);
    uint32_t v[4] = {state.a[0], state.b[0], state.c[0], state.d[0]};
    compressScalar(v, data, length / 64);
    state.a[0] = v[0];
    state.b[0] = v[1];
    state.c[0] = v[2];
    state.d[0] = v[3];
    finish(state, 0, data + (length - length % 64), length % 64, length, out);
}

} // namespace Md5Lanes
