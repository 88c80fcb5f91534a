#pragma once

#include <QByteArray>
#include <QIcon>
#include <QString>

// The desktop's icon and kind of a file, found by its name (the contents are not read), so
// that a table of thousands of rows stays quick. GUI thread only.
namespace FileIcons {
QIcon iconForFile(const QByteArray& path);
// The file's kind as the desktop names it ("PDF document"), empty when unknown.
QString kindOfFile(const QByteArray& path);
} // namespace FileIcons
