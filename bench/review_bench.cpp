// Timings of the results review on a synthetic result of 100,000 groups and 300,000 files,
// and the heap the review adds per file. Nothing touches the disk but a temporary settings
// file.
//
//   review-bench [GROUPS [FILES_PER_GROUP]]

#include "app/Settings.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "review/ReviewModel.h"
#include "util/AlertPresenter.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <malloc.h>

namespace {

constexpr double kTargetSeconds = 0.2;
constexpr double kTargetBytesPerFile = 100;

size_t heapInUse()
{
    return mallinfo2().uordblks;
}

// One group per content; members share the extension, folders and names vary.
void fillResult(ScanResult& scan, int groups, int perGroup)
{
    static const char* const exts[] = {"jpg",  "JPG", "png", "mov", "mp4", "mp3", "pdf",
                                       "docx", "txt", "zip", "dmg", "dat", ""};
    QRandomGenerator rng(12);
    for (int g = 0; g < groups; ++g) {
        DuplicateGroup* group = scan.addGroup();
        const char* ext = exts[rng.bounded(int(std::size(exts)))];
        const quint64 size = 1 + rng.bounded(50'000'000);
        for (int i = 0; i < perGroup; ++i) {
            FileInfoNode n;
            n.filePath = QByteArray("/home/someone/Pictures/Trip ") + QByteArray::number(rng.bounded(2000)) +
                         "/IMG_" + QByteArray::number(g) + '_' + QByteArray::number(i) + (*ext ? "." : "") +
                         ext;
            n.fileSize = size;
            n.createDate = 1.4e9 + rng.bounded(300'000'000);
            n.isPhotosNode = rng.bounded(40) == 0;
            if (n.isPhotosNode)
                n.photosInfo() = std::make_unique<PhotosNode>();
            n.fileCategory = FileInfoNode::categoryForPath(n.filePath, true);
            FileInfoNode* node = scan.addNode(std::move(n));
            node->parent = group;
            group->children.push_back(node);
            group->filteredChildren.push_back(node);
            group->groupSize += size;
        }
    }
}

double threadCpuSeconds()
{
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return double(ts.tv_sec) + ts.tv_nsec / 1e9;
}

// Wall time and this thread's CPU time: on a shared machine the wall time also counts the
// time other processes had the core.
struct Figure
{
    const char* name;
    double worstWall = 0;
    double worstCpu = 0;
};

// Runs each step once and keeps the slowest.
Figure measure(const char* name, const std::vector<std::function<void()>>& steps)
{
    Figure figure{name};
    for (const auto& step : steps) {
        QElapsedTimer timer;
        timer.start();
        const double cpu = threadCpuSeconds();
        step();
        figure.worstCpu = std::max(figure.worstCpu, threadCpuSeconds() - cpu);
        figure.worstWall = std::max(figure.worstWall, timer.nsecsElapsed() / 1e9);
    }
    return figure;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const int groups = argc > 1 ? std::atoi(argv[1]) : 100'000;
    const int perGroup = argc > 2 ? std::atoi(argv[2]) : 3;
    const double files = double(groups) * perGroup;

    QTemporaryDir dir;
    QSettings store(dir.filePath(QStringLiteral("bench.ini")), QSettings::IniFormat);
    Settings settings(&store);
    settings.setAutoSelectOption(1);
    ScriptedAlertPresenter alerts;

    ScanResult scan;
    fillResult(scan, groups, perGroup);

    // The review's steady state: its own lists after every kind of step below.
    const size_t heapBefore = heapInUse();
    size_t heapPeak = heapBefore;
    const auto sample = [&] { heapPeak = std::max(heapPeak, heapInUse()); };

    ReviewModel model(settings, alerts);
    std::vector<Figure> figures;
    figures.push_back(measure("hand-off (fresh results)", {[&] {
                                  model.setArrMainGroup(scan.arrMainGroup);
                                  model.updateUIComponentsDetailView();
                              }}));
    sample();

    std::vector<std::function<void()>> steps;
    for (int c : {1, 3, 0, 2, 5, 4, -1})
        steps.push_back([&model, &sample, c] {
            model.selectCategory(c);
            sample();
        });
    figures.push_back(measure("category switch", steps));

    steps.clear();
    for (const char* text :
         {"\xc3\xa9", "i", "im", "img", "img_", "img_9", "img_99", "img_9", "img_", "trip", ""})
        steps.push_back([&model, &sample, text] {
            model.runSearchForDuplicates(QString::fromUtf8(text));
            sample();
        });
    figures.push_back(measure("search keystroke", steps));

    steps.clear();
    for (int item : {2, 6, 3, 7, 4, 0, 1, 5})
        steps.push_back([&model, &sample, item] {
            model.selectSortingType(item);
            sample();
        });
    figures.push_back(measure("sort change", steps));

    figures.push_back(measure("automatic marking of all groups", {[&] {
                                  model.proceedToautoMarkAllitems();
                                  sample();
                              }}));

    // A Trash run moved the marked files of every tenth group.
    for (size_t g = 0; g < model.arrGroups().size(); g += 10) {
        for (FileInfoNode* f : model.arrGroups()[g]->filteredChildren) {
            if (f->state == 1 && !f->isPhotosNode) {
                f->isMoveToTrash = true;
                model.decrementMarked(f->fileSize);
            }
        }
    }
    figures.push_back(measure("removing the moved records", {[&] { model.removeMovedRecords(); }}));
    figures.push_back(measure("addObjectsToGroupArray", {[&] {
                                  model.addObjectsToGroupArray();
                                  sample();
                              }}));

    std::printf("review of %d groups, %.0f files (slowest step; target 200 ms of CPU)\n", groups, files);
    std::printf("  %-34s %9s %9s\n", "", "cpu", "wall");
    bool ok = true;
    for (const Figure& f : figures) {
        const bool within = f.worstCpu < kTargetSeconds;
        ok = ok && within;
        std::printf("  %-34s %6.1f ms %6.1f ms  %s\n", f.name, f.worstCpu * 1e3, f.worstWall * 1e3,
                    within ? "ok" : "OVER");
    }
    const double bytesPerFile = double(heapPeak - heapBefore) / files;
    const bool memoryOk = bytesPerFile <= kTargetBytesPerFile;
    std::printf("  %-34s %8.1f B    %s\n", "heap added per file (peak)", bytesPerFile,
                memoryOk ? "ok" : "OVER 100 B");
    return ok && memoryOk ? 0 : 1;
}
