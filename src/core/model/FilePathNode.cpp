#include "model/FilePathNode.h"

FilePathNode FilePathNode::initWithPathForFile(const QByteArray& path)
{
    FilePathNode node;
    node.filePath = path;
    node.state = 1;
    return node;
}
