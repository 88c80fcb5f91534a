#include "libraries/LibraryStatement.h"

#include <QStringDecoder>

namespace LibrarySql {

TextRead readText(sqlite3_stmt* stmt, int column, QString& out, QByteArray* raw)
{
    out.clear();
    if (sqlite3_column_type(stmt, column) == SQLITE_NULL)
        return TextRead::Null;
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
    const int length = sqlite3_column_bytes(stmt, column);
    const QByteArrayView view(bytes, length);
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(view);
    if (decoder.hasError())
        return TextRead::Invalid;
    out = std::move(text);
    if (raw)
        *raw = view.toByteArray();
    return TextRead::Ok;
}

QString unreadableColumn(sqlite3_stmt* stmt, int column)
{
    return QStringLiteral("column %1 is not valid UTF-8 text")
        .arg(QString::fromUtf8(sqlite3_column_name(stmt, column)));
}

namespace {

QByteArray quotedTable(const QString& table)
{
    QString quoted = table;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return '"' + quoted.toUtf8() + '"';
}

} // namespace

QByteArray withTable(const char* before, const QString& table, const char* after)
{
    return QByteArray(before) + quotedTable(table) + QByteArray(after);
}

} // namespace LibrarySql
