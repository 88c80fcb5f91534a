#include "scan/ScanState.h"

#include <QMutexLocker>

namespace {
constexpr auto kCurrentFileInterval = std::chrono::milliseconds(50);
}

void ScanState::reset()
{
    abortMe = false;
    countScanned = 0;
    totSizeScanned = 0;
    countDup = 0;
    sizeDup = 0;
    outOfMemory = false;
    m_lastUpdate = 0;
    QMutexLocker lock(&m_mutex);
    m_currentFile.clear();
}

void ScanState::setCurrentFile(const QByteArray& path, bool force)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const auto interval =
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(kCurrentFileInterval);
    auto last = m_lastUpdate.load(std::memory_order_relaxed);
    if (!force && now - last < interval.count())
        return;
    if (!m_lastUpdate.compare_exchange_strong(last, now, std::memory_order_relaxed) && !force)
        return;
    QMutexLocker lock(&m_mutex);
    m_currentFile = path;
}

QByteArray ScanState::currentFile() const
{
    QMutexLocker lock(&m_mutex);
    return m_currentFile;
}
