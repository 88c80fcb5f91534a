#pragma once

#include <QByteArray>
#include <QByteArrayList>

// The mount points of the running process. A bind mount shares its device number with the
// volume it comes from, so only the mount table tells where it begins.
namespace MountTable {

// The mount points listed in a /proc/<pid>/mountinfo text, with the octal escapes decoded.
QByteArrayList mountPoints(const QByteArray& mountinfo);

// The mount point that holds `path` (absolute, links resolved): the longest listed mount
// point that is the path itself or one of its folders; "/" when none is.
QByteArray mountPointOf(const QByteArray& path, const QByteArrayList& points);

// The same with /proc/self/mountinfo.
QByteArray mountPointOf(const QByteArray& path);

} // namespace MountTable
