#include "scan/PackageDigest.h"

#include "platform/FileAttributes.h"
#include "util/CommonFuncs.h"
#include "util/PathUtils.h"

#include <QCryptographicHash>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace {

struct Walk
{
    const std::atomic<bool>* abortFlag;
    QByteArray md5;
    QString reason;

    bool fail(const QByteArray& path, int error)
    {
        reason = qt_error_string(error);
        CommonFuncs::logMissingDigest(path, abortFlag);
        return false;
    }

    // Appends the digests of the files below dirfd/name; false when stopped or unreadable.
    bool append(int dirfd, const char* name, const QByteArray& path)
    {
        const int self = dirfd == AT_FDCWD
                             ? PathUtils::openDeep(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW)
                             : ::openat(dirfd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (self < 0)
            return fail(path, errno);
        int error = 0;
        const std::vector<PathUtils::DirEntry> entries =
            PathUtils::sortedEntries(::dup(self), &error, abortFlag);
        bool ok = error == 0 || fail(path, error);
        for (const PathUtils::DirEntry& entry : entries) {
            if (!ok)
                break;
            if (entry.name == ".DS_Store" || entry.name == ".localized")
                continue;
            if (abortFlag->load()) {
                ok = false;
                break;
            }
            const QByteArray child = PathUtils::join(path, entry.name);
            const auto a = FileAttributes::ofEntry(self, entry.name.constData());
            if (!a) {
                ok = fail(child, errno);
            } else if (a->isDirectory()) {
                ok = append(self, entry.name.constData(), child);
            } else if (a->isRegular()) {
                ok = appendFile(self, entry.name.constData(), child);
            } else if (a->type == FileAttributes::Type::SymbolicLink) {
                // The link's target text: two packages whose links point elsewhere differ.
                QByteArray target(qsizetype(a->size) + 1, Qt::Uninitialized);
                const ssize_t n =
                    ::readlinkat(self, entry.name.constData(), target.data(), size_t(target.size()));
                if (n < 0)
                    ok = fail(child, errno);
                else
                    md5 += QCryptographicHash::hash(target.left(n), QCryptographicHash::Md5).toHex();
            }
        }
        ::close(self);
        return ok;
    }

    bool appendFile(int dirfd, const char* name, const QByteArray& path)
    {
        const int fd = ::openat(dirfd, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0)
            return fail(path, errno);
        errno = 0;
        const QByteArray digest = FileMD5HashCreateWithDescriptor(fd, 4096, abortFlag);
        const int error = errno ? errno : EIO;
        ::close(fd);
        if (abortFlag->load())
            return false;
        if (digest.isEmpty())
            return fail(path, error);
        md5 += digest;
        return true;
    }
};

} // namespace

QByteArray PackageDigest::calculateMd5ForPackageFile(const QByteArray& path,
                                                     const std::atomic<bool>* abortFlag, QString* reason)
{
    Walk walk{abortFlag, {}, {}};
    const bool ok = walk.append(AT_FDCWD, path.constData(), path);
    if (reason)
        *reason = ok || abortFlag->load() ? QString() : walk.reason;
    return ok ? walk.md5 : QByteArray();
}
