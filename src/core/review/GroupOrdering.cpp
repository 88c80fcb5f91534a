#include "review/GroupOrdering.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "review/FileNameMatcher.h"
#include "util/LinqExtensions.h"

#include <QString>

namespace LE = LinqExtensions;

namespace {

// Keys are computed once per group, not in every comparison: the name key alone would
// otherwise be decoded millions of times on a large result.
template <class KeyOf>
GroupOrdering::GroupList sortedBy(const GroupOrdering::GroupList& groups, qint32 sortOrder, KeyOf keyOf)
{
    using Key = std::remove_cvref_t<std::invoke_result_t<KeyOf, const DuplicateGroup*>>;
    struct Keyed
    {
        Key key;
        DuplicateGroup* group;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(groups.size());
    for (DuplicateGroup* group : groups)
        keyed.push_back({keyOf(group), group});
    keyed = LE::sortDesc(keyed, [](const Keyed& k) -> const Key& { return k.key; });
    if (sortOrder != 1)
        keyed = LE::reverse(keyed);
    return LE::select(keyed, [](const Keyed& k) { return k.group; });
}

} // namespace

std::optional<GroupOrdering::GroupList> GroupOrdering::sorted(const GroupList& groups, quint32 sortType,
                                                              qint32 sortOrder)
{
    switch (sortType) {
    case 0:
        return sortedBy(groups, sortOrder, [](const DuplicateGroup* g) { return qint64(g->groupSize); });
    case 2:
        return sortedBy(groups, sortOrder, [](const DuplicateGroup* g) {
            return g->filteredChildren.empty()
                       ? QString()
                       : QString::fromUtf8(FileNameMatcher::fileNameOf(g->filteredChildren.front()))
                             .toLower();
        });
    case 3:
        return sortedBy(groups, sortOrder,
                        [](const DuplicateGroup* g) { return g->filteredChildren.size(); });
    case 4:
        return sortedBy(groups, sortOrder, markedCount);
    default:
        return std::nullopt;
    }
}

quint64 GroupOrdering::markedCount(const DuplicateGroup* group)
{
    return LE::count(group->filteredChildren, [](const FileInfoNode* f) { return f->state == 1; });
}
