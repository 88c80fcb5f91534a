#include "util/Md5Lanes.h"

#include "util/Md5LanesRounds.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>

namespace Md5Lanes {
namespace {

// Lane type of the portable paths: N independent streams in plain 32-bit words. One MD5
// stream is a chain of dependent operations, so the integer units idle most of each step;
// a second stream's operations fill them at almost no extra time.
template <int N> struct ScalarOps
{
    struct V
    {
        uint32_t x[N];
    };
    template <class F> static V each(F f)
    {
        V r;
#pragma GCC unroll 4
        for (int s = 0; s < N; ++s)
            r.x[s] = f(s);
        return r;
    }
    static V add(V x, V y)
    {
        return each([&](int s) { return x.x[s] + y.x[s]; });
    }
    template <int I> static V constant()
    {
        return each([](int) { return Rounds::kK[I]; });
    }
    template <int S> static V rotl(V x)
    {
        return each([&](int s) { return std::rotl(x.x[s], S); });
    }
    template <int Round> static V f(V b, V c, V d)
    {
        return each([&](int s) {
            if constexpr (Round == 0)
                return d.x[s] ^ (b.x[s] & (c.x[s] ^ d.x[s])); // b ? c : d
            else if constexpr (Round == 1)
                return c.x[s] ^ (d.x[s] & (b.x[s] ^ c.x[s])); // d ? b : c
            else if constexpr (Round == 2)
                return b.x[s] ^ c.x[s] ^ d.x[s];
            else
                return c.x[s] ^ (b.x[s] | ~d.x[s]);
        });
    }
};

uint32_t wordAt(const unsigned char* p) // little-endian, whatever the host's order
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

// The MD5 block function over `blocks` consecutive blocks of each of N streams at once:
// v[r].x[s] is working variable r of stream s.
template <int N>
void compressStreams(typename ScalarOps<N>::V v[4], const unsigned char* const data[N], size_t blocks)
{
    using V = typename ScalarOps<N>::V;
    for (size_t i = 0; i < blocks; ++i) {
        V w[16];
        for (int j = 0; j < 16; ++j)
            w[j] = ScalarOps<N>::each([&](int s) { return wordAt(data[s] + 64 * i + 4 * j); });
        V x[4] = {v[0], v[1], v[2], v[3]};
        Rounds::allSteps(ScalarOps<N>(), x, w, std::make_integer_sequence<int, 64>());
        for (int r = 0; r < 4; ++r)
            v[r] = ScalarOps<N>::add(v[r], x[r]);
    }
}

// One stream, its working variables as a plain array.
void compressScalar(uint32_t v[4], const unsigned char* data, size_t blocks)
{
    ScalarOps<1>::V x[4] = {{{v[0]}}, {{v[1]}}, {{v[2]}}, {{v[3]}}};
    compressStreams<1>(x, &data, blocks);
    for (int r = 0; r < 4; ++r)
        v[r] = x[r].x[0];
}

// Lanes 0 and 1 side by side while both have blocks, then the longer one alone.
void compressPair(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes])
{
    const size_t both = std::min(blocks[0], blocks[1]);
    uint32_t* const vars[4] = {state.a, state.b, state.c, state.d};
    if (both > 0) {
        ScalarOps<2>::V x[4];
        for (int r = 0; r < 4; ++r)
            x[r] = {{vars[r][0], vars[r][1]}};
        compressStreams<2>(x, data, both);
        for (int r = 0; r < 4; ++r) {
            vars[r][0] = x[r].x[0];
            vars[r][1] = x[r].x[1];
        }
    }
    for (int l = 0; l < 2; ++l) {
        if (blocks[l] == both)
            continue;
        uint32_t v[4] = {state.a[l], state.b[l], state.c[l], state.d[l]};
        compressScalar(v, data[l] + 64 * both, blocks[l] - both);
        for (int r = 0; r < 4; ++r)
            vars[r][l] = v[r];
    }
}

// Whether the CPU and the operating system (saved vector state) run each width.
bool cpuRuns(Impl impl)
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    switch (impl) {
    case Impl::Scalar:
    case Impl::ScalarPair:
        return true;
    case Impl::Avx2:
        return __builtin_cpu_supports("avx2");
    case Impl::Avx512:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl");
    case Impl::Avx512Vl:
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl");
    }
    return false;
#else
    return impl == Impl::Scalar || impl == Impl::ScalarPair;
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
        else if (std::strcmp(forced, "avx512vl") == 0)
            limit = Impl::Avx512Vl;
    }
    for (Impl impl : {Impl::Avx512, Impl::Avx512Vl, Impl::Avx2})
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
    case Impl::Avx512Vl:
        return 8;
    case Impl::ScalarPair:
        return 2;
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
    case Impl::Avx512Vl:
        Detail::compressAvx512Vl(state, data, blocks);
        return;
    case Impl::Avx2:
        Detail::compressAvx2(state, data, blocks);
        return;
    case Impl::ScalarPair:
        compressPair(state, data, blocks);
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
