// Eight MD5 streams in the 32-bit lanes of 256-bit registers, with the AVX-512VL rotate and
// three-input logic. Where 512-bit operations run as two 256-bit halves, this width does half
// the work of the 16-lane path per block, so it wins whenever at most 8 lanes are busy. This
// file alone is built for AVX-512 (see src/CMakeLists.txt) and everything in it has internal
// linkage; it runs only after supported(Impl::Avx512Vl).
#include "util/Md5LanesRounds.h"
#include "util/Md5LanesTranspose8.h"

#include <immintrin.h>

namespace {

using V = __m256i;

struct Ops
{
    static void hold(V& x) { asm("" : "+v"(x)); }
    static V add(V x, V y) { return _mm256_add_epi32(x, y); }
    const uint32_t (*k)[8]; // the round constants, one row per step
    template <int I> V constant() const { return _mm256_load_si256(reinterpret_cast<const V*>(k[I])); }
    template <int S> static V rotl(V x) { return _mm256_rol_epi32(x, S); }
    // One vpternlogd per round function; the immediate is the function's truth table with
    // b, c, d as the bits 2, 1, 0 of the index.
    template <int Round> static V f(V b, V c, V d)
    {
        constexpr int table[4] = {0xca, 0xe4, 0x96, 0x39}; // b?c:d, d?b:c, b^c^d, c^(b|~d)
        return _mm256_ternarylogic_epi32(b, c, d, table[Round]);
    }
};

alignas(64) const unsigned char kIdleBlock[64] = {};

// Read through a volatile pointer so the broadcasts fold into the adds as memory operands.
const uint32_t (*const volatile kConstants)[8] = Md5Lanes::Rounds::kWideK<8>.k;

} // namespace

namespace Md5Lanes::Detail {

void compressAvx512Vl(State& state, const unsigned char* const data[kMaxLanes],
                      const size_t blocks[kMaxLanes])
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
        __mmask8 busy = 0;
        for (int l = 0; l < 8; ++l) {
            step[l] = left[l] ? 64 : 0;
            busy |= static_cast<__mmask8>(left[l] ? 1u << l : 0u);
        }
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
                v[s] = _mm256_mask_add_epi32(v[s], busy, v[s], x[s]);
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
