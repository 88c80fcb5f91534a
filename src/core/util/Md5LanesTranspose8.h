#pragma once

// Included only by the block functions built for 256-bit vectors (AVX2 and up); internal
// linkage, so each of those files keeps its own copy built with its own instruction set.
#include <immintrin.h>

namespace {

// Rows r[l] (lane l's 16 words, as two halves) into columns w[j] (word j of every lane):
// 32-bit then 64-bit unpacks transpose each 4x4 square inside a 128-bit half, then a
// 128-bit permute pairs the halves of lanes 0-3 with those of lanes 4-7.
[[gnu::always_inline]] inline void transpose8(const __m256i r[8], __m256i w[8])
{
    __m256i t[8], u[8];
#pragma GCC unroll 16
    for (int p = 0; p < 4; ++p) {
        t[2 * p] = _mm256_unpacklo_epi32(r[2 * p], r[2 * p + 1]);
        t[2 * p + 1] = _mm256_unpackhi_epi32(r[2 * p], r[2 * p + 1]);
    }
// u[4q + k], half c: word 4c + k of lanes 4q .. 4q + 3.
#pragma GCC unroll 16
    for (int q = 0; q < 2; ++q) {
        u[4 * q] = _mm256_unpacklo_epi64(t[4 * q], t[4 * q + 2]);
        u[4 * q + 1] = _mm256_unpackhi_epi64(t[4 * q], t[4 * q + 2]);
        u[4 * q + 2] = _mm256_unpacklo_epi64(t[4 * q + 1], t[4 * q + 3]);
        u[4 * q + 3] = _mm256_unpackhi_epi64(t[4 * q + 1], t[4 * q + 3]);
    }
#pragma GCC unroll 16
    for (int k = 0; k < 4; ++k) {
        w[k] = _mm256_permute2x128_si256(u[k], u[4 + k], 0x20);     // low halves
        w[4 + k] = _mm256_permute2x128_si256(u[k], u[4 + k], 0x31); // high halves
    }
}

} // namespace
