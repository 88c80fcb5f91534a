#include "model/FileInfoNode.h"

#include "libraries/PhotosNode.h"
#include "libraries/iPhotoNode.h"
#include "util/PathUtils.h"

FileInfoNode::FileInfoNode() = default;
FileInfoNode::~FileInfoNode() = default;
FileInfoNode::FileInfoNode(FileInfoNode&&) noexcept = default;
FileInfoNode& FileInfoNode::operator=(FileInfoNode&&) noexcept = default;

QByteArray FileInfoNode::fileName() const
{
    return PathUtils::lastPathComponent(filePath);
}
