#include "cache/CacheValues.h"

#include "model/FileInfoNode.h"
#include "util/PathUtils.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace CacheValues {

// The text "%f" prints: six decimals, locale-independent.
QByteArray sixDecimals(double value)
{
    char buffer[400]; // enough for the widest double in fixed notation
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
    if (result.ec != std::errc())
        return QByteArray::number(value, 'f', 6);
    return QByteArray(buffer, int(result.ptr - buffer));
}

// A stored date: exactly 0 reads back as now; anything else (NaN too) counts from 1970.
double dateFromStored(double seconds, double now)
{
    return seconds == 0 ? now : seconds;
}

// Stored sizes are read as doubles and converted to an unsigned 64-bit count.
qint64 sizeFromStored(double size)
{
    if (!(size > 0))
        return 0;
    if (size >= 18446744073709551616.0)
        return qint64(std::numeric_limits<quint64>::max());
    return qint64(quint64(size));
}

// A digest is one or more 32-digit lower-case hexadecimal MD5 texts (a package's digests are
// concatenated). Anything else in a row was not written by us and is not handed out.
bool isDigestText(const QByteArray& text)
{
    if (text.isEmpty() || text.size() % 32 != 0)
        return false;
    for (char c : text) {
        if (!((c >= '0' && c <= '9') || (c >= 'a' && c <= 'f')))
            return false;
    }
    return true;
}

// Whether a column holds exactly these bytes.
bool columnEquals(sqlite3_stmt* statement, int column, const QByteArray& bytes)
{
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    if (size != bytes.size() || size <= 0 || !data)
        return false;
    return std::memcmp(data, bytes.constData(), size_t(size)) == 0;
}

QByteArray columnBytes(sqlite3_stmt* statement, int column)
{
    const void* data = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    if (!data || size <= 0)
        return {};
    return QByteArray(static_cast<const char*>(data), size);
}

// The statement as the log shows it: the values printed into the SQL text.
QString insertStatementText(const FileInfoNode& node)
{
    QString path = PathUtils::toDisplay(node.filePath);
    path.replace(QLatin1Char('\''), QStringLiteral("''"));
    return QStringLiteral(
               "INSERT INTO hashtable (fileID,fileHash,fileCreationDate,fileModDate,filePath,fileSize) "
               "VALUES (?, '%1',%2,%3,'%4',%5)")
        .arg(QString::fromLatin1(node.md5), QString::fromLatin1(sixDecimals(node.createDate)),
             QString::fromLatin1(sixDecimals(node.modDate)), path, QString::number(node.fileSize));
}

double storedSeconds(double seconds)
{
    if (!std::isfinite(seconds))
        return seconds;
    const QByteArray text = sixDecimals(seconds);
    double value = 0;
    const auto result = std::from_chars(text.constData(), text.constData() + text.size(), value);
    if (result.ec != std::errc())
        return seconds;
    return value;
}

} // namespace CacheValues
