#pragma once

#include "model/FileInfoNode.h"
#include "scan/RecordTable.h"

#include <QHash>
#include <vector>

// The first record of each (size, digest) met by the grouping: indices into the candidates,
// a key being that record's size and md5 (set before it is entered and not changed while the
// table lives). No copy of the digest, no node per entry, four bytes a slot.
class GroupsByDigest
{
public:
    explicit GroupsByDigest(const std::vector<FileInfoNode*>& nodes) : m_nodes(nodes) {}

    static size_t hashOf(quint64 size, const HexDigest& md5) { return qHashMulti(0, size, md5); }

    // The index of the first record with the key, or -1.
    qint64 find(quint64 size, const HexDigest& md5, size_t hash) const
    {
        return m_table.find(hash, [&](quint32 index) {
            const FileInfoNode* first = m_nodes[index];
            return first->fileSize == size && first->md5 == md5;
        });
    }

    // Enters a record whose key is not in the table yet.
    void insert(quint32 index, size_t hash)
    {
        m_table.insert(index, hash,
                       [this](quint32 i) { return hashOf(m_nodes[i]->fileSize, m_nodes[i]->md5); });
    }

private:
    const std::vector<FileInfoNode*>& m_nodes;
    RecordTable m_table;
};
