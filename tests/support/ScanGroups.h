#pragma once

#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"

#include <QList>

// Groups as a scan leaves them, for the review and Trash tests.
namespace TestSupport {

// Appends a group of the files at the paths, read from disk (a path that is not there gives a
// bare record), the members at the indexes in `marked` marked.
inline DuplicateGroup* addGroup(ScanResult& scan, const QList<QByteArray>& paths,
                                const QList<int>& marked = {})
{
    DuplicateGroup* g = scan.addGroup();
    for (int i = 0; i < paths.size(); ++i) {
        std::optional<FileInfoNode> read = FileInfoNode::initWithPathForFile(paths[i]);
        FileInfoNode* n = scan.addNode(read ? std::move(*read) : FileInfoNode());
        n->filePath = paths[i];
        n->parent = g;
        n->state = marked.contains(i) ? 1 : 0;
        g->children.push_back(n);
        g->groupSize += n->fileSize;
    }
    g->filteredChildren = g->children;
    return g;
}

// Appends an item of the Photos library "/lib.photoslibrary" to the group.
inline FileInfoNode* addPhotosItem(ScanResult& scan, DuplicateGroup* g, const QString& uuid, int state = 0)
{
    FileInfoNode item;
    item.filePath = "/lib.photoslibrary/Masters/" + uuid.toUtf8();
    item.libraryPath() = "/lib.photoslibrary";
    item.isPhotosNode = true;
    item.state = state;
    item.photosInfo() = std::make_unique<PhotosNode>();
    item.photosInfo()->uuIDRkVersion = uuid;
    item.photosInfo()->fileSize = 10;
    FileInfoNode* n = scan.addNode(std::move(item));
    n->parent = g;
    g->children.push_back(n);
    g->filteredChildren = g->children;
    return n;
}

} // namespace TestSupport
