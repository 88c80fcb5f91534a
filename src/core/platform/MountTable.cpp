#include "platform/MountTable.h"

#include <QFile>

namespace {

// mountinfo writes space, tab, newline and backslash as \ooo.
QByteArray decodeOctalEscapes(const QByteArray& field)
{
    QByteArray out;
    out.reserve(field.size());
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] == '\\' && i + 3 < field.size()) {
            bool ok = false;
            const int value = field.mid(i + 1, 3).toInt(&ok, 8);
            if (ok && value < 256) {
                out.append(char(value));
                i += 3;
                continue;
            }
        }
        out.append(field[i]);
    }
    return out;
}

} // namespace

QByteArrayList MountTable::mountPoints(const QByteArray& mountinfo)
{
    QByteArrayList points;
    for (const QByteArray& line : mountinfo.split('\n')) {
        const QByteArrayList fields = line.split(' ');
        if (fields.size() > 4 && fields[4].startsWith('/'))
            points.append(decodeOctalEscapes(fields[4]));
    }
    return points;
}

QByteArray MountTable::mountPointOf(const QByteArray& path, const QByteArrayList& points)
{
    QByteArray best("/");
    for (const QByteArray& point : points) {
        const bool holds = point == "/" || path == point || path.startsWith(point + '/');
        if (holds && point.size() > best.size())
            best = point;
    }
    return best;
}

QByteArray MountTable::mountPointOf(const QByteArray& path)
{
    QFile file(QStringLiteral("/proc/self/mountinfo"));
    if (!file.open(QIODevice::ReadOnly))
        return QByteArrayLiteral("/");
    // A proc file reports no size: read it to the end.
    return mountPointOf(path, mountPoints(file.readAll()));
}
