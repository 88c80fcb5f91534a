#pragma once

#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "support/ScanRun.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QFile>
#include <QObject>
#include <QTest>
#include <memory>

namespace TestSupport {

// What every scan test starts from: a temporary tree with its own settings (no minimum size, no
// exclusions), an alert presenter that answers, and no cache file.
class ScanTestCase : public QObject
{
protected:
    std::unique_ptr<TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;

    Settings& settings() const { return m_tree->settings(); }
    QByteArray root() const { return m_tree->root(); }
    QByteArray p(const QByteArray& relative) const { return m_tree->path(relative); }
    QByteArray file(const QByteArray& relative, const QByteArray& contents) const
    {
        return m_tree->file(relative, contents);
    }
    std::unique_ptr<ScanResult> scan(const QList<QByteArray>& paths, const ScanOptions& options = noCache(),
                                     const std::vector<int>& states = {})
    {
        return runScan(settings(), &m_alerts, paths, options, states);
    }

    // Called from each test class's init() slot.
    bool makeTree()
    {
        m_tree = std::make_unique<TestTree>();
        if (!m_tree->isValid())
            return false;
        settings().setValue(Settings::kMinimumFileSize, 0);
        settings().setValue(Settings::kFileSizeUnit, 0);
        settings().setExcludedFolders({});
        m_alerts.clear();
        QFile::remove(QFile::decodeName(SqliteDBOperations::getDbPathInLibrary()));
        return true;
    }
};

} // namespace TestSupport
