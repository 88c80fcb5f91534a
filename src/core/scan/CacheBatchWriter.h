#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

struct FileInfoNode;

// Writes the grouping's cache batches on a thread of its own, so that hashing and grouping
// never wait for the database. Batches queued while a write runs go together in the next
// write (one transaction, one sync). The records must outlive finish().
class CacheBatchWriter
{
public:
    using Write = std::function<void(const std::vector<FileInfoNode*>&)>;

    explicit CacheBatchWriter(Write write);
    ~CacheBatchWriter();
    CacheBatchWriter(const CacheBatchWriter&) = delete;
    CacheBatchWriter& operator=(const CacheBatchWriter&) = delete;

    void add(const std::vector<FileInfoNode*>& batch);
    // Writes what is queued and returns once it is written.
    void finish();

private:
    void run();

    Write m_write;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::vector<FileInfoNode*> m_queue;
    bool m_finishing = false;
    std::thread m_thread;
};
