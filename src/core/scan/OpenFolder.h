#pragma once

#include <atomic>
#include <memory>
#include <unistd.h>

// A folder descriptor that the walk and the lister share to open subfolders relative to it;
// closed with its last holder. `live` counts the descriptors held this way, so that the lister
// can keep the number it holds small.
class OpenFolder
{
public:
    OpenFolder(int fd, std::shared_ptr<std::atomic<int>> live) : m_fd(fd), m_live(std::move(live))
    {
        m_live->fetch_add(1, std::memory_order_relaxed);
    }
    ~OpenFolder()
    {
        ::close(m_fd);
        m_live->fetch_sub(1, std::memory_order_relaxed);
    }
    OpenFolder(const OpenFolder&) = delete;
    OpenFolder& operator=(const OpenFolder&) = delete;

    int fd() const { return m_fd; }

private:
    int m_fd;
    std::shared_ptr<std::atomic<int>> m_live;
};
