#include "libraries/DBOperations.h"

#include "libraries/LibraryConnection.h"
#include "libraries/LibraryStatement.h"

#include "app/AppGlobals.h"
#include "platform/Platform.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <cerrno>
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

namespace {

using namespace LibrarySql;

constexpr int kReadWrite = SQLITE_OPEN_READWRITE;

// File work goes through the path bytes: a name that is not UTF-8 must not be mangled on its
// way through QString.
void removeIfExists(const QByteArray& path)
{
    ::unlink(path.constData());
}

bool copyFile(const QByteArray& from, const QByteArray& to, QString* error)
{
    const auto fail = [&](int code) {
        if (error)
            *error = qt_error_string(code);
        return false;
    };
    const int in = ::open(from.constData(), O_RDONLY | O_CLOEXEC);
    if (in < 0)
        return fail(errno);
    const int out = ::open(to.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (out < 0) {
        const int code = errno;
        ::close(in);
        return fail(code);
    }
    char buffer[65536];
    int code = 0;
    for (;;) {
        const ssize_t n = ::read(in, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            code = n < 0 ? errno : 0;
            break;
        }
        if (!Platform::writeAll(out, buffer, n)) {
            code = errno;
            break;
        }
    }
    ::close(in);
    if (::close(out) != 0 && !code)
        code = errno;
    if (code) {
        ::unlink(to.constData());
        return fail(code);
    }
    return true;
}

QByteArray chopTrailingSlashes(QByteArray path)
{
    while (path.size() > 1 && path.endsWith('/'))
        path.chop(1);
    return path;
}

// clang-format off
const char kPhotosQuery[] =
    "select h1.*, rav.modelid from (Select rk.fileSize as filSize, rv.modelId as modelId, "
    "rk.uuid as masteruuid, rv.uuid as mapuuid,rv.filename, rk.imagepath, "
    "rv.extendedDescription as description  from rkmaster rk, rkversion rv "
    "where rk.uuid = rv.masteruuid and rk.isintrash <> 1 and rv.isintrash <> 1 and rv.burstUuid is null) h1  "
    "left join rkalbumversion rav on h1.modelid = rav.versionid and rav.albumid = "
    "(select modelId from rkalbum where name like ?1 and isintrash = 0 limit 1)  "
    "where rav.modelid is null";
// clang-format on

// Reads one row of the Photos query into a record; false (and the record holds what was read
// before the unreadable column) when a text column is not valid UTF-8. The image path is only
// formed from a read value: an empty one must not name the Masters folder itself.
bool readPhotoRow(sqlite3_stmt* stmt, const QByteArray& libraryPath, PhotoRecord& record, QString& problem)
{
    record.fileSize = sqlite3_column_int64(stmt, 0);
    QString* const texts[] = {&record.modelId, &record.uuid, &record.uuidRKVersion, &record.originalFileName};
    const int columns[] = {1, 2, 3, 4};
    for (int i = 0; i < 4; ++i) {
        if (readText(stmt, columns[i], *texts[i]) == TextRead::Invalid) {
            problem = unreadableColumn(stmt, columns[i]);
            return false;
        }
    }
    QString imageText;
    QByteArray imageBytes;
    if (readText(stmt, 5, imageText, &imageBytes) == TextRead::Invalid) {
        problem = unreadableColumn(stmt, 5);
        return false;
    }
    record.imagePath = libraryPath + "/Masters/" + imageBytes;
    if (readText(stmt, 6, record.description) == TextRead::Invalid) {
        problem = unreadableColumn(stmt, 6);
        return false;
    }
    return true;
}

} // namespace

std::optional<QList<PhotoRecord>> DBOperations::getPhotoslibraryPath(const QByteArray& libraryPath)
{
    return getImagesFromlibraryPath(libraryPath);
}

std::optional<QList<PhotoRecord>> DBOperations::getImagesFromlibraryPath(const QByteArray& libraryPath)
{
    const QByteArray library = chopTrailingSlashes(libraryPath);
    const QByteArray caches = Platform::cachesFolder();
    PathUtils::makeFolders(caches);

    const QByteArray source = CommonFuncs::getDataBasePathForPhotosLib(library);
    const QByteArray copy = PathUtils::join(caches, PathUtils::lastPathComponent(source));
    const QByteArray walSource = source + "-wal";
    const QByteArray walCopy = copy + "-wal";

    // A stale copy from an earlier run must not be read, nor mixed with a fresh log.
    removeIfExists(copy);
    removeIfExists(walCopy);
    removeIfExists(copy + "-shm");

    QString error;
    if (!copyFile(source, copy, &error)) {
        quillonLog(QStringLiteral("Error in copy Data Base %1").arg(error));
        return std::nullopt;
    }
    if (PathUtils::exists(walSource))
        copyFile(walSource, walCopy, nullptr);

    QList<PhotoRecord> records;
    {
        LibraryConnection db(copy, SQLITE_OPEN_READONLY);
        LibraryStatement stmt(db, kPhotosQuery);
        if (stmt) {
            stmt.bindText(1, AppGlobals::photosAlbumName);
            while (stmt.step() == SQLITE_ROW) {
                PhotoRecord record;
                QString problem;
                if (!readPhotoRow(stmt.handle(), library, record, problem))
                    quillonLog(QStringLiteral("Exception in getImagesFromlibraryPath: %1").arg(problem));
                records.append(std::move(record));
            }
        }
    }

    removeIfExists(copy);
    removeIfExists(copy + "-shm");
    removeIfExists(walCopy);
    return records;
}

QList<QVariantMap> DBOperations::getAllVersionPhotos(const QByteArray& dbPath, const QString& tableName)
{
    QList<QVariantMap> versions;
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db,
                          withTable("SELECT modelId, uuid, masterUuid, projectUuid, name FROM ", tableName,
                                    " WHERE isInTrash = 0 AND showInLibrary= 1 AND versionNumber <> 0;"));
    if (!stmt)
        return versions;
    static const char* const keys[] = {"uuid", "masterUuid", "projectUuid", "name"};
    while (stmt.step() == SQLITE_ROW) {
        QVariantMap version;
        version.insert(QStringLiteral("modelId"), QString::number(sqlite3_column_int(stmt.handle(), 0)));
        QString problem;
        for (int i = 0; i < 4; ++i) {
            QString text;
            // A NULL reads as empty: a missing uuid leaves the row out below, a missing name does not.
            if (readText(stmt.handle(), i + 1, text) == TextRead::Invalid) {
                problem = unreadableColumn(stmt.handle(), i + 1);
                break;
            }
            version.insert(QString::fromLatin1(keys[i]), text);
        }
        if (!problem.isEmpty()) {
            quillonLog(QStringLiteral("Exception in getAllVersionPhotos: %1").arg(problem));
            continue;
        }
        if (version.value(QStringLiteral("masterUuid")).toString().isEmpty() ||
            version.value(QStringLiteral("uuid")).toString().isEmpty() ||
            version.value(QStringLiteral("projectUuid")).toString().isEmpty())
            continue;
        versions.append(version);
    }
    return versions;
}

