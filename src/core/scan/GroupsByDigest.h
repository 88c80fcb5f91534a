#pragma once

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"

#include <QHash>
#include <algorithm>
#include <vector>

// The groups of a scan by (size, digest): an open-addressing table of the groups themselves,
// a group's key being its first member's size and md5 (set before the group is entered and
// not changed while the table lives). No copy of the digest, no node per entry.
class GroupsByDigest
{
public:
    static size_t hashOf(quint64 size, const QByteArray& md5) { return qHashMulti(0, size, md5); }

    DuplicateGroup* find(quint64 size, const QByteArray& md5, size_t hash) const
    {
        if (m_slots.empty())
            return nullptr;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            DuplicateGroup* group = m_slots[i];
            if (!group)
                return nullptr;
            const FileInfoNode* first = group->children.front();
            if (first->fileSize == size && first->md5 == md5)
                return group;
        }
    }

    // Enters a group whose key is not in the table yet.
    void insert(DuplicateGroup* group, size_t hash)
    {
        // At most three quarters full: linear probing stays short with a digest's hash.
        if ((m_count + 1) * 4 > m_slots.size() * 3)
            grow();
        place(group, hash);
        ++m_count;
    }

private:
    void place(DuplicateGroup* group, size_t hash)
    {
        const size_t mask = m_slots.size() - 1;
        size_t i = hash & mask;
        while (m_slots[i])
            i = (i + 1) & mask;
        m_slots[i] = group;
    }

    void grow()
    {
        std::vector<DuplicateGroup*> old(std::max<size_t>(64, m_slots.size() * 2), nullptr);
        old.swap(m_slots);
        for (DuplicateGroup* group : old)
            if (group)
                place(group, hashOf(group->children.front()->fileSize, group->children.front()->md5));
    }

    std::vector<DuplicateGroup*> m_slots; // a power of two in size
    size_t m_count = 0;
};
