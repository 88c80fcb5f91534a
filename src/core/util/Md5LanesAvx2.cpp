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

// The constants are read through a volatile pointer: when the compiler sees their (uniform)
// values it builds each broadcast in registers, 2 extra vector operations per step; taken
// from memory they fold into the adds.
const uint32_t (*const volatile kConstants)[8] = Md5Lanes::Rounds::kWideK<8>.k;

} // namespace

namespace Md5Lanes::Detail {

void compressAvx2(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes])
{
    compressRuns8(
        state, data, blocks, Ops{kConstants},
        [](const size_t left[8]) {
            int bits[8];
            for (int l = 0; l < 8; ++l)
                bits[l] = left[l] ? -1 : 0;
            return _mm256_loadu_si256(reinterpret_cast<const V*>(bits));
        },
        [](V v, V x, V busy) { return _mm256_add_epi32(v, _mm256_and_si256(x, busy)); });
}

} // namespace Md5Lanes::Detail
