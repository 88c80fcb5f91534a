#include "cache/SqliteConnection.h"

#include "cache/CacheUpkeep.h"

#include <atomic>
#include <mutex>
#include <sqlite3.h>

namespace {

constexpr int kBusyTimeoutMs = 3000;
// After a call found the cache locked, later calls wait only briefly, so that a cache held by
// another scan costs seconds rather than minutes (one wait per batch otherwise).
constexpr int kBusyTimeoutAfterBusyMs = 250;
std::atomic<bool> g_recentlyBusy{false};

void initialiseSqlite()
{
    static std::once_flag once;
    std::call_once(once, [] { sqlite3_initialize(); });
}

bool isBusy(int rc)
{
    const int primary = rc & 0xff;
    return primary == SQLITE_BUSY || primary == SQLITE_LOCKED;
}

bool isCorrupt(int rc)
{
    const int primary = rc & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

} // namespace

SqliteConnection::SqliteConnection(const QByteArray& path) : m_path(path)
{
    initialiseSqlite();
    if (path.isEmpty() || path.contains('\0'))
        return;
    // A relative name is made explicit so that it can never be taken for a URI.
    const QByteArray name = path.startsWith('/') ? path : QByteArray("./") + path;
    const int rc = sqlite3_open_v2(name.constData(), &m_db, SQLITE_OPEN_READWRITE, nullptr);
    if (rc != SQLITE_OK) {
        noteResult(rc);
        sqlite3_close_v2(m_db);
        m_db = nullptr;
        return;
    }
    sqlite3_busy_timeout(m_db, g_recentlyBusy.load() ? kBusyTimeoutAfterBusyMs : kBusyTimeoutMs);
}

SqliteConnection::~SqliteConnection()
{
    if (m_db) {
        if (!sqlite3_get_autocommit(m_db))
            sqlite3_exec(m_db, "ROLLBACK", nullptr, nullptr, nullptr);
        sqlite3_close_v2(m_db);
    }
    if (m_corrupt)
        CacheUpkeep::replaceCorrupt(m_path);
}

bool SqliteConnection::isReadOnly() const
{
    return m_db && sqlite3_db_readonly(m_db, "main") == 1;
}

bool SqliteConnection::exec(const char* sql)
{
    if (!m_db)
        return false;
    const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    noteResult(rc);
    return rc == SQLITE_OK;
}

void SqliteConnection::noteResult(int rc)
{
    if (isCorrupt(rc))
        m_corrupt = true;
    if (isBusy(rc))
        g_recentlyBusy = true;
    else if (rc == SQLITE_OK || rc == SQLITE_DONE)
        g_recentlyBusy = false;
}

SqliteStatement::SqliteStatement(SqliteConnection& connection, const char* sql)
{
    if (connection && sql)
        connection.noteResult(sqlite3_prepare_v2(connection.handle(), sql, -1, &m_statement, nullptr));
}

SqliteStatement::~SqliteStatement()
{
    sqlite3_finalize(m_statement);
}

int SqliteStatement::step() const
{
    return m_statement ? sqlite3_step(m_statement) : SQLITE_MISUSE;
}

void SqliteStatement::reset() const
{
    sqlite3_reset(m_statement);
    sqlite3_clear_bindings(m_statement);
}

void SqliteStatement::bindPath(int index, const QByteArray& path) const
{
    sqlite3_bind_text(m_statement, index, path.constData(), int(path.size()), SQLITE_STATIC);
}
