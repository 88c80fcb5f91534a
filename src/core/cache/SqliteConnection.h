#pragma once

#include <QByteArray>
#include <QString>

struct sqlite3;
struct sqlite3_stmt;

// One connection to the cache file for the length of one call; the file is never created by
// opening it. A cache locked by another scan is waited for a few seconds. A file that SQLite
// reports as corrupt or not a database is replaced by a fresh copy once the connection closes.
class SqliteConnection
{
public:
    explicit SqliteConnection(const QByteArray& path);
    ~SqliteConnection();
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    explicit operator bool() const { return m_db != nullptr; }
    sqlite3* handle() const { return m_db; }
    bool isReadOnly() const;
    bool exec(const char* sql);
    // Notes a result code: a corrupt file is replaced when the connection closes.
    void noteResult(int rc);

private:
    QByteArray m_path;
    sqlite3* m_db = nullptr;
    bool m_corrupt = false;
};

class SqliteStatement
{
public:
    SqliteStatement(SqliteConnection& connection, const char* sql);
    ~SqliteStatement();
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }
    // Stepping a statement that failed to prepare answers misuse, as SQLite does for a null one.
    int step() const;
    void reset() const;
    // The exact bytes of a path as TEXT, so names that are not UTF-8 survive and compare byte
    // for byte.
    void bindPath(int index, const QByteArray& path) const;

private:
    sqlite3_stmt* m_statement = nullptr;
};
