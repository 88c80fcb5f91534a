#pragma once

#include "libraries/LibraryConnection.h"

#include <QByteArray>
#include <QString>
#include <sqlite3.h>

// One prepared statement, finalised when it goes out of scope.
class LibraryStatement
{
public:
    LibraryStatement(const LibraryConnection& db, const QByteArray& sql)
    {
        if (db && sqlite3_prepare_v2(db.handle(), sql.constData(), int(sql.size()), &m_stmt, nullptr) !=
                      SQLITE_OK) {
            sqlite3_finalize(m_stmt);
            m_stmt = nullptr;
        }
    }
    ~LibraryStatement() { sqlite3_finalize(m_stmt); }
    LibraryStatement(const LibraryStatement&) = delete;
    LibraryStatement& operator=(const LibraryStatement&) = delete;

    explicit operator bool() const { return m_stmt != nullptr; }
    sqlite3_stmt* handle() const { return m_stmt; }

    void bindText(int index, const QString& value)
    {
        const QByteArray utf8 = value.toUtf8();
        sqlite3_bind_text(m_stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }
    void bindInt(int index, int value) { sqlite3_bind_int(m_stmt, index, value); }
    int step() { return m_stmt ? sqlite3_step(m_stmt) : SQLITE_MISUSE; }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

// Column reading and statement text shared by the library statements.
namespace LibrarySql {

enum class TextRead { Ok, Null, Invalid };

// A text column, with invalid UTF-8 reported instead of silently replaced.
TextRead readText(sqlite3_stmt* stmt, int column, QString& out, QByteArray* raw = nullptr);

QString unreadableColumn(sqlite3_stmt* stmt, int column);

// Table names come from the callers' fixed list (or the database's own catalogue); quoted as an
// identifier all the same.
QByteArray withTable(const char* before, const QString& table, const char* after = "");

} // namespace LibrarySql
