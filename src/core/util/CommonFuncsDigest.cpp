#include "util/CommonFuncs.h"

#include "util/Log.h"
#include "util/PathUtils.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Abort is polled after every slice, so it is noticed within this much hashing work.
constexpr size_t kSlice = 64 * 1024;

bool isAborted(const std::atomic<bool>* abortFlag)
{
    return abortFlag && abortFlag->load(std::memory_order_relaxed);
}

// One digest context and one read buffer per hashing thread, reused from file to file.
struct DigestState
{
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
    std::unique_ptr<unsigned char[]> buffer;
    size_t capacity = 0;

    unsigned char* bufferOf(size_t size)
    {
        if (capacity < size) {
            buffer.reset(new unsigned char[size]);
            capacity = size;
        }
        return buffer.get();
    }
};

class FileDescriptor
{
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

const EVP_MD* md5Algorithm()
{
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    // Fetched once: the implicit fetch of EVP_md5() would repeat a provider lookup per context.
    static const EVP_MD* fetched = EVP_MD_fetch(nullptr, "MD5", nullptr);
    if (fetched)
        return fetched;
#endif
    return EVP_md5();
}

QByteArray FileMD5HashCreateWithPath(const QByteArray& path, size_t chunkSize,
                                     const std::atomic<bool>* abortFlag)
{
    if (path.isEmpty())
        return {};
    // Never follow a final link, never block on a FIFO or device: only regular files are read.
    int raw;
    do {
        raw = PathUtils::openDeep(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    } while (raw < 0 && errno == EINTR);
    if (raw < 0)
        return {};
    const FileDescriptor fd(raw);
    return FileMD5HashCreateWithDescriptor(fd.get(), chunkSize, abortFlag);
}

QByteArray FileMD5HashCreateWithDescriptor(int fd, size_t chunkSize, const std::atomic<bool>* abortFlag)
{
    if (chunkSize == 0)
        chunkSize = 4096;
    struct stat st;
    if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
        return {};

    if (isAborted(abortFlag)) {
        quillonLog(QStringLiteral("abortFlag true!!"));
        return {};
    }
    ::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);

    thread_local DigestState state;
    EVP_MD_CTX* context = state.context.get();
    if (!context || EVP_DigestInit_ex(context, md5Algorithm(), nullptr) != 1)
        return {};
    unsigned char* buffer = state.bufferOf(chunkSize);

    for (;;) {
        ssize_t got;
        do {
            got = ::read(fd, buffer, chunkSize);
        } while (got < 0 && errno == EINTR);
        if (got < 0)
            return {};
        if (got == 0)
            break;
        for (size_t offset = 0; offset < size_t(got); offset += kSlice) {
            const size_t length = std::min(kSlice, size_t(got) - offset);
            if (EVP_DigestUpdate(context, buffer + offset, length) != 1)
                return {};
            if (isAborted(abortFlag)) {
                quillonLog(QStringLiteral("abortFlag true!!"));
                return {};
            }
        }
    }

    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int digestLength = 0;
    if (EVP_DigestFinal_ex(context, digest, &digestLength) != 1 || digestLength != 16)
        return {};
    return QByteArray(reinterpret_cast<const char*>(digest), int(digestLength)).toHex();
}

QByteArray CommonFuncs::getFileMD5UsingStreamWithAbortFlag(const QByteArray& path,
                                                           const std::atomic<bool>* abortFlag)
{
    const QByteArray md5 = FileMD5HashCreateWithPath(path, 256 * 1024, abortFlag);
    if (md5.isEmpty())
        logMissingDigest(path, abortFlag);
    return md5;
}

void CommonFuncs::logMissingDigest(const QByteArray& path, const std::atomic<bool>* abortFlag)
{
    quillonLog(QStringLiteral("############# MD5 coming NIL for file: %1 #############")
                   .arg(PathUtils::toDisplay(path)));
    if (isAborted(abortFlag)) {
        quillonLog(QStringLiteral("abortFlag true!!"));
        quillonLog(QStringLiteral("Aborted!!"));
    }
}
