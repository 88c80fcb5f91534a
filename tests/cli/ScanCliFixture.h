#pragma once

// Runs the built quillon-scan on trees under a temporary folder, with its own HOME, settings,
// caches and Trash there.

#include "support/TestTree.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <filesystem>
#include <memory>

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

class ScanCliFixture
{
protected:
    std::unique_ptr<QTemporaryDir> m_dir;
    QStringList m_wrapper; // a command that runs quillon-scan, when set

    QByteArray root() const { return QFile::encodeName(m_dir->path()); }
    QByteArray p(const QByteArray& relative) const { return root() + "/tree/" + relative; }
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const
    {
        const QByteArray path = p(relative);
        if (!TestSupport::writeFile(path, contents))
            qWarning("cannot write %s", path.constData());
        return path;
    }
    QByteArray defaultCache() const { return root() + "/home/.cache/Quillon.db"; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        const QString home = m_dir->filePath(QStringLiteral("home"));
        env.insert(QStringLiteral("HOME"), home);
        env.insert(QStringLiteral("XDG_CONFIG_HOME"), home + QStringLiteral("/.config"));
        env.insert(QStringLiteral("XDG_CACHE_HOME"), home + QStringLiteral("/.cache"));
        env.insert(QStringLiteral("XDG_DATA_HOME"), home + QStringLiteral("/.local/share"));
        env.remove(QStringLiteral("QUILLON_SCAN_LOG"));
        return env;
    }

    // The user's settings as the scanner reads them.
    std::unique_ptr<QSettings> userSettings() const
    {
        return std::make_unique<QSettings>(
            m_dir->filePath(QStringLiteral("home/.config/Quillon/Quillon.conf")), QSettings::IniFormat);
    }

    void startProcess(QProcess& process, const QList<QByteArray>& args, bool withLog = false) const
    {
        QProcessEnvironment env = environment();
        if (withLog)
            env.insert(QStringLiteral("QUILLON_SCAN_LOG"), QStringLiteral("1"));
        process.setProcessEnvironment(env);
        QStringList list = m_wrapper;
        process.setProgram(list.isEmpty() ? QStringLiteral(QUILLON_SCAN_BINARY) : list.takeFirst());
        if (!m_wrapper.isEmpty())
            list << QStringLiteral(QUILLON_SCAN_BINARY);
        // Arguments travel as bytes: a name that is not UTF-8 is given as the file system has it.
        for (const QByteArray& a : args)
            list << QFile::decodeName(a);
        process.setArguments(list);
        process.start();
    }

    Run run(const QList<QByteArray>& args) const
    {
        QProcess process;
        startProcess(process, args);
        Run r;
        if (!process.waitForFinished(120000))
            return r;
        r.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
        r.out = process.readAllStandardOutput();
        r.err = process.readAllStandardError();
        return r;
    }

    QJsonObject runJson(const QList<QByteArray>& args) const
    {
        const Run r = run(QList<QByteArray>{"--json", "--quiet"} + args);
        if (r.exitCode != 0)
            qWarning("exit %d: %s", r.exitCode, r.err.constData());
        return QJsonDocument::fromJson(r.out).object();
    }

    // A fresh folder with a home whose settings scan everything.
    bool makeTree()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        if (!m_dir->isValid())
            return false;
        QDir().mkpath(m_dir->filePath(QStringLiteral("home/.cache")));
        auto settings = userSettings();
        settings->setValue(QStringLiteral("minimumFileSize"), 0);
        settings->setValue(QStringLiteral("excludedFolders"), QStringList());
        return true;
    }

    void removeTree()
    {
        // Names that are not UTF-8 need removal by their bytes.
        std::error_code ignored;
        std::filesystem::remove_all(std::filesystem::path(root().toStdString()), ignored);
        m_dir.reset();
    }
};
