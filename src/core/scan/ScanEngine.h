#pragma once

#include "model/FilePathNode.h"
#include "model/ScanResult.h"
#include "scan/ScanOptions.h"

#include <QObject>
#include <QString>
#include <atomic>
#include <memory>
#include <vector>

class AlertPresenter;
class Settings;

// Runs parseAllPath on a worker thread that it owns: walk the ticked entries, bucket by size,
// take cached digests, hash the rest, group by digest, store new digests. Progress is read
// from atomic counters (on a timer, by the caller); the end comes as one queued signal.
class ScanEngine : public QObject
{
    Q_OBJECT
public:
    static inline const QString kOnlyOneItemMessage =
        QStringLiteral("Only one item detected in the selected path(s).");
    static inline const QString kOnlyOneItemHint =
        QStringLiteral("Hint: Please try scanning another path for duplicates.");

    // The result's fatalError when memory ran out during the scan.
    static inline const QString kOutOfMemoryMessage =
        QStringLiteral("The scan ended early: there was not enough memory to go on.");

    ScanEngine(Settings& settings, AlertPresenter* alerts, QObject* parent = nullptr);
    ~ScanEngine() override; // aborts a running scan and waits for its worker

    // A scan may start when a ticked entry is an existing folder, or more than one other
    // entry is ticked.
    static bool scanPathButtonState(const std::vector<FilePathNode>& arrPathNodes);

    // Options for the next scans (minimum size, exclusions, cache, hashing threads).
    void setOptions(const ScanOptions& options);
    ScanOptions options() const;

    // Starts a scan of the ticked entries; false (nothing started) when scanPathButtonState
    // says no (the refusal alert kOnlyOneItemMessage is then shown through the presenter,
    // when there is one), a scan is already running or its thread cannot start. Reads the minimum size and
    // the exclusions from the settings (unless the options override them) on the calling thread.
    bool startScanning(const std::vector<FilePathNode>& arrPathNodes);
    void abortScanning();
    bool isScanning() const;

    quint32 countScanned() const;
    quint64 totSizeScanned() const;
    quint32 countDup() const;
    quint64 sizeDup() const;
    QByteArray currentFile() const; // the record being processed ("Processing File :%@")

    // The outcome of the last scan, once finished() has been emitted.
    ScanResult* result() const;
    std::unique_ptr<ScanResult> takeResult();

    // "Days:%ld  Hour:%ld  Minutes:%ld  Seconds:%ld" of the absolute number of seconds.
    static QString getTimeSpan(qint64 seconds);

Q_SIGNALS:
    void finished(bool aborted);

private:
    struct Private;
    std::unique_ptr<Private> d;
};
