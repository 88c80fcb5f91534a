// Sixteen MD5 streams in the 32-bit lanes of AVX-512 registers. This file alone is built for
// AVX-512 (see src/CMakeLists.txt) and everything in it has internal linkage, so no
// AVX-512 code can stand in for a shared inline function elsewhere; it runs only after
// supported(Impl::Avx512).
#include "util/Md5LanesRounds.h"

#include <immintrin.h>

namespace {

using V = __m512i;

struct Ops
{
    static void hold(V& x) { asm("" : "+v"(x)); }
    static V add(V x, V y) { return _mm512_add_epi32(x, y); }
    const uint32_t (*k)[16]; // the round constants, one row per step
    template <int I> V constant() const { return _mm512_load_si512(k[I]); }
    template <int S> static V rotl(V x) { return _mm512_rol_epi32(x, S); }
    // One vpternlogd per round function; the immediate is the function's truth table with
    // b, c, d as the bits 2, 1, 0 of the index.
    template <int Round> static V f(V b, V c, V d)
    {
        constexpr int table[4] = {0xca, 0xe4, 0x96, 0x39}; // b?c:d, d?b:c, b^c^d, c^(b|~d)
        return _mm512_ternarylogic_epi32(b, c, d, table[Round]);
    }
};

// Rows r[l] (lane l's 16 message words) into columns w[j] (word j of every lane): 32-bit then
// 64-bit unpacks transpose each 4x4 square inside a 128-bit quarter, then two rounds of
// 128-bit shuffles move the quarters into place.
[[gnu::always_inline]] inline void transpose(const V r[16], V w[16])
{
    V t[16], u[16];
#pragma GCC unroll 16
    for (int p = 0; p < 8; ++p) {
        t[2 * p] = _mm512_unpacklo_epi32(r[2 * p], r[2 * p + 1]);
        t[2 * p + 1] = _mm512_unpackhi_epi32(r[2 * p], r[2 * p + 1]);
    }
// u[4q + k], quarter c: word 4c + k of lanes 4q .. 4q + 3.
#pragma GCC unroll 16
    for (int q = 0; q < 4; ++q) {
        u[4 * q] = _mm512_unpacklo_epi64(t[4 * q], t[4 * q + 2]);
        u[4 * q + 1] = _mm512_unpackhi_epi64(t[4 * q], t[4 * q + 2]);
        u[4 * q + 2] = _mm512_unpacklo_epi64(t[4 * q + 1], t[4 * q + 3]);
        u[4 * q + 3] = _mm512_unpackhi_epi64(t[4 * q + 1], t[4 * q + 3]);
    }
// w[4c + k] quarter q is u[4q + k] quarter c: a 4x4 transpose of quarters for each k.
#pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) {
        const V c0 = _mm512_shuffle_i32x4(u[k], u[4 + k], 0x44);      // u0.0 u0.1 u1.0 u1.1
        const V c1 = _mm512_shuffle_i32x4(u[k], u[4 + k], 0xee);      // u0.2 u0.3 u1.2 u1.3
        const V c2 = _mm512_shuffle_i32x4(u[8 + k], u[12 + k], 0x44); // u2.0 u2.1 u3.0 u3.1
        const V c3 = _mm512_shuffle_i32x4(u[8 + k], u[12 + k], 0xee);
        w[k] = _mm512_shuffle_i32x4(c0, c2, 0x88); // quarters 0 of u0 .. u3
        w[4 + k] = _mm512_shuffle_i32x4(c0, c2, 0xdd);
        w[8 + k] = _mm512_shuffle_i32x4(c1, c3, 0x88);
        w[12 + k] = _mm512_shuffle_i32x4(c1, c3, 0xdd);
    }
}

// Lanes without data read this block, and their result is masked away.
alignas(64) const unsigned char kIdleBlock[64] = {};

// The constants are read through a volatile pointer: when the compiler sees their (uniform)
// values it builds each broadcast in registers, 2 extra vector operations per step; taken
// from memory they fold into the adds.
const uint32_t (*const volatile kConstants)[16] = Md5Lanes::Rounds::kWideK<16>.k;

} // namespace

namespace Md5Lanes::Detail {

void compressAvx512(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes])
{
    const unsigned char* ptr[16];
    size_t left[16];
    for (int l = 0; l < 16; ++l) {
        left[l] = blocks[l];
        ptr[l] = left[l] ? data[l] : kIdleBlock;
    }
    V v[4] = {_mm512_load_si512(state.a), _mm512_load_si512(state.b), _mm512_load_si512(state.c),
              _mm512_load_si512(state.d)};
    const Ops ops{kConstants};
    for (;;) {
        // Runs of blocks during which the same lanes are busy: the mask only changes between runs.
        size_t run = 0;
        __mmask16 busy = 0;
        for (int l = 0; l < 16; ++l)
            if (left[l] && (run == 0 || left[l] < run))
                run = left[l];
        if (run == 0)
            break;
        size_t step[16];
        for (int l = 0; l < 16; ++l) {
            step[l] = left[l] ? 64 : 0;
            busy |= static_cast<__mmask16>(left[l] ? 1u << l : 0u);
        }
        for (size_t i = 0; i < run; ++i) {
            V r[16], w[16];
#pragma GCC unroll 16
            for (int l = 0; l < 16; ++l) {
                r[l] = _mm512_loadu_si512(ptr[l]);
                ptr[l] += step[l];
            }
            transpose(r, w);
            V x[4] = {v[0], v[1], v[2], v[3]};
            Rounds::allSteps(ops, x, w, std::make_integer_sequence<int, 64>());
#pragma GCC unroll 16
            for (int s = 0; s < 4; ++s) // busy lanes add the block's result; the others keep theirs
                v[s] = _mm512_mask_add_epi32(v[s], busy, v[s], x[s]);
        }
        for (int l = 0; l < 16; ++l)
            if (left[l]) {
                left[l] -= run;
                if (left[l] == 0)
                    ptr[l] = kIdleBlock;
            }
    }
    _mm512_store_si512(state.a, v[0]);
    _mm512_store_si512(state.b, v[1]);
    _mm512_store_si512(state.c, v[2]);
    _mm512_store_si512(state.d, v[3]);
}

} // namespace Md5Lanes::Detail
