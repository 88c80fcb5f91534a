#include "libraries/LibraryConnection.h"

#include <QHash>
#include <QMutex>
#include <sqlite3.h>

namespace {

QMutex& sessionsMutex()
{
    static QMutex mutex;
    return mutex;
}

QHash<QByteArray, sqlite3*>& sessions()
{
    static QHash<QByteArray, sqlite3*> open;
    return open;
}

sqlite3* openDatabase(const QByteArray& path, int flags)
{
    // An empty name would open a private temporary database: never a library's.
    if (path.isEmpty())
        return nullptr;
    sqlite3_initialize();
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.constData(), &db, flags, nullptr) != SQLITE_OK) {
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_busy_timeout(db, 2000);
    return db;
}

} // namespace

LibraryConnection::LibraryConnection(const QByteArray& path, int flags)
{
    if ((m_db = LibraryWriteSession::sharedHandle(path))) {
        m_borrowed = true;
        return;
    }
    m_db = openDatabase(path, flags);
}

LibraryConnection::~LibraryConnection()
{
    if (!m_borrowed)
        sqlite3_close(m_db);
}

LibraryWriteSession::LibraryWriteSession(const QByteArray& dbPath) : m_path(dbPath)
{
    QMutexLocker lock(&sessionsMutex());
    if (sessions().contains(dbPath))
        return; // an outer session already holds the path
    m_db = openDatabase(dbPath, SQLITE_OPEN_READWRITE);
    if (!m_db)
        return;
    m_inTransaction = sqlite3_exec(m_db, "BEGIN IMMEDIATE;", nullptr, nullptr, nullptr) == SQLITE_OK;
    sessions().insert(dbPath, m_db);
}

LibraryWriteSession::~LibraryWriteSession()
{
    if (!m_db)
        return;
    QMutexLocker lock(&sessionsMutex());
    sessions().remove(m_path);
    if (m_inTransaction)
        sqlite3_exec(m_db, "COMMIT;", nullptr, nullptr, nullptr);
    sqlite3_close(m_db);
}

sqlite3* LibraryWriteSession::sharedHandle(const QByteArray& dbPath)
{
    QMutexLocker lock(&sessionsMutex());
    return sessions().value(dbPath, nullptr);
}
