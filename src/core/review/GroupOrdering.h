#pragma once

#include <QtGlobal>
#include <optional>
#include <vector>

struct DuplicateGroup;

// The display order of the group table.
class GroupOrdering
{
public:
    using GroupList = std::vector<DuplicateGroup*>;

    // By sortType: 0 total size, 2 lower-cased name of the first shown file, 3 shown files,
    // 4 marked shown files; nothing for 1 or above 4. Sorted descending (stable), then
    // reversed unless sortOrder is 1.
    static std::optional<GroupList> sorted(const GroupList& groups, quint32 sortType, qint32 sortOrder);
    // Marked shown files of a group.
    static quint64 markedCount(const DuplicateGroup* group);
};
