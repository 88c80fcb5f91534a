// Times the folder walk of a scan (records only, no digests) with and without the folders
// read ahead on a second thread, alternating the two, and checks that both give the same
// records and skipped items in the same order. Prints the median wall and CPU time of each.
//
//   walk-bench FOLDER [ROUNDS]
#include "app/AppGlobals.h"
#include "model/FileInfoNode.h"
#include "model/ScanResult.h"
#include "scan/ScanState.h"
#include "scan/ScanWorker.h"

#include <QCoreApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <malloc.h>
#include <sys/resource.h>

namespace {

// User and system CPU seconds of the process (all threads).
std::pair<double, double> cpuSeconds()
{
    struct rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& t) { return double(t.tv_sec) + double(t.tv_usec) / 1e6; };
    return {seconds(usage.ru_utime), seconds(usage.ru_stime)};
}

struct Run
{
    double wall = 0;
    double user = 0;
    double sys = 0;
    double walkThread = 0;  // CPU seconds of the walk's own thread
    QList<QByteArray> seen; // records, then skipped items with their reasons
};

Run walk(const QByteArray& root, bool listAhead)
{
    ScanWorker::Config config;
    config.options.listAhead = listAhead;
    ScanResult result;
    ScanState state;
    ScanWorker worker(std::move(config), result, state);
    const auto cpu = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    timespec t0, t1;
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t0);
    worker.parsePathForFilesAndFolders(root);
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t1);
    Run run;
    run.wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.walkThread = double(t1.tv_sec - t0.tv_sec) + double(t1.tv_nsec - t0.tv_nsec) / 1e9;
    run.user = cpuSeconds().first - cpu.first;
    run.sys = cpuSeconds().second - cpu.second;
    for (const FileInfoNode* node : result.arrFileNodes)
        run.seen << node->filePath;
    for (const SkippedItem& item : result.skipped)
        run.seen << item.path + ": " + item.reason.toUtf8();
    return run;
}

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char* argv[])
{
    mallopt(M_ARENA_MAX, 1); // as quillon-scan runs
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FOLDER [ROUNDS]\n", argv[0]);
        return 2;
    }
    AppGlobals::minAllowedFileSize = 0;
    const QByteArray root(argv[1]);
    const int rounds = argc > 2 ? std::max(1, std::atoi(argv[2])) : 7;
    std::vector<double> wall[2], user[2], sys[2], walkThread[2], others[2];
    QList<QByteArray> first;
    for (int i = 0; i < rounds; ++i) {
        for (const bool ahead : {false, true}) {
            const Run run = walk(root, ahead);
            if (first.isEmpty())
                first = run.seen;
            else if (run.seen != first) {
                std::fprintf(stderr, "DIFFERENT: the walk %s reading ahead gave another result\n",
                             ahead ? "with" : "without");
                return 1;
            }
            wall[ahead].push_back(run.wall);
            user[ahead].push_back(run.user);
            sys[ahead].push_back(run.sys);
            walkThread[ahead].push_back(run.walkThread);
            others[ahead].push_back(run.user + run.sys - run.walkThread);
        }
    }
    std::printf("items: %lld, rounds: %d\n", static_cast<long long>(first.size()), rounds);
    std::printf("plain walk:   %.3f s wall, %.3f s user, %.3f s sys (medians)\n", median(wall[0]),
                median(user[0]), median(sys[0]));
    std::printf("listed ahead: %.3f s wall, %.3f s user, %.3f s sys (medians), %.2fx faster\n",
                median(wall[1]), median(user[1]), median(sys[1]), median(wall[0]) / median(wall[1]));
    // On two idle cores the walk takes about the larger of the two threads' CPU times.
    std::printf("listed ahead: walk thread %.3f s CPU, lister %.3f s CPU (medians)\n", median(walkThread[1]),
                median(others[1]));
    return 0;
}
