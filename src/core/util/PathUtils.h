#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>
#include <optional>
#include <vector>

struct stat;

// File names on Linux are bytes, not text: every path in core is a QByteArray holding the
// exact bytes the file system uses, so a name that is not valid UTF-8 survives untouched.
// Text forms are made only for display and for settings.
namespace PathUtils {

// The last component of a path ("/a/b.txt" -> "b.txt"; a trailing slash is ignored).
QByteArray lastPathComponent(const QByteArray& path);

// The extension of the last component, without the dot; empty when there is none.
// A leading dot (".profile") is not an extension.
QByteArray pathExtension(const QByteArray& path);

// The extension as lower-case text, the form every extension test uses.
QString lowerExtension(const QByteArray& path);

// dir + "/" + name, without doubling a slash.
QByteArray join(const QByteArray& dir, const QByteArray& name);

// The path with "." and ".." resolved by name and doubled or trailing slashes dropped
// ("/a/./b/../c/" -> "/a/c"); links are not followed. A relative path stays relative.
QByteArray cleanPath(const QByteArray& path);

// The path without its last n components ("/a/b/c/d", 3 -> "/a").
QByteArray removingLastComponents(const QByteArray& path, int n);

// Text for labels and logs; bytes that are not UTF-8 show as replacement characters.
QString toDisplay(const QByteArray& path);

// The bytes of a path given as text (settings, dialogs, command line).
QByteArray fromText(const QString& path);

// Whether a path names something that exists (a dangling symbolic link counts as existing).
bool exists(const QByteArray& path);
bool isDirectory(const QByteArray& path); // follows links, like the file manager's test

// Creates the folder and its missing parents (mode 0700) from the exact path bytes; true when
// the folder exists afterwards. On failure errno tells why.
bool makeFolders(const QByteArray& folder);

// One entry of a directory listing: its name and the type readdir gave (DT_UNKNOWN when the
// file system does not say).
struct DirEntry
{
    QByteArray name;
    unsigned char type;
};

// The entries of an open directory, "." and ".." left out, sorted byte for byte so that a walk
// is the same on every file system. Takes ownership of fd (closed also on failure). When
// error is given it receives the errno of a failed listing (0 on success); a set abortFlag
// ends the listing early (the entries read so far, unsorted order not guaranteed).
std::vector<DirEntry> sortedEntries(int fd, int* error = nullptr,
                                    const std::atomic<bool>* abortFlag = nullptr);

// open(2) of a path of any length: a path longer than PATH_MAX is opened component by
// component with openat, holding at most two descriptors at a time. -1 and errno on failure.
int openDeep(const QByteArray& path, int flags);
// lstat of a path of any length; false and errno when it cannot be examined.
bool lstatDeep(const QByteArray& path, struct stat* st);

// Finds base/relative where each component of `relative` ("Database/apdb/Library.apdb") is
// matched against the real entries of its folder without regard to letter case, as a
// case-insensitive file system would; an exact match wins. Nothing when a component is
// missing. The found path uses the entries' real names; base is returned unchanged.
std::optional<QByteArray> resolveIgnoringCase(const QByteArray& base, const QByteArray& relative);

} // namespace PathUtils
