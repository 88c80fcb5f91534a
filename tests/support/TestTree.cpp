#include "support/TestTree.h"

#include "app/Settings.h"

#include <QFile>
#include <fcntl.h>
#include <filesystem>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport {

namespace {
std::filesystem::path fsPath(const QByteArray& bytes)
{
    return std::filesystem::path(bytes.toStdString());
}
} // namespace

bool writeFile(const QByteArray& path, const QByteArray& contents)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash > 0) {
        std::error_code ignored;
        std::filesystem::create_directories(fsPath(path.left(slash)), ignored);
    }
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (fd < 0)
        return false;
    const bool ok = ::write(fd, contents.constData(), size_t(contents.size())) == contents.size();
    return ::close(fd) == 0 && ok;
}

bool makeDir(const QByteArray& path, int mode)
{
    std::error_code ignored;
    std::filesystem::create_directories(fsPath(path), ignored);
    struct stat st;
    return ::chmod(path.constData(), mode_t(mode)) == 0 && ::lstat(path.constData(), &st) == 0 &&
           S_ISDIR(st.st_mode);
}

int cacheExec(const QByteArray& dbPath, const char* sql)
{
    sqlite3* db = nullptr;
    int changed = -1;
    if (sqlite3_open_v2(dbPath.constData(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK &&
        sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK)
        changed = sqlite3_changes(db);
    sqlite3_close(db);
    return changed;
}

int cacheRows(const QByteArray& dbPath, const QByteArray& filePath)
{
    sqlite3* db = nullptr;
    sqlite3_stmt* st = nullptr;
    int count = -1;
    const char* sql = filePath.isNull() ? "select count(*) from hashTable"
                                        : "select count(*) from hashTable where filePath = ?";
    if (sqlite3_open_v2(dbPath.constData(), &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK &&
        sqlite3_prepare_v2(db, sql, -1, &st, nullptr) == SQLITE_OK) {
        if (!filePath.isNull())
            sqlite3_bind_text(st, 1, filePath.constData(), int(filePath.size()), SQLITE_TRANSIENT);
        if (sqlite3_step(st) == SQLITE_ROW)
            count = sqlite3_column_int(st, 0);
    }
    sqlite3_finalize(st);
    sqlite3_close(db);
    return count;
}

TestTree::TestTree()
{
    m_store =
        std::make_unique<QSettings>(m_dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    m_settings = std::make_unique<Settings>(m_store.get());
}

TestTree::~TestTree()
{
    m_settings.reset();
    m_store.reset();
    std::error_code ignored;
    std::filesystem::remove_all(fsPath(root()), ignored);
}

QByteArray TestTree::root() const
{
    return QFile::encodeName(m_dir.path());
}

QByteArray TestTree::file(const QByteArray& relative, const QByteArray& contents) const
{
    const QByteArray p = path(relative);
    if (!writeFile(p, contents))
        qWarning("cannot write %s", p.constData());
    return p;
}

QByteArray TestTree::dir(const QByteArray& relative) const
{
    const QByteArray p = path(relative);
    if (!makeDir(p))
        qWarning("cannot make %s", p.constData());
    return p;
}

QVariant TestTree::storedValue(const QString& key) const
{
    return QSettings(m_store->fileName(), QSettings::IniFormat).value(key);
}

} // namespace TestSupport
