#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <atomic>
#include <optional>

// Helpers that several subsystems share: size and date texts, photo-library
// tests, whether an application runs, and the streamed file digest.
class CommonFuncs
{
public:
    CommonFuncs() = delete;

    // "999 bytes", "1.00 KB", "1.54 MB": divisor 1,000.
    static QString getSizeInUnits(quint64 bytes);
    // "MMM dd, yyyy hh:mm:ss a"; empty for no date.
    static QString getDateTimeStringFromDate(const QDateTime& date);
    // A record's date (seconds since 1970, 0 = none) as a local date; invalid for none.
    static QDateTime dateFromSeconds(double secondsSince1970);

    static bool isPkgPhotoLib(const QByteArray& libraryPath);
    // "masters" when the library's major version is "9" and the folder exists; else empty.
    static QString photoLibrary_MastersOrOriginal(const QByteArray& libraryPath);
    static bool isiPhotoLibrary9AndAbove(const QByteArray& libraryPath);
    // The "Application Version" of AlbumData.xml up to its first "."; empty when none.
    static QString getPhotoLibraryVersion(const QByteArray& libraryPath);
    static QString getPhotoLibraryMajorVersion(const QString& version);
    static bool checkAppOpen(const QString& bundleIdentifier);
    static QByteArray getDataBasePathForPhotosLib(const QByteArray& libraryPath);

    // The streamed MD5 of a regular file as 32 lower-case hex digits; empty when the file
    // cannot be read or the abort flag was set. Logs "############# MD5 coming NIL for file:
    // %@ #############" (and "abortFlag true!!", "Aborted!!" when aborted).
    static QByteArray getFileMD5UsingStreamWithAbortFlag(const QByteArray& path,
                                                         const std::atomic<bool>* abortFlag);
    // The same log lines, for every other path on which no digest came back.
    static void logMissingDigest(const QByteArray& path, const std::atomic<bool>* abortFlag);
};

// The plain digest function under getFileMD5UsingStreamWithAbortFlag; chunkSize 0 means 4,096.
QByteArray FileMD5HashCreateWithPath(const QByteArray& path, size_t chunkSize,
                                     const std::atomic<bool>* abortFlag);
// The same for a regular file already open (read from its current offset); the caller keeps fd.
QByteArray FileMD5HashCreateWithDescriptor(int fd, size_t chunkSize, const std::atomic<bool>* abortFlag);
// OpenSSL's MD5, fetched once per process.
const struct evp_md_st* md5Algorithm();
