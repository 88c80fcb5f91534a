#include "scan/FolderLister.h"

#include <chrono>
#include <new>

FolderLister::FolderLister(const std::atomic<bool>& abortFlag, bool enabled)
    : m_abort(abortFlag), m_enabled(enabled)
{}

FolderLister::~FolderLister()
{
    {
        std::lock_guard lock(m_mutex);
        m_stop = true;
    }
    m_work.notify_all();
    if (m_thread.joinable())
        m_thread.join();
}

FolderListing FolderLister::read(const std::shared_ptr<OpenFolder>& parent, const char* name,
                                 const QByteArray& path, bool keep)
{
    int fd = -1;
    FolderListing listing =
        FolderListing::read(parent ? parent->fd() : -1, name, path, &m_abort, keep ? &fd : nullptr);
    if (fd >= 0) {
        try {
            listing.folder = std::make_shared<OpenFolder>(fd, m_live);
        } catch (...) {
            ::close(fd);
            throw;
        }
    }
    return listing;
}

void FolderLister::prepend(std::vector<Task> tasks)
{
    if (!m_enabled || tasks.empty())
        return;
    {
        std::lock_guard lock(m_mutex);
        for (auto it = tasks.rbegin(); it != tasks.rend(); ++it) {
            auto job = std::make_shared<Job>();
            job->task = std::move(*it);
            m_jobs.push_front(std::move(job));
        }
        // The farthest folders go first; the walk reads them itself when it gets there.
        while (m_jobs.size() > kMaxFolders) {
            drop(*m_jobs.back());
            m_jobs.pop_back();
        }
        if (!m_thread.joinable())
            m_thread = std::thread([this] { run(); });
    }
    m_work.notify_one();
}

std::optional<FolderListing> FolderLister::take(const QByteArray& path)
{
    std::unique_lock lock(m_mutex);
    if (m_jobs.empty() || m_jobs.front()->task.path != path)
        return std::nullopt;
    const std::shared_ptr<Job> job = m_jobs.front();
    // The abort flag is set without a notification: it is polled.
    while (job->state == State::Reading && !m_abort.load(std::memory_order_relaxed))
        m_ready.wait_for(lock, std::chrono::milliseconds(10));
    m_jobs.pop_front();
    if (job->state != State::Ready) {
        drop(*job);
        return std::nullopt;
    }
    m_readyEntries -= job->listing.entries.size();
    return std::move(job->listing);
}

void FolderLister::drop(Job& job)
{
    if (job.state == State::Ready)
        m_readyEntries -= job.listing.entries.size();
    job.dropped = true;
    job.listing = FolderListing();
    job.task.parent.reset();
}

// The first folder not started, preferring one after the next the walk needs: the walk reads
// that one itself when it gets there first.
std::shared_ptr<FolderLister::Job> FolderLister::nextJob() const
{
    if (m_readyEntries >= kMaxReadyEntries || m_abort.load(std::memory_order_relaxed))
        return nullptr;
    for (size_t i = 1; i < m_jobs.size(); ++i)
        if (m_jobs[i]->state == State::Pending)
            return m_jobs[i];
    if (!m_jobs.empty() && m_jobs.front()->state == State::Pending)
        return m_jobs.front();
    return nullptr;
}

void FolderLister::run()
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        std::shared_ptr<Job> job;
        m_work.wait(lock, [&] { return m_stop || (job = nextJob()) != nullptr; });
        if (m_stop)
            return;
        job->state = State::Reading;
        const Task task = job->task;
        lock.unlock();
        FolderListing listing;
        bool failed = false;
        int fd = -1;
        try {
            listing = FolderListing::read(task.parent ? task.parent->fd() : -1,
                                          task.path.constData() + task.nameAt, task.path, &m_abort, &fd);
            if (fd >= 0 && m_live->load(std::memory_order_relaxed) < kDescriptors) {
                listing.folder = std::make_shared<OpenFolder>(fd, m_live);
                fd = -1;
            }
        } catch (const std::bad_alloc&) {
            // The walk reads this one itself (and meets the shortage on its own thread).
            failed = true;
        }
        if (fd >= 0)
            ::close(fd);
        lock.lock();
        if (job->dropped)
            continue;
        job->state = failed ? State::Failed : State::Ready;
        job->listing = std::move(listing);
        m_readyEntries += job->listing.entries.size();
        m_ready.notify_all();
    }
}
