// Eight MD5 streams in the 32-bit lanes of AVX2 registers. This file alone is built for AVX2
// (see src/CMakeLists.txt) and everything in it has internal linkage, so no AVX2 code can
// stand in for a shared inline function elsewhere; it runs only after supported(Impl::Avx2).
#include "util/Md5LanesRounds.h"
#include "util/Md5LanesTranspose8.h"

#include <immintrin.h>

namespace {

using V = __m256i;

struct Ops
{
    static void hold(V& x) { asm("" : "+x"(x)); }
    static V add(V x, V y) { return _mm256_add_epi32(x, y); }
    const uint32_t (*k)[8]; // the round constants, one row per step
    template <int I> V constant() const { return _mm256_load_si256(reinterpret_cast<const V*>(k[I])); }
    template <int S> static V rotl(V x) // no vector rotate before AVX-512: two shifts and an or
    {
        return _mm256_or_si256(_mm256_slli_epi32(x, S), _mm256_srli_epi32(x, 32 - S));
    }
    template <int Round> static V f(V b, V c, V d)
    {
        if constexpr (Round == 0)
            return _mm256_xor_si256(d, _mm256_and_si256(b, _mm256_xor_si256(c, d))); // b ? c : d
        else if constexpr (Round == 1)
            return _mm256_xor_si256(c, _mm256_and_si256(d, _mm256_xor_si256(b, c))); // d ? b : c
        else if constexpr (Round == 2)
            return _mm256_xor_si256(_mm256_xor_si256(b, c), d);
        else // c ^ (b | ~d), with ~d as d ^ all-ones
            return _mm256_xor_si256(c, _mm256_or_si256(b, _mm256_xor_si256(d, _mm256_set1_epi32(-1))));
    }
};

alignas(64) const unsigned char kIdleBlock[64] = {};

// The constants are read through a volatile pointer: when the compiler sees their (uniform)
// values it builds each broadcast in registers, 2 extra vector operations per step; taken
// from memory they fold into the adds.
const uint32_t (*const volatile kConstants)[8] = Md5Lanes::Rounds::kWideK<8>.k;

} // namespace

namespace Md5Lanes::Detail {

void compressAvx2(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes])
{
    const unsigned char* ptr[8];
    size_t left[8];
    for (int l = 0; l < 8; ++l) {
        left[l] = blocks[l];
        ptr[l] = left[l] ? data[l] : kIdleBlock;
    }
    const auto load = [](const uint32_t* p) { return _mm256_load_si256(reinterpret_cast<const V*>(p)); };
    V v[4] = {load(state.a), load(state.b), load(state.c), load(state.d)};
    const Ops ops{kConstants};
    for (;;) {
        // Runs of blocks during which the same lanes are busy: the mask only changes between runs.
        size_t run = 0;
        for (int l = 0; l < 8; ++l)
            if (left[l] && (run == 0 || left[l] < run))
                run = left[l];
        if (run == 0)
            break;
        size_t step[8];
        int busyBits[8];
        for (int l = 0; l < 8; ++l) {
            step[l] = left[l] ? 64 : 0;
            busyBits[l] = left[l] ? -1 : 0;
        }
        const V busy = _mm256_loadu_si256(reinterpret_cast<const V*>(busyBits));
        for (size_t i = 0; i < run; ++i) {
            V r[8], w[16];
#pragma GCC unroll 16
            for (int half = 0; half < 2; ++half) {
#pragma GCC unroll 16
                for (int l = 0; l < 8; ++l)
                    r[l] = _mm256_loadu_si256(reinterpret_cast<const V*>(ptr[l] + 32 * half));
                transpose8(r, w + 8 * half);
            }
            for (int l = 0; l < 8; ++l)
                ptr[l] += step[l];
            V x[4] = {v[0], v[1], v[2], v[3]};
            Rounds::allSteps(ops, x, w, std::make_integer_sequence<int, 64>());
#pragma GCC unroll 16
            for (int s = 0; s < 4; ++s) // busy lanes add the block's result; the others keep theirs
                v[s] = _mm256_add_epi32(v[s], _mm256_and_si256(x[s], busy));
        }
        for (int l = 0; l < 8; ++l)
            if (left[l]) {
                left[l] -= run;
                if (left[l] == 0)
                    ptr[l] = kIdleBlock;
            }
    }
    const auto store = [](uint32_t* p, V x) { _mm256_store_si256(reinterpret_cast<V*>(p), x); };
    store(state.a, v[0]);
    store(state.b, v[1]);
    store(state.c, v[2]);
    store(state.d, v[3]);
}

} // namespace Md5Lanes::Detail
