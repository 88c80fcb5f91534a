#include "scan/CacheBatchWriter.h"

#include <new>
#include <system_error>

CacheBatchWriter::CacheBatchWriter(Write write) : m_write(std::move(write))
{
    try {
        m_thread = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        // No thread: add() writes each batch itself.
    }
}

CacheBatchWriter::~CacheBatchWriter()
{
    finish();
}

void CacheBatchWriter::add(const std::vector<FileInfoNode*>& batch)
{
    if (batch.empty())
        return;
    if (!m_thread.joinable()) {
        m_write(batch);
        return;
    }
    {
        std::lock_guard lock(m_mutex);
        m_queue.insert(m_queue.end(), batch.begin(), batch.end());
    }
    m_wake.notify_one();
}

void CacheBatchWriter::finish()
{
    if (!m_thread.joinable())
        return;
    {
        std::lock_guard lock(m_mutex);
        m_finishing = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void CacheBatchWriter::run()
{
    std::vector<FileInfoNode*> taken;
    for (;;) {
        {
            std::unique_lock lock(m_mutex);
            m_wake.wait(lock, [this] { return m_finishing || !m_queue.empty(); });
            if (m_queue.empty())
                return; // finishing, and everything is written
            taken.swap(m_queue);
        }
        try {
            m_write(taken);
        } catch (const std::bad_alloc&) {
            // Not written: those files are hashed again next time.
        }
        taken.clear();
    }
}
