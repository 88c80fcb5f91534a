#include "model/ScanResult.h"

#include "libraries/DataFiller.h"

#include <algorithm>

ScanResult::ScanResult() = default;
ScanResult::~ScanResult() = default;

FileInfoNode* ScanResult::addNode(FileInfoNode&& node)
{
    if (nodeCount == nodeBlocks.size() * kNodesPerBlock)
        nodeBlocks.push_back(std::make_unique<FileInfoNode[]>(kNodesPerBlock));
    FileInfoNode* stored = &nodeBlocks.back()[nodeCount % kNodesPerBlock];
    *stored = std::move(node);
    ++nodeCount;
    arrFileNodes.push_back(stored);
    return stored;
}

DuplicateGroup* ScanResult::addGroup()
{
    DuplicateGroup* group = &groups.emplace_back();
    arrMainGroup.push_back(group);
    return group;
}

void ScanResult::addSkipped(const QByteArray& path, const QString& reason)
{
    std::lock_guard lock(skippedMutex);
    skipped.push_back({path, reason});
}

size_t ScanResult::sameFileAgainCount() const
{
    size_t count = 0;
    for (const SameFileAgain& same : sameFileAgain)
        count += same.others.size();
    return count;
}

bool ScanResult::isAnyGroupContainsDuplicate() const
{
    return std::any_of(arrMainGroup.begin(), arrMainGroup.end(),
                       [](const DuplicateGroup* g) { return g->filteredChildren.size() > 1; });
}

void ScanResult::removeGroupsWithoutDuplicates()
{
    std::erase_if(arrMainGroup, [](const DuplicateGroup* g) { return g->filteredChildren.size() < 2; });
}
