#pragma once

// The MD5 round schedule, shared by the scalar and the SIMD block functions. Every step is
// a template on its index so shifts, constants and message indexes are compile-time values
// (immediate rotates, no table lookups) and the 64 steps unroll completely.
#include "util/Md5Lanes.h"

#include <cstdint>
#include <utility>

namespace Md5Lanes::Rounds {

// floor(abs(sin(i + 1)) * 2^32)
inline constexpr uint32_t kK[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};

// kK repeated across each lane of a vector, so a vector add can take its constant straight
// from memory.
template <int Width> struct WideConstants
{
    alignas(64) uint32_t k[64][Width];
    consteval WideConstants() : k{}
    {
        for (int i = 0; i < 64; ++i)
            for (int l = 0; l < Width; ++l)
                k[i][l] = kK[i];
    }
};
template <int Width> inline constexpr WideConstants<Width> kWideK{};

inline constexpr uint32_t kInit[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// Left-rotate amounts: four per round, repeating within the round.
inline constexpr int kShift[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

consteval int shift(int step)
{
    return kShift[step / 16][step % 4];
}

// Which message word step i adds.
consteval int word(int step)
{
    const int i = step % 16;
    switch (step / 16) {
    case 0:
        return i;
    case 1:
        return (5 * i + 1) % 16;
    case 2:
        return (3 * i + 5) % 16;
    default:
        return (7 * i) % 16;
    }
}

// These index functions are consteval so no out-of-line copy is ever emitted: built inside a
// file with wider vector instructions, such a copy could be the one the linker keeps.

// The four working variables rotate roles each step: at step i, "a" is v[(4 - i) % 4], "b" the
// next one, and so on; keeping them in a fixed array indexed at compile time avoids moves.
consteval int role(int step, int r)
{
    return (4 - step % 4 + r) % 4;
}

// One step for any lane type: Ops supplies add, the round function f<round>(b, c, d),
// rotl<s>(x) and constant<i>() (kK[i] in every lane).
template <class Ops, int I, class V>
[[gnu::always_inline]] inline void step(const Ops& ops, V v[4], const V w[16])
{
    V& a = v[role(I, 0)];
    const V b = v[role(I, 1)], c = v[role(I, 2)], d = v[role(I, 3)];
    V t = Ops::add(a, Ops::add(w[word(I)], ops.template constant<I>()));
    // a + w + k does not wait for the previous step; Ops may pin it so the compiler cannot
    // reorder the sum and put f (which waits for b) earlier in the chain.
    if constexpr (requires { Ops::hold(t); })
        Ops::hold(t);
    t = Ops::add(t, Ops::template f<I / 16>(b, c, d));
    a = Ops::add(b, Ops::template rotl<shift(I)>(t));
}

template <class Ops, class V, int... I>
[[gnu::always_inline]] inline void allSteps(const Ops& ops, V v[4], const V w[16],
                                            std::integer_sequence<int, I...>)
{
    (step<Ops, I>(ops, v, w), ...);
}

} // namespace Md5Lanes::Rounds

namespace Md5Lanes::Detail {
// The SIMD block functions, each in a source file of its own built for its instruction set;
// called only after supported() says the CPU runs them.
void compressAvx2(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes]);
void compressAvx512Vl(State& state, const unsigned char* const data[kMaxLanes],
                      const size_t blocks[kMaxLanes]);
void compressAvx512(State& state, const unsigned char* const data[kMaxLanes], const size_t blocks[kMaxLanes]);
} // namespace Md5Lanes::Detail