void DBOperations::getAllMasterPhotos(const QByteArray& dbPath, const QByteArray& dbPrefix,
                                      const QString& tableName, QHash<QString, MasterInfo>& updateDict)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("SELECT uuid, imagePath FROM ", tableName, " WHERE isInTrash = 0;"));
    if (!stmt)
        return;
    while (stmt.step() == SQLITE_ROW) {
        QString uuid;
        QString imageText;
        QByteArray imagePath;
        const TextRead uuidRead = readText(stmt.handle(), 0, uuid);
        const TextRead imageRead = readText(stmt.handle(), 1, imageText, &imagePath);
        if (uuidRead != TextRead::Ok || imageRead != TextRead::Ok) {
            const int column = uuidRead != TextRead::Ok ? 0 : 1;
            const TextRead bad = uuidRead != TextRead::Ok ? uuidRead : imageRead;
            const QString problem =
                bad == TextRead::Null
                    ? QStringLiteral("column %1 is NULL")
                          .arg(QString::fromUtf8(sqlite3_column_name(stmt.handle(), column)))
                    : unreadableColumn(stmt.handle(), column);
            quillonLog(QStringLiteral("Exception in getAllMasterPhotos: %1").arg(problem));
            continue;
        }
        const QByteArray fullPath = PathUtils::join(dbPrefix, imagePath);
        if (fullPath.isEmpty())
            continue;
        updateDict.insert(uuid, MasterInfo{fullPath, 0});
    }
}

