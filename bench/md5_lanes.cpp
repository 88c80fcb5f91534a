// Multi-lane MD5: (1) throughput of each implementation with 1, 2, 4, 8 and 16 busy lanes on
// 1 MiB streams (calls of its width over the busy lanes), and of compressBusy() choosing from
// the widest, against OpenSSL's single stream; (2) a fuzz run against OpenSSL with random lengths, contents
// and feeding steps.
//   md5-lanes-bench [fuzz seconds, default 20] [seed]
// Exits 1 on any mismatch.
#include "util/Md5Lanes.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <openssl/evp.h>
#include <random>
#include <vector>

using Clock = std::chrono::steady_clock;
using Md5Lanes::Impl;

namespace {

const char* name(Impl impl)
{
    switch (impl) {
    case Impl::Avx512:
        return "avx512";
    case Impl::Avx512Vl:
        return "avx512vl";
    case Impl::Avx2:
        return "avx2";
    case Impl::ScalarPair:
        return "pair";
    case Impl::Scalar:
        break;
    }
    return "scalar";
}

double seconds(Clock::time_point since)
{
    return std::chrono::duration<double>(Clock::now() - since).count();
}

void reference(const unsigned char* data, size_t length, unsigned char out[16])
{
    EVP_Digest(data, length, out, nullptr, EVP_md5(), nullptr);
}

constexpr size_t kStream = 1 << 20;

// Repeats whole 1 MiB streams on `busy` lanes for about a second in all, in calls of the path's width,
// or through compressBusy() when `chooser`; returns GB/s over all busy lanes.
double lanesThroughput(Impl impl, bool chooser, int busy, const std::vector<unsigned char>& bytes)
{
    const int lanes = chooser ? Md5Lanes::kMaxLanes : Md5Lanes::width(impl);
    Md5Lanes::State state;
    unsigned char out[16];
    // The best of five short trials: the machine may be shared, and other work only slows a trial.
    double best = 0;
    for (int trial = 0; trial < 5; ++trial) {
        size_t streams = 0;
        const auto start = Clock::now();
        do {
            for (int first = 0; first < busy; first += lanes) {
                const unsigned char* data[Md5Lanes::kMaxLanes] = {};
                size_t blocks[Md5Lanes::kMaxLanes] = {};
                for (int l = 0; l < lanes && first + l < busy; ++l) {
                    data[l] = bytes.data() + size_t(first + l) * kStream;
                    blocks[l] = kStream / 64;
                    Md5Lanes::init(state, l);
                }
                if (chooser)
                    Md5Lanes::compressBusy(impl, state, data, blocks);
                else
                    Md5Lanes::compress(impl, state, data, blocks);
                for (int l = 0; l < lanes && first + l < busy; ++l)
                    Md5Lanes::finish(state, l, nullptr, 0, kStream, out);
            }
            streams += size_t(busy);
        } while (seconds(start) < 0.2);
        best = std::max(best, double(streams * kStream) / seconds(start) / 1e9);
    }
    return best;
}

double opensslThroughput(const std::vector<unsigned char>& bytes)
{
    unsigned char out[16];
    size_t streams = 0;
    const auto start = Clock::now();
    do {
        reference(bytes.data() + (streams % 16) * kStream, kStream, out);
        ++streams;
    } while (seconds(start) < 1.0);
    return double(streams * kStream) / seconds(start) / 1e9;
}

// One batch: every lane gets a random stream fed in random block steps, through compress() or
// through compressBusy() over all lane slots (`chooser`); returns mismatches.
int fuzzBatch(Impl impl, bool chooser, std::mt19937_64& rng)
{
    const int lanes = chooser ? Md5Lanes::kMaxLanes : Md5Lanes::width(impl);
    std::vector<unsigned char> streams[Md5Lanes::kMaxLanes];
    size_t pos[Md5Lanes::kMaxLanes] = {};
    Md5Lanes::State state;
    for (int l = 0; l < lanes; ++l) {
        // Mostly short streams around the padding edges, sometimes up to 256 KiB.
        const size_t length = rng() % 4 ? rng() % 200 : rng() % (256 * 1024);
        streams[l].resize(length);
        for (auto& byte : streams[l])
            byte = static_cast<unsigned char>(rng());
        Md5Lanes::init(state, l);
    }
    for (;;) {
        const unsigned char* data[Md5Lanes::kMaxLanes] = {};
        size_t blocks[Md5Lanes::kMaxLanes] = {};
        size_t pending = 0;
        for (int l = 0; l < lanes; ++l) {
            const size_t whole = (streams[l].size() - pos[l]) / 64;
            pending += whole;
            blocks[l] = rng() % 3 == 0 ? 0 : rng() % (whole + 1);
            data[l] = blocks[l] ? streams[l].data() + pos[l] : nullptr;
            pos[l] += 64 * blocks[l];
        }
        if (pending == 0)
            break;
        if (chooser)
            Md5Lanes::compressBusy(impl, state, data, blocks);
        else
            Md5Lanes::compress(impl, state, data, blocks);
    }
    int mismatches = 0;
    for (int l = 0; l < lanes; ++l) {
        unsigned char got[16], want[16];
        Md5Lanes::finish(state, l, streams[l].data() + pos[l], streams[l].size() - pos[l], streams[l].size(),
                         got);
        reference(streams[l].data(), streams[l].size(), want);
        if (std::memcmp(got, want, 16) != 0) {
            std::printf("MISMATCH %s%s lane %d length %zu\n", chooser ? "compressBusy " : "", name(impl), l,
                        streams[l].size());
            ++mismatches;
        }
    }
    return mismatches;
}

} // namespace

int main(int argc, char* argv[])
{
    const double fuzzSeconds = argc > 1 ? std::atof(argv[1]) : 20.0;
    const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
    std::vector<Impl> impls;
    for (Impl impl : {Impl::Scalar, Impl::ScalarPair, Impl::Avx2, Impl::Avx512Vl, Impl::Avx512})
        if (Md5Lanes::supported(impl))
            impls.push_back(impl);

    std::vector<unsigned char> bytes(16 * kStream);
    std::mt19937_64 fill(seed);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(fill());
    std::printf("best: %s\n", name(Md5Lanes::best()));
    std::printf("openssl  1 stream : %.2f GB/s\n", opensslThroughput(bytes));
    std::printf("GB/s over all busy lanes   1 busy   2 busy   4 busy   8 busy  16 busy\n");
    const auto row = [&](const char* label, Impl impl, bool chooser) {
        std::printf("%-24s", label);
        for (int busy : {1, 2, 4, 8, 16})
            std::printf(" %8.2f", lanesThroughput(impl, chooser, busy, bytes));
        std::printf("\n");
    };
    for (Impl impl : impls)
        row(name(impl), impl, false);
    row("compressBusy (best)", Md5Lanes::best(), true);

    std::mt19937_64 rng(seed);
    size_t checked = 0;
    int mismatches = 0;
    const auto start = Clock::now();
    while (seconds(start) < fuzzSeconds) {
        for (Impl impl : impls) {
            mismatches += fuzzBatch(impl, false, rng);
            checked += size_t(Md5Lanes::width(impl));
        }
        mismatches += fuzzBatch(Md5Lanes::best(), true, rng);
        checked += Md5Lanes::kMaxLanes;
    }
    std::printf("fuzz: %zu streams checked in %.1f s, %d mismatches\n", checked, seconds(start), mismatches);
    return mismatches ? 1 : 0;
}
