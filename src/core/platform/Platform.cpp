#include "platform/Platform.h"

#include "util/PathUtils.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSet>
#include <QStandardPaths>
#include <QtGlobal>
#include <cerrno>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The account's entry; getpwuid_r because these are asked from worker threads too.
struct Account
{
    QByteArray name;
    QByteArray home;
};

Account currentAccount()
{
    Account account;
    passwd entry;
    passwd* found = nullptr;
    QByteArray buffer(16384, '\0');
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), size_t(buffer.size()), &found) == 0 && found) {
        account.name = found->pw_name ? QByteArray(found->pw_name) : QByteArray();
        account.home = found->pw_dir ? QByteArray(found->pw_dir) : QByteArray();
    }
    return account;
}

// "a//b" -> "a/b", and no trailing slash except for "/" itself.
QByteArray collapseSlashes(const QByteArray& path)
{
    QByteArray out;
    out.reserve(path.size());
    for (const char c : path) {
        if (c == '/' && out.endsWith('/'))
            continue;
        out.append(c);
    }
    while (out.size() > 1 && out.endsWith('/'))
        out.chop(1);
    return out;
}

} // namespace

namespace Platform {

QByteArray homePath()
{
    // $HOME's own bytes (QDir::homePath would pass them through text); the account's folder
    // when it is not set.
    QByteArray home = qgetenv("HOME");
    if (home.isEmpty() || !home.startsWith('/'))
        home = currentAccount().home;
    if (home.isEmpty())
        return QFile::encodeName(QDir::homePath());
    return collapseSlashes(home);
}

QString userShortName()
{
    const QByteArray name = currentAccount().name;
    if (!name.isEmpty())
        return QString::fromLocal8Bit(name);
    return qEnvironmentVariable("USER");
}

QByteArray cachesFolder()
{
#ifdef Q_OS_MACOS
    return homePath() + "/Library/Caches";
#else
    const QByteArray xdg = qgetenv("XDG_CACHE_HOME");
    if (!xdg.isEmpty() && xdg.startsWith('/'))
        return xdg;
    return homePath() + "/.cache";
#endif
}

QList<QByteArray> userTrashFolders()
{
#ifdef Q_OS_MACOS
    return {homePath() + "/.Trash"};
#else
    QByteArray dataHome = qgetenv("XDG_DATA_HOME");
    if (dataHome.isEmpty() || !dataHome.startsWith('/'))
        dataHome = homePath() + "/.local/share";
    return {dataHome + "/Trash", homePath() + "/.Trash"};
#endif
}

bool isInUserTrash(const QByteArray& path)
{
    const QByteArray p = comparablePath(collapseSlashes(path));
    for (const QByteArray& trash : userTrashFolders()) {
        const QByteArray t = comparablePath(collapseSlashes(trash));
        if (p == t || p.startsWith(t + '/'))
            return true;
    }
    return false;
}

QByteArray comparablePath(const QByteArray& path)
{
#ifdef Q_OS_MACOS
    return QString::fromUtf8(path).toLower().toUtf8();
#else
    return path;
#endif
}

bool isPackageExtension(const QString& lowerExtension)
{
    static const QSet<QString> extensions = {QStringLiteral("app"),
                                             QStringLiteral("appex"),
                                             QStringLiteral("bundle"),
                                             QStringLiteral("framework"),
                                             QStringLiteral("plugin"),
                                             QStringLiteral("kext"),
                                             QStringLiteral("xpc"),
                                             QStringLiteral("qlgenerator"),
                                             QStringLiteral("mdimporter"),
                                             QStringLiteral("prefpane"),
                                             QStringLiteral("saver"),
                                             QStringLiteral("wdgt"),
                                             QStringLiteral("xctest"),
                                             QStringLiteral("dsym"),
                                             QStringLiteral("photoslibrary"),
                                             QStringLiteral("photolibrary"),
                                             QStringLiteral("migratedphotolibrary"),
                                             QStringLiteral("aplibrary"),
                                             QStringLiteral("migratedaplibrary"),
                                             QStringLiteral("imovielibrary"),
                                             QStringLiteral("fcpbundle"),
                                             QStringLiteral("logicx"),
                                             QStringLiteral("band"),
                                             QStringLiteral("rtfd"),
                                             QStringLiteral("pages"),
                                             QStringLiteral("numbers"),
                                             QStringLiteral("key"),
                                             QStringLiteral("sparsebundle"),
                                             QStringLiteral("xcodeproj"),
                                             QStringLiteral("xcworkspace"),
                                             QStringLiteral("xcarchive"),
                                             QStringLiteral("playground"),
                                             QStringLiteral("docset"),
                                             QStringLiteral("pkg"),
                                             QStringLiteral("mpkg"),
                                             QStringLiteral("scptd"),
                                             QStringLiteral("vmwarevm"),
                                             QStringLiteral("pvm")};
    return extensions.contains(lowerExtension);
}

bool isPackage(const QByteArray& path)
{
    const QString ext = PathUtils::lowerExtension(path);
    return !ext.isEmpty() && isPackageExtension(ext) && PathUtils::isDirectory(path);
}

QByteArray absolutePath(const QByteArray& path)
{
    if (path.isEmpty() || path.startsWith('/'))
        return path;
    // getcwd rather than QDir::currentPath: the working directory's bytes need not be UTF-8.
    QByteArray cwd(4096, '\0');
    while (::getcwd(cwd.data(), size_t(cwd.size())) == nullptr) {
        if (errno != ERANGE)
            return PathUtils::join(QFile::encodeName(QDir::currentPath()), path);
        cwd.resize(cwd.size() * 2);
    }
    cwd.truncate(qsizetype(qstrlen(cwd.constData())));
    return PathUtils::join(cwd, path);
}

QByteArray bookmarkForPath(const QByteArray& path)
{
    return absolutePath(path);
}

std::optional<QByteArray> resolveBookmark(const QByteArray& bookmark)
{
    if (!bookmark.startsWith('/') || bookmark.contains('\0'))
        return std::nullopt;
    if (!PathUtils::exists(bookmark))
        return std::nullopt;
    return bookmark;
}

QByteArray percentEncodePath(const QByteArray& path)
{
    static const char hex[] = "0123456789ABCDEF";
    QByteArray out;
    out.reserve(path.size() * 3);
    for (const char c : path) {
        const auto b = static_cast<unsigned char>(c);
        const bool keep = (b >= 'A' && b <= 'Z') || (b >= 'a' && b <= 'z') || (b >= '0' && b <= '9') ||
                          b == '-' || b == '.' || b == '_' || b == '~' || b == '/';
        if (keep) {
            out.append(c);
        } else {
            out.append('%');
            out.append(hex[b >> 4]);
            out.append(hex[b & 0x0f]);
        }
    }
    return out;
}

QString fileUriForPath(const QByteArray& absolutePath)
{
    return QStringLiteral("file://") + QString::fromLatin1(percentEncodePath(absolutePath));
}

std::optional<QByteArray> runWithInput(const QString& program, const QStringList& arguments,
                                       const QByteArray& input, int timeoutMs)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, arguments);
    if (!process.waitForStarted(timeoutMs))
        return std::nullopt;
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(1000);
        return std::nullopt;
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return std::nullopt;
    return process.readAllStandardOutput();
}

