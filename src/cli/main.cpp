// quillon-scan: the scan engine of Quillon on the command line.

#include "CommandLine.h"
#include "ResultWriter.h"
#include "TrashCommand.h"

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "review/PhotosAlbum.h"
#include "review/TrashRun.h"
#include "scan/ScanEngine.h"
#include "util/CommonFuncs.h"
#include "util/PathUtils.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTimer>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <malloc.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kExitFatal = 1;
constexpr int kExitUsage = 2;
constexpr int kExitSkipped = 3;
constexpr int kExitInterrupted = 130;

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void onInterrupt(int)
{
    // Signal-safe: only a lock-free atomic store. A second Ctrl-C ends the process
    // (SA_RESETHAND restored the default action).
    g_interrupted.store(true);
}

void writeAll(FILE* stream, const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stream);
    std::fflush(stream);
}

void error(const QString& message)
{
    writeAll(stderr, "quillon-scan: " + message.toUtf8() + '\n');
}

int terminalWidth()
{
    struct winsize ws;
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0)
        return ws.ws_col;
    return 80;
}

// One line, rewritten in place: counts, sizes and the item being processed.
void showProgress(const ScanEngine& engine)
{
    QString line = QStringLiteral("%1 files (%2), %3 duplicates (%4)  ")
                       .arg(engine.countScanned())
                       .arg(CommonFuncs::getSizeInUnits(engine.totSizeScanned()))
                       .arg(engine.countDup())
                       .arg(CommonFuncs::getSizeInUnits(engine.sizeDup()));
    const int room = terminalWidth() - 1 - int(line.size());
    QString current = PathUtils::toDisplay(engine.currentFile());
    current.replace(QLatin1Char('\n'), QLatin1Char(' '));
    if (room > 4 && current.size() > room)
        current = QStringLiteral("...") + current.right(room - 3);
    if (room > 4)
        line += current;
    writeAll(stderr, "\r\033[K" + line.toUtf8());
}

// The Trash run's own progress text, rewritten in place.
void showTrashProgress(const TrashRun& run)
{
    const QString line = QStringLiteral("%1 items moved, %2 can be saved")
                             .arg(run.countTrashed())
                             .arg(CommonFuncs::getSizeInUnits(run.sizeTrashed()));
    writeAll(stderr, "\r\033[K" + line.toUtf8());
}

} // namespace

