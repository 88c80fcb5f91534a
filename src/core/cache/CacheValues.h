#pragma once

#include <QByteArray>
#include <QString>
#include <sqlite3.h>

struct FileInfoNode;

// How values look in the cache: dates as "%f" prints them, sizes and digests as stored.
namespace CacheValues {

// The text "%f" prints: six decimals, locale-independent.
QByteArray sixDecimals(double value);
// The stored form of a date: the value "%f" prints, read back as a double.
double storedSeconds(double seconds);
// A stored date: exactly 0 reads back as now; anything else (NaN too) counts from 1970.
double dateFromStored(double seconds, double now);
// Stored sizes are read as doubles and converted to an unsigned 64-bit count.
qint64 sizeFromStored(double size);
// One or more 32-digit lower-case hexadecimal MD5 texts (a package's are concatenated).
bool isDigestText(const QByteArray& text);
// Whether a column holds exactly these bytes.
bool columnEquals(sqlite3_stmt* statement, int column, const QByteArray& bytes);
QByteArray columnBytes(sqlite3_stmt* statement, int column);
// The insert statement as the log shows it: the values printed into the SQL text.
QString insertStatementText(const FileInfoNode& node);

} // namespace CacheValues
