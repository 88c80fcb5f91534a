#include "scan/RecordedFile.h"

#include "model/FileInfoNode.h"
#include "platform/Platform.h"
#include "util/CommonFuncs.h"
#include "util/PathUtils.h"

#include <QCryptographicHash>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

qint64 nanoseconds(const struct timespec& t)
{
    return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
}

bool preadFully(int fd, char* buffer, qint64 length, qint64 offset)
{
    const qint64 got = Platform::readFull(fd, buffer, length, offset);
    if (got >= 0 && got < length)
        errno = EIO; // shorter than recorded
    return got == length;
}

// Opens the file, checks it against the record, runs read(fd) and checks that nothing changed
// meanwhile; a change is examined again once. read answers false (errno set) on failure.
template <typename Read> bool readChecked(const FileInfoNode& node, QString& reason, Read read)
{
    for (int attempt = 0; attempt < 2; ++attempt) {
        const int fd = RecordedFile::open(node);
        if (fd < 0) {
            reason = qt_error_string(errno);
            return false;
        }
        struct stat before;
        struct stat after;
        bool ok = false;
        if (::fstat(fd, &before) != 0)
            reason = qt_error_string(errno);
        else if (!RecordedFile::matchesRecord(node, before))
            reason = RecordedFile::kChangedReason;
        else if (errno = 0; !read(fd))
            reason = errno ? qt_error_string(errno) : QString();
        else if (::fstat(fd, &after) != 0 || !RecordedFile::unchanged(before, after))
            reason = RecordedFile::kChangedReason;
        else
            ok = true;
        ::close(fd);
        if (ok) {
            reason.clear();
            return true;
        }
        if (reason != RecordedFile::kChangedReason)
            return false;
    }
    return false;
}

} // namespace

int RecordedFile::open(const FileInfoNode& node)
{
    int fd;
    do {
        fd = PathUtils::openDeep(node.filePath, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

bool RecordedFile::matchesRecord(const FileInfoNode& node, const struct stat& st)
{
    if (!S_ISREG(st.st_mode) || quint64(st.st_size) != node.fileSize)
        return false;
    if (node.inode == 0 && node.modTimeNs == 0) {
        // A record made without exact attributes (a library item): its date to the millisecond.
        const double mtime = double(st.st_mtim.tv_sec) + double(st.st_mtim.tv_nsec) / 1e9;
        return std::abs(mtime - node.modDate) <= 1e-3;
    }
    return quint64(st.st_dev) == node.device && quint64(st.st_ino) == node.inode &&
           nanoseconds(st.st_mtim) == node.modTimeNs && nanoseconds(st.st_ctim) == node.changeTimeNs;
}

bool RecordedFile::unchanged(const struct stat& before, const struct stat& after)
{
    return before.st_dev == after.st_dev && before.st_ino == after.st_ino &&
           before.st_size == after.st_size && nanoseconds(before.st_mtim) == nanoseconds(after.st_mtim) &&
           nanoseconds(before.st_ctim) == nanoseconds(after.st_ctim);
}

RecordedFile::Edges RecordedFile::readEdges(const FileInfoNode& node, qint64 blockSize)
{
    Edges edges;
    const qint64 size = qint64(node.fileSize);
    std::vector<char> buffer(size_t(2 * blockSize));
    const bool ok = readChecked(node, edges.reason, [&](int fd) {
        edges.md5.clear();
        if (size <= blockSize) {
            if (!preadFully(fd, buffer.data(), size, 0))
                return false;
            edges.md5 = QCryptographicHash::hash(QByteArrayView(buffer.data(), size), QCryptographicHash::Md5)
                            .toHex();
            return true;
        }
        const qint64 tail = std::min<qint64>(blockSize, size - blockSize);
        if (!preadFully(fd, buffer.data(), blockSize, 0) ||
            !preadFully(fd, buffer.data() + blockSize, tail, size - tail))
            return false;
        edges.key = std::hash<std::string_view>{}(std::string_view(buffer.data(), size_t(blockSize + tail)));
        return true;
    });
    if (!ok) {
        edges.md5.clear();
        if (edges.reason.isEmpty())
            edges.reason = qt_error_string(EIO);
    }
    return edges;
}

QByteArray RecordedFile::digest(const FileInfoNode& node, const std::atomic<bool>* abortFlag, QString& reason)
{
    QByteArray md5;
    const bool ok = readChecked(node, reason, [&](int fd) {
        md5 = FileMD5HashCreateWithDescriptor(fd, 256 * 1024, abortFlag); // large reads, fewer calls
        if (md5.isEmpty() && errno == 0 && !abortFlag->load())
            errno = EIO;
        return !md5.isEmpty();
    });
    if (!ok)
        md5.clear();
    return md5;
}
