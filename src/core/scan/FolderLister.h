#pragma once

#include "scan/FolderListing.h"

#include <QByteArray>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

// Reads folders ahead of the walk on a second thread. The walk hands over the subfolders it is
// about to descend, in its own order, ahead of everything handed before (so the queue is always
// in walk order); when it reaches one it takes the reading if it is ready, waits if it is under
// way, or reads the folder itself if it has not started. Only the reading moves: the walk
// decides everything and records what it finds when it takes a folder, so its result does not
// depend on timing. The lookahead is bounded in folders and entries, and the lister keeps only
// a few folder descriptors of its own.
class FolderLister
{
public:
    struct Task
    {
        QByteArray path;
        qsizetype nameAt = 0;               // where the last component starts in path
        std::shared_ptr<OpenFolder> parent; // null: opened by path
    };

    // Disabled, nothing is read ahead and the walk reads every folder itself.
    FolderLister(const std::atomic<bool>& abortFlag, bool enabled);
    ~FolderLister();
    FolderLister(const FolderLister&) = delete;
    FolderLister& operator=(const FolderLister&) = delete;

    // Reads a folder on the calling thread, keeping its descriptor when `keep` is set.
    FolderListing read(const std::shared_ptr<OpenFolder>& parent, const char* name, const QByteArray& path,
                       bool keep);
    // Hands over folders the walk will enter next, in walk order.
    void prepend(std::vector<Task> tasks);
    // The reading of `path` when it is the next folder handed over and was started ahead;
    // nothing when the caller should read it itself.
    std::optional<FolderListing> take(const QByteArray& path);

    static constexpr size_t kMaxFolders = 256;        // folders handed over and not yet taken
    static constexpr size_t kMaxReadyEntries = 65536; // entries read ahead and not yet taken
    static constexpr int kDescriptors = 16;           // the lister keeps a descriptor only below this many

private:
    enum class State { Pending, Reading, Ready, Failed };
    struct Job
    {
        Task task;
        State state = State::Pending;
        bool dropped = false;
        FolderListing listing;
    };

    void run();
    std::shared_ptr<Job> nextJob() const;
    void drop(Job& job);

    const std::atomic<bool>& m_abort;
    const bool m_enabled;
    std::shared_ptr<std::atomic<int>> m_live = std::make_shared<std::atomic<int>>(0);
    std::mutex m_mutex;
    std::condition_variable m_work;  // a job to start, or the end
    std::condition_variable m_ready; // a job read
    std::deque<std::shared_ptr<Job>> m_jobs;
    size_t m_readyEntries = 0;
    bool m_stop = false;
    std::thread m_thread;
};
