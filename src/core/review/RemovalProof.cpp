#include "review/RemovalProof.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "scan/RecordedFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Large enough to stream at disk speed, small enough to poll the stop flag often (<= 1 MiB).
constexpr size_t kChunk = 256 * 1024;

class FileDescriptor
{
public:
    // Never follows a final link and never blocks on a special file that took the name.
    explicit FileDescriptor(const QByteArray& path)
        : m_fd(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY))
    {}
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int fd() const { return m_fd; }
    bool stat(struct stat& st) const { return m_fd >= 0 && ::fstat(m_fd, &st) == 0; }

private:
    int m_fd;
};

// The file as the scan saw it. Strict: a record without exact identity (inode 0) never matches.
bool matchesScan(const struct stat& st, const FileInfoNode& node)
{
    return node.inode != 0 && RecordedFile::matchesRecord(node, st);
}

} // namespace

QString RemovalProof::reasonText(Verdict verdict)
{
    switch (verdict) {
    case Verdict::ChangedSinceScan:
        return QStringLiteral("changed since the scan");
    case Verdict::NoCopyWouldRemain:
        return QStringLiteral("no copy would remain");
    case Verdict::ContentsDiffer:
        return QStringLiteral("contents differ from the kept copy");
    case Verdict::Proved:
    case Verdict::Stopped:
        break;
    }
    return {};
}

RemovalProof::Comparison RemovalProof::compareOpenFiles(int markedFd, int keptFd) const
{
    if (m_buffer.empty())
        m_buffer.resize(2 * kChunk);
    char* const a = m_buffer.data();
    char* const b = a + kChunk;
    if (::lseek(markedFd, 0, SEEK_SET) != 0 || ::lseek(keptFd, 0, SEEK_SET) != 0)
        return Comparison::Unreadable;
    for (;;) {
        if (m_stop.load(std::memory_order_relaxed))
            return Comparison::Stopped;
        const ssize_t na = Platform::readFull(markedFd, a, kChunk);
        const ssize_t nb = Platform::readFull(keptFd, b, kChunk);
        if (na < 0 || nb < 0)
            return Comparison::Unreadable;
        if (na != nb || std::memcmp(a, b, size_t(na)) != 0)
            return Comparison::Different;
        if (na == 0)
            return Comparison::Equal;
        m_bytesCompared.fetch_add(quint64(na), std::memory_order_relaxed);
    }
}

RemovalProof::Result RemovalProof::check(const FileInfoNode& marked) const
{
    const FileDescriptor markedFile(marked.filePath);
    struct stat markedStat;
    if (!markedFile.stat(markedStat) || !matchesScan(markedStat, marked))
        return {Verdict::ChangedSinceScan};

    bool anyDiffers = false;
    const std::vector<FileInfoNode*> none;
    for (const FileInfoNode* member : marked.parent ? marked.parent->children : none) {
        if (!member || member == &marked || member->state == 1)
            continue;
        const FileDescriptor keptFile(member->filePath);
        struct stat keptStat;
        if (!keptFile.stat(keptStat) || !S_ISREG(keptStat.st_mode) ||
            keptStat.st_size != markedStat.st_size ||
            (keptStat.st_dev == markedStat.st_dev && keptStat.st_ino == markedStat.st_ino))
            continue;

        switch (compareOpenFiles(markedFile.fd(), keptFile.fd())) {
        case Comparison::Stopped:
            return {Verdict::Stopped};
        case Comparison::Different:
            anyDiffers = true;
            continue;
        case Comparison::Unreadable:
            continue;
        case Comparison::Equal:
            break;
        }
        // A write during the comparison makes its result worthless.
        struct stat markedAfter, keptAfter;
        if (!markedFile.stat(markedAfter) || !matchesScan(markedAfter, marked))
            return {Verdict::ChangedSinceScan};
        if (!keptFile.stat(keptAfter) || !RecordedFile::unchanged(keptStat, keptAfter))
            continue;
        return {Verdict::Proved, member};
    }
    return {anyDiffers ? Verdict::ContentsDiffer : Verdict::NoCopyWouldRemain};
}
