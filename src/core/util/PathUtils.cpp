#include "util/PathUtils.h"

#include <QFile>
#include <algorithm>
#include <cerrno>
#include <dirent.h>
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

std::vector<DirEntry> sortedEntries(int fd)
{
    std::vector<DirEntry> entries;
    DIR* dir = ::fdopendir(fd);
    if (!dir) {
        ::close(fd);
        return entries;
    }
    while (const dirent* e = ::readdir(dir)) {
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
