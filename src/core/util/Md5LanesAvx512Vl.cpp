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

// Read through a volatile pointer so the broadcasts fold into the adds as memory operands.
const uint32_t (*const volatile kConstants)[8] = Md5Lanes::Rounds::kWideK<8>.k;

} // namespace

namespace Md5Lanes::Detail {

void compressAvx512Vl(State& state, const unsigned char* const data[kMaxLanes],
                      const size_t blocks[kMaxLanes])
{
    compressRuns8(
        state, data, blocks, Ops{kConstants},
        [](const size_t left[8]) {
            __mmask8 busy = 0;
            for (int l = 0; l < 8; ++l)
                busy |= static_cast<__mmask8>(left[l] ? 1u << l : 0u);
            return busy;
        },
        [](V v, V x, __mmask8 busy) { return _mm256_mask_add_epi32(v, busy, v, x); });
}

} // namespace Md5Lanes::Detail
