#pragma once

#include <QtGlobal>
#include <vector>

struct FileInfoNode;

// The items that share one content digest.
struct DuplicateGroup
{
    std::vector<FileInfoNode*> children;         // every member, in order of hashing
    std::vector<FileInfoNode*> filteredChildren; // the members shown under the review's filter
    quint64 groupSize = 0;                       // sum of the members' fileSize

    DuplicateGroup() = default;
};
