#include "review/FileIcons.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QStyle>

namespace {
QMimeType mimeOf(const QByteArray& path)
{
    static const QMimeDatabase db;
    return db.mimeTypeForFile(QFile::decodeName(path), QMimeDatabase::MatchExtension);
}
} // namespace

QIcon FileIcons::iconForFile(const QByteArray& path)
{
    // One icon per kind; the theme lookup is the slow part.
    static QHash<QString, QIcon> cache;
    const QMimeType mime = mimeOf(path);
    auto it = cache.find(mime.name());
    if (it != cache.end())
        return *it;
    QIcon icon = QIcon::fromTheme(mime.iconName(), QIcon::fromTheme(mime.genericIconName()));
    if (icon.isNull())
        icon = QApplication::style()->standardIcon(QStyle::SP_FileIcon);
    cache.insert(mime.name(), icon);
    return icon;
}

QString FileIcons::kindOfFile(const QByteArray& path)
{
    const QMimeType mime = mimeOf(path);
    return mime.isDefault() ? QString() : mime.comment();
}
