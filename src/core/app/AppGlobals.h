#pragma once

#include "model/HexDigest.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <atomic>

// One cached digest row, as the lookup of the hash cache fills it.
struct CachedDigest
{
    double modDate = 0;      // "modDate"
    double creationDate = 0; // "creationDate"
    HexDigest fileMd5;       // "fileMd5"
    qint64 fileSize = 0;     // "fileSize"
};

// The process-wide values that start-up builds and the scan reads.
struct AppGlobals
{
    // The extension lists, exactly as the categories define them (quirks included).
    static const QStringList& arrMuiscExt();
    static const QStringList& arrPictureExt();
    static const QStringList& arrVideoExt();
    static const QStringList& arrDocumentExt();
    static const QStringList& arrArchiveExt();

    // Path to cached digest row; filled by the hash cache lookup of each scan.
    static QHash<QByteArray, CachedDigest> dictDataBaseFilesMd5;

    static inline const QString photosAlbumName = QStringLiteral("Duplicate Marked Photos");

    static inline bool isOSX_7_AndAbove = false;
    static inline bool isOSX_8_AndAbove = false;
    static inline bool isOSX_9_AndAbove = false;
    static inline bool isOSX_10_AndAbove = false;
    static inline bool isOSX_13_AndAbove = false;
    static inline bool isPhotosAppInstalled = false;

    // True while a scan runs (the Preferences item is disabled then).
    static inline std::atomic<bool> canOpenPreferences{false};
    // Bytes; written at the start of every scan, 0 before the first.
    static inline std::atomic<quint64> minAllowedFileSize{0};

    // Clears and sets the OS flags from a "major.minor" text by the exact-text rule, logging
    // "OS Version: %@" (and "OSX 13 detected" for "10.13"); also sets isPhotosAppInstalled.
    static void setOSVersionFlags(const QString& majorMinor);
    // The running system's "major.minor".
    static QString currentOSVersionText();
    // Class start-up: registers defaults, sets the flags. Runs once.
    static void initialize();
};
