#pragma once

#include <QFile>
#include <QString>

namespace TestSupport {

// The text after "key=" in the settings file on disk; null when the file lacks the key. Read
// from the bytes, because QSettings objects of one process share changes not yet written.
inline QString valueOnDisk(const QString& fileName, const QString& key)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray prefix = key.toUtf8() + '=';
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(prefix))
            return QString::fromUtf8(line.mid(prefix.size()).trimmed());
    }
    return {};
}

} // namespace TestSupport
