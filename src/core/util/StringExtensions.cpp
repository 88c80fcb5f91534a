#include "util/StringExtensions.h"

#include <QByteArray>
#include <QStringDecoder>
#include <QUrl>

namespace StringExtensions {

QString trim(const QString& text)
{
    return text.trimmed();
}

QString URLEncodedString(const QString& text)
{
    // toPercentEncoding keeps only the unreserved characters, which escapes the listed ones.
    return QString::fromLatin1(QUrl::toPercentEncoding(text));
}

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

QString URLDecodedString(const QString& text)
{
    if (!text.contains(QLatin1Char('%')))
        return text;
    const QByteArray in = text.toUtf8();
    QByteArray out;
    out.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        const char c = in.at(i);
        if (c != '%') {
            out.append(c);
            continue;
        }
        const int high = i + 2 < in.size() ? hexValue(in.at(i + 1)) : -1;
        const int low = i + 2 < in.size() ? hexValue(in.at(i + 2)) : -1;
        if (high < 0 || low < 0)
            return QString();
        out.append(char(high * 16 + low));
        i += 2;
    }
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString decoded = decoder.decode(out);
    if (decoder.hasError())
        return QString();
    return decoded;
}

} // namespace StringExtensions
