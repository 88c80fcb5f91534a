#include "support/ScanRun.h"

#include "model/FilePathNode.h"
#include "scan/ScanEngine.h"

#include <QSignalSpy>
#include <algorithm>

namespace TestSupport {

std::unique_ptr<ScanResult> runScan(Settings& settings, AlertPresenter* alerts,
                                    const QList<QByteArray>& paths, const ScanOptions& options,
                                    const std::vector<int>& states)
{
    std::vector<FilePathNode> entries;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        FilePathNode n = FilePathNode::initWithPathForFile(paths[i]);
        if (size_t(i) < states.size())
            n.state = states[size_t(i)];
        entries.push_back(n);
    }
    ScanEngine engine(settings, alerts);
    engine.setOptions(options);
    QSignalSpy spy(&engine, &ScanEngine::finished);
    if (!engine.startScanning(entries) || !spy.wait(120000))
        return nullptr;
    return engine.takeResult();
}

ScanOptions noCache()
{
    ScanOptions o;
    o.useCache = false;
    return o;
}

Groups duplicateGroups(const ScanResult& result)
{
    Groups out;
    for (const DuplicateGroup* g : result.arrMainGroup) {
        if (g->children.size() < 2)
            continue;
        QList<QByteArray> paths;
        for (const FileInfoNode* n : g->children)
            paths << n->filePath;
        out << paths;
    }
    return out;
}

Groups sortedGroups(Groups groups)
{
    std::sort(groups.begin(), groups.end(),
              [](const auto& a, const auto& b) { return a.first() < b.first(); });
    return groups;
}

const FileInfoNode* nodeFor(const ScanResult& result, const QByteArray& path)
{
    for (const FileInfoNode* n : result.arrFileNodes)
        if (n->filePath == path)
            return n;
    return nullptr;
}

} // namespace TestSupport
