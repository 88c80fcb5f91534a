#pragma once

#include "model/ScanResult.h"
#include "scan/ScanOptions.h"

#include <QByteArray>
#include <QList>
#include <memory>
#include <vector>

class AlertPresenter;
class Settings;

namespace TestSupport {

using Groups = QList<QList<QByteArray>>;

// Runs one scan of the paths (all ticked unless states says otherwise) and waits for its end;
// nothing when it was refused or did not end in time.
std::unique_ptr<ScanResult> runScan(Settings& settings, AlertPresenter* alerts,
                                    const QList<QByteArray>& paths, const ScanOptions& options,
                                    const std::vector<int>& states = {});
// Options without the cache.
ScanOptions noCache();
// Every group of two or more members, as its paths in member order.
Groups duplicateGroups(const ScanResult& result);
// The groups ordered by their first path.
Groups sortedGroups(Groups groups);
const FileInfoNode* nodeFor(const ScanResult& result, const QByteArray& path);

} // namespace TestSupport
