#pragma once

#include <QtGlobal>
#include <algorithm>
#include <vector>

// A set of records (indices into a list of records) found by a key that each record carries
// itself, such as its path or its (device, inode): open addressing, four bytes a slot and no
// copy of the key. The caller gives the key's hash and, to compare, a test of a record.
class RecordTable
{
public:
    // The record whose key matches, or -1. matches(index) compares the key with that record's.
    template <typename Matches> qint64 find(size_t hash, Matches matches) const
    {
        if (m_slots.empty())
            return -1;
        const size_t mask = m_slots.size() - 1;
        for (size_t i = hash & mask;; i = (i + 1) & mask) {
            const quint32 slot = m_slots[i];
            if (slot == 0)
                return -1;
            if (matches(slot - 1))
                return qint64(slot - 1);
        }
    }

    // Enters a record whose key is not in the table yet; hashOf(index) gives the hash of a
    // record already entered, for growing.
    template <typename HashOf> void insert(quint32 index, size_t hash, HashOf hashOf)
    {
        // At most three quarters full, so probes stay short.
        if ((m_count + 1) * 4 > m_slots.size() * 3) {
            std::vector<quint32> old(std::max<size_t>(64, m_slots.size() * 2), 0);
            old.swap(m_slots);
            for (const quint32 slot : old)
                if (slot)
                    place(slot, hashOf(slot - 1));
        }
        place(index + 1, hash);
        ++m_count;
    }

    void clear()
    {
        std::vector<quint32>().swap(m_slots); // "= {}" would keep the capacity
        m_count = 0;
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

    std::vector<quint32> m_slots; // index + 1, 0 when free; a power of two in size
    size_t m_count = 0;
};
