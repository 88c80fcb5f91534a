#pragma once

// The transposition and the block loop shared by the 8-lane block functions. Included only
// by the files built for 256-bit vectors (AVX2 and up); internal linkage, so each of those
// files keeps its own copy built with its own instruction set.
#include "util/Md5Lanes.h"
#include "util/Md5LanesRounds.h"

#include <immintrin.h>
#include <utility>

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

alignas(64) inline const unsigned char kIdleBlock8[64] = {};

// The block loop of an 8-lane function over runs of blocks during which the same lanes are
// busy (the mask only changes between runs): each block is transposed into words, run through
// the 64 steps, and added to the busy lanes' state. busyOf(left) gives the mask of the lanes
// with blocks left; addBusy(v, x, mask) adds x to v in those lanes only.
template <typename Ops, typename BusyOf, typename AddBusy>
[[gnu::always_inline]] inline void compressRuns8(Md5Lanes::State& state, const unsigned char* const data[],
                                                 const size_t blocks[], const Ops& ops, BusyOf busyOf,
                                                 AddBusy addBusy)
{
    using V = __m256i;
    const unsigned char* ptr[8];
    size_t left[8];
    for (int l = 0; l < 8; ++l) {
        left[l] = blocks[l];
        ptr[l] = left[l] ? data[l] : kIdleBlock8;
    }
    const auto load = [](const uint32_t* p) { return _mm256_load_si256(reinterpret_cast<const V*>(p)); };
    V v[4] = {load(state.a), load(state.b), load(state.c), load(state.d)};
    for (;;) {
        size_t run = 0;
        for (int l = 0; l < 8; ++l)
            if (left[l] && (run == 0 || left[l] < run))
                run = left[l];
        if (run == 0)
            break;
        size_t step[8];
        for (int l = 0; l < 8; ++l)
            step[l] = left[l] ? 64 : 0;
        const auto busy = busyOf(left);
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
            Md5Lanes::Rounds::allSteps(ops, x, w, std::make_integer_sequence<int, 64>());
#pragma GCC unroll 16
            for (int s = 0; s < 4; ++s)
                v[s] = addBusy(v[s], x[s], busy);
        }
        for (int l = 0; l < 8; ++l)
            if (left[l]) {
                left[l] -= run;
                if (left[l] == 0)
                    ptr[l] = kIdleBlock8;
            }
    }
    const auto store = [](uint32_t* p, V x) { _mm256_store_si256(reinterpret_cast<V*>(p), x); };
    store(state.a, v[0]);
    store(state.b, v[1]);
    store(state.c, v[2]);
    store(state.d, v[3]);
}

} // namespace