int main(int argc, char** argv)
{
    // One malloc arena: the hashing threads' small allocations (digests) would otherwise
    // spread over arenas of their own and hold on to their free space (about 70 bytes per
    // scanned file at 200,000 files).
    mallopt(M_ARENA_MAX, 1);
    // The application's log lines only on request, and then on standard error.
    if (qEnvironmentVariableIsEmpty("QUILLON_SCAN_LOG"))
        QLoggingCategory::setFilterRules(QStringLiteral("*.info=false"));
    else
        qputenv("QT_FORCE_STDERR_LOGGING", "1");
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Quillon"));
    QCoreApplication::setApplicationName(QStringLiteral("Quillon"));

    QString usageError;
    const std::optional<CommandLine> cl = CommandLine::parse(argc, argv, usageError);
    if (!cl) {
        error(usageError);
        error(QStringLiteral("try 'quillon-scan --help'"));
        return kExitUsage;
    }
    if (cl->help) {
        writeAll(stdout, CommandLine::helpText().toUtf8());
        return 0;
    }
    if (cl->version) {
        writeAll(stdout, "quillon-scan " QUILLON_VERSION "\n");
        return 0;
    }
    for (const QByteArray& path : cl->paths) {
        struct stat st;
        if (!PathUtils::lstatDeep(path, &st)) {
            error(QStringLiteral("cannot access '%1': %2")
                      .arg(PathUtils::toDisplay(path), qt_error_string(errno)));
            return kExitUsage;
        }
    }

    AppGlobals::initialize();
    Settings& settings = Settings::standard();

    std::vector<FilePathNode> entries;
    for (const QByteArray& path : cl->paths)
        entries.push_back(FilePathNode::initWithPathForFile(path));
    if (!ScanEngine::scanPathButtonState(entries)) {
        error(ScanEngine::kOnlyOneItemMessage);
        error(ScanEngine::kOnlyOneItemHint);
        return kExitUsage;
    }

    if (cl->cacheFile)
        SqliteDBOperations::setDbPathOverride(*cl->cacheFile);
    ScanOptions options;
    options.minimumFileSize = cl->minimumFileSize;
    options.excludedFolders = cl->excludedFolders;
    options.useCache = !cl->noCache;
    if (!qEnvironmentVariableIsEmpty("QUILLON_SCAN_REFERENCE")) {
        // The plain walk the faster paths are checked against: one thread, every candidate
        // read and digested on its own.
        options.hashThreads = 1;
        options.prefilter = false;
        options.shareDigests = false;
        options.listAhead = false;
    }

    ScanEngine engine(settings, nullptr);
    engine.setOptions(options);

    struct sigaction action = {};
    action.sa_handler = onInterrupt;
    action.sa_flags = SA_RESETHAND;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);

    const bool progress = !cl->quiet && ::isatty(STDERR_FILENO);
    QTimer ticker;
    ticker.setInterval(100);
    int ticks = 0;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        if (g_interrupted.load())
            engine.abortScanning();
        if (progress && ++ticks % 2 == 0)
            showProgress(engine);
    });
    bool aborted = false;
    QObject::connect(&engine, &ScanEngine::finished, [&](bool wasAborted) {
        aborted = wasAborted;
        ticker.stop();
        QCoreApplication::quit();
    });

    if (!engine.startScanning(entries)) {
        error(QStringLiteral("the scan could not start"));
        return kExitFatal;
    }
    ticker.start();
    app.exec();
    if (progress)
        writeAll(stderr, "\r\033[K");

    ScanResult* result = engine.result();
    const bool scanComplete = !aborted && !g_interrupted.load() && result->fatalError.isEmpty();
    // Only a complete scan is marked: an interrupted one moves nothing.
    std::optional<TrashCommand> trash;
    if (cl->keep && scanComplete) {
        trash.emplace(*cl->keep, settings.autoMarkPhotos());
        trash->mark(result->arrMainGroup);
        if (cl->trash) {
            const std::unique_ptr<TrashInterface> systemTrash = createSystemTrash();
            PhotosAlbum album(AppGlobals::photosAlbumName);
            trash->move(*systemTrash, album, g_interrupted, [&](const TrashRun& run) {
                if (progress)
                    showTrashProgress(run);
            });
            if (progress)
                writeAll(stderr, "\r\033[K");
        }
    }

    // Streamed: a large result is written as it is formatted, never held whole.
    const ResultWriter::Sink toStdout = [](const QByteArray& piece) {
        std::fwrite(piece.constData(), 1, size_t(piece.size()), stdout);
    };
    const TrashCommand* outcomes = trash ? &*trash : nullptr;
    if (cl->json)
        ResultWriter::writeJson(*result, toStdout, outcomes);
    else
        ResultWriter::writeText(*result, toStdout, outcomes);
    std::fflush(stdout);
    for (const SkippedItem& item : result->skipped)
        error(QStringLiteral("cannot read '%1': %2").arg(PathUtils::toDisplay(item.path), item.reason));
    if (trash) {
        // Files a stop left unreached are only counted in the summary.
        for (const auto& [node, reason] : trash->notMoved())
            if (reason != TrashCommand::kStoppedReason)
                error(QStringLiteral("not moved '%1': %2").arg(PathUtils::toDisplay(node->filePath), reason));
    }
    writeAll(stderr, ResultWriter::summary(*result));
    if (trash)
        writeAll(stderr, ResultWriter::summary(*trash));
    if (!result->fatalError.isEmpty()) {
        error(result->fatalError);
        return kExitFatal;
    }
    if (!scanComplete || g_interrupted.load()) {
        error(cl->keep && !trash ? QStringLiteral("interrupted; nothing was marked or moved")
                                 : QStringLiteral("interrupted"));
        return kExitInterrupted;
    }
    const bool allMoved = !trash || trash->notMoved().empty();
    return result->skipped.empty() && allMoved ? 0 : kExitSkipped;
}
