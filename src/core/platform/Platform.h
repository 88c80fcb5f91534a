#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

// The one place where the operating system is asked. Linux (freedesktop) is implemented and
// tested; the macOS branches are chosen with Q_OS_MACOS only inside the .cpp files.
namespace Platform {

// The user's home folder (QDir::homePath), as path bytes.
QByteArray homePath();

// The user's short (login) name.
QString userShortName();

// Where Quillon.db and the Photos database copy live: $XDG_CACHE_HOME, else ~/.cache
// (macOS: ~/Library/Caches). Not created here.
QByteArray cachesFolder();

// The user's Trash folders: $XDG_DATA_HOME/Trash (default ~/.local/share/Trash) and ~/.Trash.
QList<QByteArray> userTrashFolders();

// Whether the path is a Trash folder of the user or lies inside one.
bool isInUserTrash(const QByteArray& path);

// The form in which two paths are compared for "the same item": exact on Linux
// (case-sensitive file systems), lower-cased on macOS.
QByteArray comparablePath(const QByteArray& path);

// A directory whose lower-cased extension is one of the fixed package extensions.
bool isPackage(const QByteArray& path);
bool isPackageExtension(const QString& lowerExtension);

// Whether an application with the bundle identifier runs (compared case-insensitively).
// No Linux application has a bundle identifier, so on Linux this is always false.
bool isApplicationRunning(const QString& bundleIdentifier);

// Asks the application to quit; false when it could not be asked.
bool requestApplicationQuit(const QString& bundleIdentifier);

// Bookmarks: the absolute path's exact bytes; resolving checks the item still exists.
QByteArray bookmarkForPath(const QByteArray& path);
std::optional<QByteArray> resolveBookmark(const QByteArray& bookmark);

// Every byte of the path percent-encoded (%XX, upper-case hex) except the unreserved characters
// A-Z a-z 0-9 - . _ ~ and "/"; bytes that are not UTF-8 are encoded too, so any name survives.
QByteArray percentEncodePath(const QByteArray& path);

// "file://" followed by the percent-encoded absolute path.
QString fileUriForPath(const QByteArray& absolutePath);

// The path made absolute against the working directory; "." and ".." and doubled slashes are
// not touched, and symbolic links are not resolved.
QByteArray absolutePath(const QByteArray& path);

// Writes all size bytes to the descriptor, retrying short and interrupted writes; false on an
// error, with errno telling why.
bool writeAll(int fd, const char* data, qsizetype size);

// Reads until size bytes are in or the file ends, retrying short and interrupted reads; with an
// offset of 0 or more it reads there (pread) and leaves the file position alone. The bytes read,
// or -1 on an error with errno telling why.
qint64 readFull(int fd, char* buffer, qint64 size, qint64 offset = -1);

// Runs program with arguments, writes input to its standard input and closes it, and returns
// what it printed on standard output. Nothing when it cannot start, exits with an error or
// does not finish within timeoutMs (it is then killed). Values belong in the arguments, never
// in the input text: osascript reads them through "on run argv".
std::optional<QByteArray> runWithInput(const QString& program, const QStringList& arguments,
                                       const QByteArray& input, int timeoutMs);

// An AppleScript text run by "/usr/bin/osascript -" with the arguments; see runWithInput.
std::optional<QByteArray> runAppleScript(const QString& script, const QStringList& arguments,
                                         int timeoutMs = 30000);

} // namespace Platform