void DBOperations::getAllFolders(const QByteArray& dbPath, const QString& tableName,
                                 QHash<QString, FolderInfo>& updateDict)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("SELECT uuid, name FROM ", tableName, ";"));
    if (!stmt)
        return;
    while (stmt.step() == SQLITE_ROW) {
        QString uuid;
        if (readText(stmt.handle(), 0, uuid) != TextRead::Ok) {
            quillonLog(
                QStringLiteral("Exception in getAllFolders: %1").arg(unreadableColumn(stmt.handle(), 0)));
            continue;
        }
        QString name;
        switch (readText(stmt.handle(), 1, name)) {
        case TextRead::Ok:
            if (name.isEmpty())
                name = QStringLiteral("untitled event");
            break;
        case TextRead::Null:
            break; // stays the empty string

        case TextRead::Invalid:
            name = QStringLiteral("Untitled Event");
            break;
        }
        updateDict.insert(uuid, FolderInfo{name, 0});
    }
}

bool DBOperations::markInTrashForVersion(const QByteArray& dbPath, const QString& tableName,
                                         const QString& uuid, const QString& projectUuid,
                                         int folderVersionCount)
{
    if (!justMarkInTrashForVersion(dbPath, tableName, uuid))
        return false;
    return updateFolderCount(dbPath, QStringLiteral("RKFolder"), projectUuid, folderVersionCount);
}

bool DBOperations::justMarkInTrashForVersion(const QByteArray& dbPath, const QString& tableName,
                                             const QString& uuid)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("UPDATE ", tableName, " SET isInTrash=1 WHERE uuid=?1;"));
    if (!stmt)
        return false;
    stmt.bindText(1, uuid);
    return stmt.step() == SQLITE_DONE;
}

bool DBOperations::updateFolderCount(const QByteArray& dbPath, const QString& tableName,
                                     const QString& projectUuid, int count)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("UPDATE ", tableName, " SET versionCount=?1 WHERE uuid=?2;"));
    if (!stmt)
        return false;
    stmt.bindInt(1, count);
    stmt.bindText(2, projectUuid);
    return stmt.step() == SQLITE_DONE;
}

bool DBOperations::markInTrashForMaster(const QByteArray& dbPath, const QString& tableName,
                                        const QString& uuid)
{
    // A master row is flagged by the same statement as a version row.
    return justMarkInTrashForVersion(dbPath, tableName, uuid);
}

bool DBOperations::tableEmptyData(const QByteArray& dbPath, const QString& tableName)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("delete from ", tableName, ";"));
    return stmt && stmt.step() == SQLITE_DONE;
}

bool DBOperations::tableHasData(const QByteArray& dbPath, const QString& tableName)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, withTable("select * from ", tableName));
    return stmt && stmt.step() == SQLITE_ROW;
}

QStringList DBOperations::getDBTableName(const QByteArray& dbPath)
{
    QStringList names;
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, "SELECT * FROM sqlite_master where type = 'table'");
    if (!stmt)
        return names;
    while (stmt.step() == SQLITE_ROW) {
        QString name;
        if (readText(stmt.handle(), 1, name) != TextRead::Ok)
            continue;
        if (!name.toUpper().startsWith(QLatin1String("SQLITE_")))
            names.append(name);
    }
    return names;
}

bool DBOperations::dbHasData(const QByteArray& dbPath)
{
    const QStringList tables = getDBTableName(dbPath);
    for (const QString& table : tables) {
        if (tableHasData(dbPath, table))
            return true;
    }
    return false;
}

bool DBOperations::dbEmptyData(const QByteArray& dbPath)
{
    const QStringList tables = getDBTableName(dbPath);
    for (const QString& table : tables) {
        if (tableHasData(dbPath, table))
            tableEmptyData(dbPath, table);
    }
    vacuumDB(dbPath);
    return true;
}

bool DBOperations::vacuumDB(const QByteArray& dbPath)
{
    LibraryConnection db(dbPath, kReadWrite);
    LibraryStatement stmt(db, "vacuum;");
    return stmt && stmt.step() == SQLITE_DONE;
}
