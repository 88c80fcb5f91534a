#pragma once

#include <QByteArray>
#include <QSettings>
#include <QTemporaryDir>
#include <memory>

class Settings;

namespace TestSupport {

// Writes the bytes to the path given as exact bytes (names need not be UTF-8), making any
// missing parent folders first.
bool writeFile(const QByteArray& path, const QByteArray& contents);
// Makes the folder and any missing parents; the last one gets the mode. True when it is a
// folder afterwards.
bool makeDir(const QByteArray& path, int mode = 0755);
// Rows of the hash cache database, all of them or those of one file path; -1 when the
// database cannot be read.
int cacheRows(const QByteArray& dbPath, const QByteArray& filePath = {});
// Runs one statement on a cache file; the number of rows it changed, or -1.
int cacheExec(const QByteArray& dbPath, const char* sql);

// A temporary folder for the files of one case, with a settings file of its own in it and
// Settings over that file. The folder goes away with the object, names that are not UTF-8
// too.
class TestTree
{
public:
    TestTree();
    ~TestTree();

    bool isValid() const { return m_dir.isValid(); }
    QByteArray root() const;
    QByteArray path(const QByteArray& relative) const { return root() + '/' + relative; }
    // Writes a file below the folder (warning when that fails) and returns its path.
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const;
    QByteArray dir(const QByteArray& relative) const;

    QSettings& store() const { return *m_store; }
    Settings& settings() const { return *m_settings; }
    // A fresh reading of the settings file, as another process would see it.
    QVariant storedValue(const QString& key) const;

private:
    QTemporaryDir m_dir;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<Settings> m_settings;
};

} // namespace TestSupport
