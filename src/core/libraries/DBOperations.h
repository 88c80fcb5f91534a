#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <optional>

// One photo of a Photos library; the fields carry the record keys the scan engine reads.
struct PhotoRecord
{
    QString modelId;          // "modelId"
    QString uuid;             // "uuid" (master)
    QString uuidRKVersion;    // "uuidRKVersion"
    QByteArray imagePath;     // "imagePath": <library>/Masters/<rk.imagepath>
    qint64 fileSize = 0;      // "fileSize"
    QString originalFileName; // "originalFileName"
    QString description;      // "description"
};

// A master of an iPhoto library: "OriginalPath" and "MasterCount".
struct MasterInfo
{
    QByteArray OriginalPath;
    int MasterCount = 0;
};

// A folder (event) of an iPhoto library: "EventName" and "VersionCount".
struct FolderInfo
{
    QString EventName;
    int VersionCount = 0;
};

// Statements against a photo library's own database: class methods only, each opening the
// file, running one statement and closing it. Values are bound as parameters; table names
// (always one of the fixed names below) are the only text put into a statement.
class DBOperations
{
public:
    DBOperations() = delete;

    // Photos libraries: reads a copy of the database made in the caches folder; the
    // library's own database is never opened. Nothing when the copy failed.
    static std::optional<QList<PhotoRecord>> getPhotoslibraryPath(const QByteArray& libraryPath);
    static std::optional<QList<PhotoRecord>> getImagesFromlibraryPath(const QByteArray& libraryPath);

    // iPhoto and Aperture libraries. Version dictionaries have "modelId", "uuid",
    // "masterUuid", "projectUuid", "name" (the reader may add "iPath"/"tPath").
    static QList<QVariantMap> getAllVersionPhotos(const QByteArray& dbPath, const QString& tableName);
    static void getAllMasterPhotos(const QByteArray& dbPath, const QByteArray& dbPrefix,
                                   const QString& tableName, QHash<QString, MasterInfo>& updateDict);
    static void getAllFolders(const QByteArray& dbPath, const QString& tableName,
                              QHash<QString, FolderInfo>& updateDict);
    static bool markInTrashForVersion(const QByteArray& dbPath, const QString& tableName, const QString& uuid,
                                      const QString& projectUuid, int folderVersionCount);
    static bool justMarkInTrashForVersion(const QByteArray& dbPath, const QString& tableName,
                                          const QString& uuid);
    static bool updateFolderCount(const QByteArray& dbPath, const QString& tableName,
                                  const QString& projectUuid, int count);
    static bool markInTrashForMaster(const QByteArray& dbPath, const QString& tableName, const QString& uuid);
    static bool tableEmptyData(const QByteArray& dbPath, const QString& tableName);

    // Maintenance, offered without a caller.
    static bool tableHasData(const QByteArray& dbPath, const QString& tableName);
    static QStringList getDBTableName(const QByteArray& dbPath);
    static bool dbHasData(const QByteArray& dbPath);
    static bool dbEmptyData(const QByteArray& dbPath);
    static bool vacuumDB(const QByteArray& dbPath);
};
