#pragma once

#include "model/FileInfoNode.h"

#include <QHash>
#include <algorithm>
#include <vector>

// The first record of each (size, digest) met by the grouping: an open-addressing table of
// indices into the candidates, a key being that record's size and md5 (set before it is
// entered and not changed while the table lives). No copy of the digest, no node per entry,
// four bytes a slot.
class GroupsByDigest
{
public:
    explicit GroupsByDigest(const std::vector<FileInfoNode*>& nodes) : m_nodes(nodes) {}

    static size_t hashOf(quint64 size, const HexDigest& md5) { return qHashMulti(0, size, md5); }

    // The index of the first record with the key, or -1.
    qint64 find(quint64 size, const HexDigest& md5, size_t hash) const
    {
        if (m_slots.empty())
            return -1;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            const quint32 slot = m_slots[i];
            if (slot == 0)
                return -1;
            const FileInfoNode* first = m_nodes[slot - 1];
            if (first->fileSize == size && first->md5 == md5)
                return qint64(slot - 1);
        }
    }

    // Enters a record whose key is not in the table yet.
    void insert(quint32 index, size_t hash)
    {
        // At most three quarters full: linear probing stays short with a digest's hash.
        if ((m_count + 1) * 4 > m_slots.size() * 3)
            grow();
        place(index + 1, hash);
        ++m_count;
    }

private:
    void place(quint32 slot, size_t hash)
    {
        const size_t mask = m_slots.size() - 1;
        size_t i = hash & mask;
        while (m_slots[i])
            i = (i + 1) & mask;
        m_slots[i] = slot;
    }

    void grow()
    {
        std::vector<quint32> old(std::max<size_t>(64, m_slots.size() * 2), 0);
        old.swap(m_slots);
        for (quint32 slot : old)
            if (slot)
                place(slot, hashOf(m_nodes[slot - 1]->fileSize, m_nodes[slot - 1]->md5));
    }

    const std::vector<FileInfoNode*>& m_nodes;
    std::vector<quint32> m_slots; // index + 1, 0 when free; a power of two in size
    size_t m_count = 0;
};
