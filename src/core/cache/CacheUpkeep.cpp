#include "cache/CacheUpkeep.h"

#include "cache/CacheValues.h"
#include "cache/SqliteConnection.h"
#include "cache/SqliteDBOperations.h"
#include "platform/Platform.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QFile>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// The copy is writable (the resource itself is read-only) and private to the user.
bool CacheUpkeep::install(const QByteArray& folder, const QByteArray& target, const QString& source,
                          QString* error)
{
    QFile in(source);
    if (!in.open(QIODevice::ReadOnly)) {
        *error = in.errorString();
        return false;
    }
    const QByteArray data = in.readAll();
    if (in.error() != QFileDevice::NoError || data.isEmpty()) {
        *error =
            in.error() != QFileDevice::NoError ? in.errorString() : QStringLiteral("the source is empty");
        return false;
    }
    if (!PathUtils::makeFolders(folder)) {
        *error = qt_error_string(errno);
        return false;
    }
    QByteArray temporary = target + ".XXXXXX";
    const int fd = ::mkstemp(temporary.data());
    if (fd < 0) {
        *error = qt_error_string(errno);
        return false;
    }
    bool ok = Platform::writeAll(fd, data.constData(), data.size());
    int savedErrno = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        savedErrno = errno;
    }
    if (ok) {
        if (::link(temporary.constData(), target.constData()) != 0 && errno != EEXIST) {
            // File systems without hard links: rename, unless the target appeared meanwhile.
            if (!PathUtils::exists(target) && ::rename(temporary.constData(), target.constData()) != 0) {
                ok = false;
                savedErrno = errno;
            }
        }
    }
    ::unlink(temporary.constData());
    if (!ok)
        *error = qt_error_string(savedErrno);
    return ok;
}

void CacheUpkeep::replaceCorrupt(const QByteArray& dbPath)
{
    static QMutex mutex;
    static QSet<QByteArray> replaced;
    QMutexLocker lock(&mutex);
    if (replaced.contains(dbPath))
        return;
    replaced.insert(dbPath);
    const QByteArray aside = dbPath + ".corrupt";
    if (::rename(dbPath.constData(), aside.constData()) != 0) {
        quillonLog(QStringLiteral("Cache database %1 is not usable and could not be moved aside: %2")
                       .arg(PathUtils::toDisplay(dbPath), qt_error_string(errno)));
        return;
    }
    quillonLog(QStringLiteral("Cache database %1 is not usable; moved aside to %2")
                   .arg(PathUtils::toDisplay(dbPath), PathUtils::toDisplay(aside)));
    const qsizetype slash = dbPath.lastIndexOf('/');
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : dbPath.left(slash);
    QString error;
    if (!install(folder, dbPath, SqliteDBOperations::shippedDatabaseResource(), &error))
        quillonLog(QStringLiteral("There is Error in copying database at Path %1 Error %2")
                       .arg(PathUtils::toDisplay(folder), error));
}

qint64 CacheUpkeep::lastRowId(const QByteArray& dbPath)
{
    if (!PathUtils::exists(dbPath))
        return 0;
    try {
        SqliteConnection db(dbPath);
        SqliteStatement select(db, "SELECT max(fileID) FROM hashTable");
        if (select && select.step() == SQLITE_ROW)
            return sqlite3_column_int64(select.get(), 0);
    } catch (const std::exception& e) {
        quillonLog(QStringLiteral("Exception %1").arg(QString::fromLocal8Bit(e.what())));
    }
    return std::numeric_limits<qint64>::max();
}

void CacheUpkeep::removeRowsOfMissingFiles(const QByteArray& dbPath, const QList<QByteArray>& folders,
                                           const std::atomic<bool>* abortFlag, qint64 lastOldRow,
                                           bool scannedInTempTable)
{
    try {
        SqliteConnection db(dbPath);
        if (!db || db.isReadOnly())
            return;
        // Rows below a folder: the path begins with the folder and a slash (byte for byte).
        // Files this scan found are known to exist: no stat for them.
        SqliteStatement select(db, scannedInTempTable
                                       ? "SELECT filePath FROM hashTable WHERE fileID <= ?3 AND "
                                         "substr(filePath, 1, ?1) = ?2 AND filePath NOT IN "
                                         "(SELECT filePath FROM tempTable)"
                                       : "SELECT filePath FROM hashTable WHERE fileID <= ?3 AND "
                                         "substr(filePath, 1, ?1) = ?2");
        sqlite3_bind_int64(select.get(), 3, lastOldRow);
        std::vector<QByteArray> gone;
        for (const QByteArray& folder : folders) {
            const QByteArray prefix = folder.endsWith('/') ? folder : folder + '/';
            sqlite3_bind_int64(select.get(), 1, prefix.size());
            select.bindPath(2, prefix);
            int rc;
            while ((rc = select.step()) == SQLITE_ROW) {
                if (abortFlag && abortFlag->load(std::memory_order_relaxed))
                    return;
                const QByteArray path = CacheValues::columnBytes(select.get(), 0);
                struct stat st;
                if (!PathUtils::lstatDeep(path, &st) && (errno == ENOENT || errno == ENOTDIR))
                    gone.push_back(path);
            }
            db.noteResult(rc);
            select.reset();
        }
        if (gone.empty() || !db.exec("BEGIN IMMEDIATE TRANSACTION"))
            return;
        SqliteStatement remove(db, "DELETE FROM hashTable WHERE filePath = ?");
        for (const QByteArray& path : gone) {
            if (abortFlag && abortFlag->load(std::memory_order_relaxed))
                return; // rolled back
            remove.bindPath(1, path);
            db.noteResult(remove.step());
            remove.reset();
        }
        db.exec("COMMIT TRANSACTION");
    } catch (const std::exception& e) {
        quillonLog(QStringLiteral("Exception %1").arg(QString::fromLocal8Bit(e.what())));
    }
}
