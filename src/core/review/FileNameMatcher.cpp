#include "review/FileNameMatcher.h"

#include "model/FileInfoNode.h"

#include <QLatin1String>
#include <algorithm>

namespace {

bool isAscii(QByteArrayView bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return uchar(c) < 0x80; });
}

} // namespace

FileNameMatcher::FileNameMatcher(const QString& needle)
    : m_needle(needle), m_latin1(needle.toLatin1()),
      m_ascii(std::all_of(needle.begin(), needle.end(), [](QChar c) { return c.unicode() < 0x80; }))
{}

bool FileNameMatcher::operator()(const FileInfoNode* node) const
{
    const QByteArrayView name = fileNameOf(node);
    if (m_ascii && isAscii(name))
        return QLatin1String(name.data(), name.size()).contains(QLatin1String(m_latin1), Qt::CaseInsensitive);
    return QString::fromUtf8(name).contains(m_needle, Qt::CaseInsensitive);
}

QByteArrayView FileNameMatcher::fileNameOf(const FileInfoNode* node)
{
    const QByteArray& path = node->filePath;
    qsizetype end = path.size();
    while (end > 1 && path.at(end - 1) == '/')
        --end;
    const qsizetype start = path.lastIndexOf('/', end - 1) + 1;
    return QByteArrayView(path.constData() + start, end - start);
}
