#include "model/ScanResult.h"

#include "libraries/DataFiller.h"

#include <algorithm>

ScanResult::ScanResult() = default;
ScanResult::~ScanResult() = default;

FileInfoNode* ScanResult::addNode(FileInfoNode&& node)
{
    FileInfoNode* stored = &nodes.emplace_back(std::move(node));
    arrFileNodes.push_back(stored);
    return stored;
}

DuplicateGroup* ScanResult::addGroup()
{
    DuplicateGroup* group = &groups.emplace_back();
    arrMainGroup.push_back(group);
    return group;
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
