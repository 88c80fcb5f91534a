#include "util/PathUtils.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace PathUtils {

QByteArray lastPathComponent(const QByteArray& path)
{
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == '/')
        --end;
    const qsizetype slash = path.lastIndexOf('/', end - 1);
    if (slash < 0)
        return path.left(end);
    if (end == 1 && slash == 0)
        return QByteArray("/");
    return path.mid(slash + 1, end - slash - 1);
}

QByteArray pathExtension(const QByteArray& path)
{
    const QByteArray name = lastPathComponent(path);
    const qsizetype dot = name.lastIndexOf('.');
    if (dot <= 0)
        return {};
    return name.mid(dot + 1);
}

QString lowerExtension(const QByteArray& path)
{
    return QString::fromUtf8(pathExtension(path)).toLower();
}

QByteArray cleanPath(const QByteArray& path)
{
    if (path.isEmpty())
        return path;
    const bool absolute = path.startsWith('/');
    QList<QByteArray> kept;
    for (const QByteArray& part : path.split('/')) {
        if (part.isEmpty() || part == ".")
            continue;
        if (part == ".." && !kept.isEmpty() && kept.last() != "..")
            kept.removeLast();
        else if (part != ".." || !absolute) // nothing is above the root
            kept.append(part);
    }
    const QByteArray joined = kept.join('/');
    if (absolute)
        return '/' + joined;
    return joined.isEmpty() ? QByteArray(".") : joined;
}

QByteArray join(const QByteArray& dir, const QByteArray& name)
{
    if (dir.isEmpty())
        return name;
    if (dir.endsWith('/'))
        return dir + name;
    QByteArray out;
    out.reserve(dir.size() + 1 + name.size());
    out.append(dir).append('/').append(name);
    return out;
}

QByteArray removingLastComponents(const QByteArray& path, int n)
{
    QByteArray out = path;
    for (int i = 0; i < n; ++i) {
        while (out.size() > 1 && out.endsWith('/'))
            out.chop(1);
        const qsizetype slash = out.lastIndexOf('/');
        if (slash < 0)
            return {};
        out.truncate(slash == 0 ? 1 : slash);
    }
    return out;
}

QString toDisplay(const QByteArray& path)
{
    return QString::fromUtf8(path);
}

QByteArray fromText(const QString& path)
{
    return QFile::encodeName(path);
}

bool exists(const QByteArray& path)
{
    struct stat st;
    return ::lstat(path.constData(), &st) == 0;
}

bool isDirectory(const QByteArray& path)
{
    struct stat st;
    return ::stat(path.constData(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool makeFolders(const QByteArray& folder)
{
    if (folder.isEmpty())
        return false;
    struct stat st;
    if (::stat(folder.constData(), &st) == 0) {
        if (S_ISDIR(st.st_mode))
            return true;
        errno = ENOTDIR;
        return false;
    }
    const qsizetype slash = folder.lastIndexOf('/');
    if (slash > 0 && !makeFolders(folder.left(slash)))
        return false;
    return ::mkdir(folder.constData(), 0700) == 0 || errno == EEXIST;
}

std::vector<DirEntry> sortedEntries(int fd, int* error, const std::atomic<bool>* abortFlag)
{
    std::vector<DirEntry> entries;
    if (error)
        *error = 0;
    DIR* dir = fd >= 0 ? ::fdopendir(fd) : nullptr;
    if (!dir) {
        if (error)
            *error = fd >= 0 ? errno : EBADF;
        if (fd >= 0)
            ::close(fd);
        return entries;
    }
    for (;;) {
        // A very large folder: a stop is noticed while it is listed.
        if (abortFlag && (entries.size() & 4095) == 4095 && abortFlag->load(std::memory_order_relaxed))
            break;
        errno = 0;
        const dirent* e = ::readdir(dir);
        if (!e) {
            if (errno != 0 && error)
                *error = errno;
            break;
        }
        const char* n = e->d_name;
        if (n[0] == '.' && (n[1] == 0 || (n[1] == '.' && n[2] == 0)))
            continue;
        entries.push_back({QByteArray(n), e->d_type});
    }
    ::closedir(dir);
    std::sort(entries.begin(), entries.end(),
              [](const DirEntry& a, const DirEntry& b) { return a.name < b.name; });
    return entries;
}

int openDeep(const QByteArray& path, int flags)
{
    if (path.isEmpty() || path.contains('\0')) {
        errno = ENOENT;
        return -1;
    }
    if (path.size() < PATH_MAX)
        return ::open(path.constData(), flags | O_CLOEXEC);
    // Component by component; the parents are followed like the kernel would.
    int dirfd = path.startsWith('/') ? ::open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : AT_FDCWD;
    if (path.startsWith('/') && dirfd < 0)
        return -1;
    const QList<QByteArray> parts = path.split('/');
    qsizetype last = parts.size() - 1;
    while (last > 0 && parts.at(last).isEmpty())
        --last;
    int result = -1;
    for (qsizetype i = 0; i <= last; ++i) {
        const QByteArray& part = parts.at(i);
        if (part.isEmpty() && i < last)
            continue;
        const int fd = i == last ? ::openat(dirfd, part.isEmpty() ? "." : part.constData(), flags | O_CLOEXEC)
                                 : ::openat(dirfd, part.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        const int saved = errno;
        if (dirfd != AT_FDCWD)
            ::close(dirfd);
        errno = saved;
        if (fd < 0)
            return -1;
        if (i == last)
            result = fd;
        else
            dirfd = fd;
    }
    return result;
}

bool lstatDeep(const QByteArray& path, struct stat* st)
{
    if (path.isEmpty() || path.contains('\0')) {
        errno = ENOENT;
        return false;
    }
    if (path.size() < PATH_MAX)
        return ::lstat(path.constData(), st) == 0;
    const qsizetype slash = path.lastIndexOf('/');
    const int dirfd = openDeep(path.left(std::max<qsizetype>(slash, 1)), O_RDONLY | O_DIRECTORY);
    if (dirfd < 0)
        return false;
    const bool ok = ::fstatat(dirfd, path.constData() + slash + 1, st, AT_SYMLINK_NOFOLLOW) == 0;
    const int saved = errno;
    ::close(dirfd);
    errno = saved;
    return ok;
}

std::optional<QByteArray> resolveIgnoringCase(const QByteArray& base, const QByteArray& relative)
{
    QByteArray current = base;
    for (const QByteArray& part : relative.split('/')) {
        if (part.isEmpty())
            continue;
        const QByteArray exact = join(current, part);
        if (exists(exact)) {
            current = exact;
            continue;
        }
        DIR* dir = ::opendir(current.constData());
        if (!dir)
            return std::nullopt;
        const QString wanted = QString::fromUtf8(part).toCaseFolded();
        QByteArray found;
        while (const dirent* entry = ::readdir(dir)) {
            const QByteArray name(entry->d_name);
            if (QString::fromUtf8(name).toCaseFolded() == wanted && (found.isEmpty() || name < found))
                found = name;
        }
        ::closedir(dir);
        if (found.isEmpty())
            return std::nullopt;
        current = join(current, found);
    }
    return current;
}

} // namespace PathUtils