bool writeAll(int fd, const char* data, qsizetype size)
{
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size_t(size));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += n;
        size -= n;
    }
    return true;
}

qint64 readFull(int fd, char* buffer, qint64 size, qint64 offset)
{
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = offset < 0 ? ::read(fd, buffer + done, size_t(size - done))
                                     : ::pread(fd, buffer + done, size_t(size - done), offset + done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -1;
        if (n == 0)
            break;
        done += n;
    }
    return done;
}

std::optional<QByteArray> runAppleScript(const QString& script, const QStringList& arguments, int timeoutMs)
{
    QStringList args{QStringLiteral("-")};
    args += arguments;
    return runWithInput(QStringLiteral("/usr/bin/osascript"), args, script.toUtf8(), timeoutMs);
}

bool isApplicationRunning(const QString& bundleIdentifier)
{
#ifdef Q_OS_MACOS
    if (bundleIdentifier.isEmpty())
        return false;
    // Asking by id does not launch the application; LaunchServices compares ids without case.
    static const QString script = QStringLiteral("on run argv\n"
                                                 "    if application id (item 1 of argv) is running then\n"
                                                 "        return \"1\"\n"
                                                 "    end if\n"
                                                 "    return \"0\"\n"
                                                 "end run\n");
    const std::optional<QByteArray> out = runAppleScript(script, {bundleIdentifier}, 10000);
    return out && out->trimmed() == "1";
#else
    Q_UNUSED(bundleIdentifier);
    return false;
#endif
}

bool requestApplicationQuit(const QString& bundleIdentifier)
{
#ifdef Q_OS_MACOS
    if (bundleIdentifier.isEmpty())
        return false;
    // The running test comes first: telling an application that is not running would start it.
    static const QString script = QStringLiteral("on run argv\n"
                                                 "    set wanted to item 1 of argv\n"
                                                 "    if application id wanted is running then\n"
                                                 "        tell application id wanted to quit\n"
                                                 "    end if\n"
                                                 "    return \"1\"\n"
                                                 "end run\n");
    const std::optional<QByteArray> out = runAppleScript(script, {bundleIdentifier}, 30000);
    return out && out->trimmed() == "1";
#else
    Q_UNUSED(bundleIdentifier);
    return false;
#endif
}

} // namespace Platform
