// The choice of block functions for partly busy lanes.
#include "util/Md5Lanes.h"

#include <algorithm>
#include <array>

namespace Md5Lanes {
namespace {

// The time of one call of each path per block step over all its lanes, in single-lane block
// times of the plain block function (lanes * scalar GB/s / the path's GB/s with every lane
// busy). Measured with md5-lanes-bench, best of five trials, on a Zen 4 class EPYC: scalar
// 0.85 GB/s, pair 1.55, avx2 2.71, avx512vl 4.1, avx512 8.05. There 512-bit operations run
// as two 256-bit halves, yet a block is a chain of dependent steps: an 8-lane ymm call takes
// as long as a 16-lane zmm one, and 2 streams interleaved on the integer units take about
// 1.1 times as long as one.
double callCost(Impl impl)
{
    switch (impl) {
    case Impl::Scalar:
        return 1.0;
    case Impl::ScalarPair:
        return 1.1;
    case Impl::Avx2:
        return 2.5;
    case Impl::Avx512Vl:
        return 1.66;
    case Impl::Avx512:
        return 1.69;
    }
    return 1.0;
}

struct Plan
{
    double cost = 0;
    Impl impl = Impl::Scalar; // for the group starting here
};

} // namespace

void compressBusy(Impl widest, State& state, const unsigned char* const data[kMaxLanes],
                  const size_t blocks[kMaxLanes])
{
    // Busy lanes, longest first: a group's call lasts as long as its longest lane, so lanes of
    // like length go together.
    std::array<int, kMaxLanes> order;
    int busy = 0;
    for (int l = 0; l < kMaxLanes; ++l)
        if (blocks[l] > 0)
            order[size_t(busy++)] = l;
    if (busy == 0)
        return;
    std::stable_sort(order.begin(), order.begin() + busy,
                     [&](int x, int y) { return blocks[x] > blocks[y]; });

    // The paths allowed: the portable ones always, the vector ones up to widest.
    Impl paths[5];
    int pathCount = 0;
    for (Impl impl : {Impl::Scalar, Impl::ScalarPair, Impl::Avx2, Impl::Avx512Vl, Impl::Avx512})
        if (impl <= widest || impl == Impl::ScalarPair)
            if (supported(impl))
                paths[pathCount++] = impl;

    // plan[i]: the cheapest run of the busy lanes from position i on, each group being the next
    // width(impl) lanes (fewer at the end) of the order; its cost is its longest lane's blocks
    // times the call's cost, except that a pair's longer lane finishes alone.
    Plan plan[kMaxLanes + 1];
    for (int i = busy - 1; i >= 0; --i) {
        plan[i].cost = -1;
        for (int p = 0; p < pathCount; ++p) {
            const Impl impl = paths[p];
            const int end = std::min(busy, i + width(impl));
            const double longest = double(blocks[order[size_t(i)]]);
            double cost = callCost(impl) * longest;
            if (impl == Impl::ScalarPair) {
                if (end - i < 2)
                    continue;
                const double shorter = double(blocks[order[size_t(i + 1)]]);
                cost = callCost(impl) * shorter + (longest - shorter);
            }
            cost += plan[end].cost;
            if (plan[i].cost < 0 || cost < plan[i].cost)
                plan[i] = Plan{cost, impl};
        }
    }

    // Each group moves to the front of a scratch state, runs, and moves back.
    for (int i = 0; i < busy;) {
        const Impl impl = plan[i].impl;
        const int count = std::min(busy - i, width(impl));
        State group{};
        const unsigned char* groupData[kMaxLanes] = {};
        size_t groupBlocks[kMaxLanes] = {};
        for (int g = 0; g < count; ++g) {
            const int l = order[size_t(i + g)];
            group.a[g] = state.a[l];
            group.b[g] = state.b[l];
            group.c[g] = state.c[l];
            group.d[g] = state.d[l];
            groupData[g] = data[l];
            groupBlocks[g] = blocks[l];
        }
        compress(impl, group, groupData, groupBlocks);
        for (int g = 0; g < count; ++g) {
            const int l = order[size_t(i + g)];
            state.a[l] = group.a[g];
            state.b[l] = group.b[g];
            state.c[l] = group.c[g];
            state.d[l] = group.d[g];
        }
        i += count;
    }
}

} // namespace Md5Lanes
