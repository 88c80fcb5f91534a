#pragma once

#include <QByteArray>

struct sqlite3;

// One open connection to a photo library's database, closed when it goes out of scope. While a
// LibraryWriteSession is open on the same path, the session's connection is borrowed instead.
class LibraryConnection
{
public:
    LibraryConnection(const QByteArray& path, int flags);
    ~LibraryConnection();
    LibraryConnection(const LibraryConnection&) = delete;
    LibraryConnection& operator=(const LibraryConnection&) = delete;

    explicit operator bool() const { return m_db != nullptr; }
    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
    bool m_borrowed = false;
};

// Keeps one read-write connection to a library's database open, inside one transaction that
// is committed when the session ends: the removal of many photos costs one open and one sync
// instead of one of each per statement. Any thread's statements on the path use it meanwhile.
class LibraryWriteSession
{
public:
    explicit LibraryWriteSession(const QByteArray& dbPath);
    ~LibraryWriteSession();
    LibraryWriteSession(const LibraryWriteSession&) = delete;
    LibraryWriteSession& operator=(const LibraryWriteSession&) = delete;

    // The connection of the session open on the path, if any.
    static sqlite3* sharedHandle(const QByteArray& dbPath);

private:
    QByteArray m_path;
    sqlite3* m_db = nullptr;
    bool m_inTransaction = false;
};
