#include "scan/ScanEngine.h"

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "scan/ScanState.h"
#include "scan/ScanWorker.h"
#include "util/AlertPresenter.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QMetaObject>
#include <cstdlib>
#include <new>
#include <system_error>
#include <thread>

struct ScanEngine::Private
{
    Settings& settings;
    AlertPresenter* alerts;
    ScanOptions options;
    ScanState state;
    std::thread worker;
    std::atomic<bool> scanning{false};
    std::unique_ptr<ScanResult> result;
    std::unique_ptr<ScanResult> running;

    Private(Settings& s, AlertPresenter* a) : settings(s), alerts(a) {}

    void joinWorker()
    {
        if (worker.joinable())
            worker.join();
    }
};

ScanEngine::ScanEngine(Settings& settings, AlertPresenter* alerts, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(settings, alerts))
{}

ScanEngine::~ScanEngine()
{
    d->state.abortMe = true;
    d->joinWorker();
    if (d->scanning)
        AppGlobals::canOpenPreferences = false;
}

bool ScanEngine::scanPathButtonState(const std::vector<FilePathNode>& arrPathNodes)
{
    int others = 0;
    for (const FilePathNode& node : arrPathNodes) {
        if (node.state != 1)
            continue;
        if (PathUtils::isDirectory(node.filePath))
            return true;
        ++others;
    }
    return others > 1;
}

void ScanEngine::setOptions(const ScanOptions& options)
{
    d->options = options;
}

ScanOptions ScanEngine::options() const
{
    return d->options;
}

bool ScanEngine::startScanning(const std::vector<FilePathNode>& arrPathNodes)
{
    if (d->scanning)
        return false;
    if (!scanPathButtonState(arrPathNodes)) {
        if (d->alerts) {
            Alert alert;
            alert.messageText = kOnlyOneItemMessage;
            alert.informativeText = kOnlyOneItemHint;
            d->alerts->runModal(alert);
        }
        return false;
    }
    d->joinWorker();
    d->state.reset();
    AppGlobals::minAllowedFileSize =
        d->options.minimumFileSize ? *d->options.minimumFileSize : d->settings.minimumFileSizeInBytes();

    ScanWorker::Config config;
    config.arrPathNodes = arrPathNodes;
    config.excludedFolders =
        d->options.excludedFolders ? *d->options.excludedFolders : d->settings.excludedFolders();
    config.options = d->options;
    config.alerts = d->alerts;
    config.settings = &d->settings;

    d->running = std::make_unique<ScanResult>();
    d->scanning = true;
    AppGlobals::canOpenPreferences = true;
    ScanResult* running = d->running.get();
    const auto work = [this, running, config = std::move(config)]() mutable {
        try {
            ScanWorker worker(std::move(config), *running, d->state);
            worker.parseAllPath();
        } catch (const std::bad_alloc&) {
            d->state.outOfMemory = true;
        }
        if (d->state.outOfMemory)
            running->fatalError = kOutOfMemoryMessage;
        running->countScanned = d->state.countScanned.load();
        running->totSizeScanned = d->state.totSizeScanned.load();
        running->countDup = d->state.countDup.load();
        running->sizeDup = d->state.sizeDup.load();
        running->aborted = d->state.aborted() && !d->state.outOfMemory;
        QMetaObject::invokeMethod(
            this,
            [this] {
                d->joinWorker();
                d->result = std::move(d->running);
                d->scanning = false;
                AppGlobals::canOpenPreferences = false;
                Q_EMIT finished(d->result->aborted);
            },
            Qt::QueuedConnection);
    };
    try {
        d->worker = std::thread(std::move(work));
    } catch (const std::system_error& e) {
        quillonLog(
            QStringLiteral("The scan thread could not start: %1").arg(QString::fromLocal8Bit(e.what())));
        d->running.reset();
        d->scanning = false;
        AppGlobals::canOpenPreferences = false;
        return false;
    }
    return true;
}

void ScanEngine::abortScanning()
{
    d->state.abortMe = true;
}

bool ScanEngine::isScanning() const
{
    return d->scanning;
}

quint32 ScanEngine::countScanned() const
{
    return d->state.countScanned.load(std::memory_order_relaxed);
}

quint64 ScanEngine::totSizeScanned() const
{
    return d->state.totSizeScanned.load(std::memory_order_relaxed);
}

quint32 ScanEngine::countDup() const
{
    return d->state.countDup.load(std::memory_order_relaxed);
}

quint64 ScanEngine::sizeDup() const
{
    return d->state.sizeDup.load(std::memory_order_relaxed);
}

QByteArray ScanEngine::currentFile() const
{
    return d->state.currentFile();
}

ScanResult* ScanEngine::result() const
{
    return d->result.get();
}

std::unique_ptr<ScanResult> ScanEngine::takeResult()
{
    return std::move(d->result);
}

QString ScanEngine::getTimeSpan(qint64 seconds)
{
    const qint64 s = std::llabs(seconds);
    const qint64 days = s / 86400;
    const qint64 hours = s / 3600 - 24 * days;
    const qint64 minutes = s / 60 - 1440 * days - 60 * hours;
    const qint64 secs = s % 60;
    return QStringLiteral("Days:%1  Hour:%2  Minutes:%3  Seconds:%4")
        .arg(days)
        .arg(hours)
        .arg(minutes)
        .arg(secs);
}
