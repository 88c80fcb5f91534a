#pragma once

#include <QByteArray>
#include <QMutex>
#include <atomic>
#include <chrono>

// What a running scan shares with the threads that watch it: the abort request, the counters
// and the item being processed. The worker writes, observers read on a timer.
class ScanState
{
public:
    std::atomic<bool> abortMe{false};
    std::atomic<quint32> countScanned{0};
    std::atomic<quint64> totSizeScanned{0};
    std::atomic<quint32> countDup{0};
    std::atomic<quint64> sizeDup{0};
    std::atomic<bool> outOfMemory{false}; // the scan ended because memory ran out

    void reset();
    bool aborted() const { return abortMe.load(std::memory_order_relaxed); }

    // Notes the item being processed; cheap enough to call for every item, as the stored
    // value changes at most every ~50 ms unless forced.
    void setCurrentFile(const QByteArray& path, bool force = false);
    QByteArray currentFile() const;

private:
    mutable QMutex m_mutex;
    QByteArray m_currentFile;
    std::atomic<std::chrono::steady_clock::rep> m_lastUpdate{0};
};
