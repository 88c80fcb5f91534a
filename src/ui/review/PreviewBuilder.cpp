#include "review/PreviewBuilder.h"

#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QMimeDatabase>
#include <QPainter>
#include <QPdfDocument>
#include <QStringDecoder>

namespace {

bool readImage(const QString& path, const QSize& size, QImage& out)
{
    QImageReader reader(path);
    reader.setAutoTransform(true);
    if (!reader.canRead())
        return false;
    // Decoded straight at the pane's size: a 50-megapixel photo never sits in memory whole.
    QSize full = reader.size();
    if (full.isValid() && (full.width() > size.width() || full.height() > size.height())) {
        // The size is before rotation; a quarter turn swaps the sides of the box it must fit.
        const bool turned = reader.transformation() & QImageIOHandler::TransformationRotate90;
        const QSize box = turned ? size.transposed() : size;
        reader.setScaledSize(full.scaled(box, Qt::KeepAspectRatio));
    }
    return reader.read(&out);
}

bool readPdf(const QString& path, const QSize& size, QImage& out)
{
    QPdfDocument document;
    if (document.load(path) != QPdfDocument::Error::None || document.pageCount() < 1)
        return false;
    const QSize page = document.pagePointSize(0).toSize().scaled(size, Qt::KeepAspectRatio);
    const QImage rendered = document.render(0, page.isEmpty() ? size : page);
    if (rendered.isNull())
        return false;
    // Pages render on a transparent ground; paper is white.
    out = QImage(rendered.size(), QImage::Format_RGB32);
    out.fill(Qt::white);
    QPainter(&out).drawImage(0, 0, rendered);
    return true;
}

bool readText(const QString& path, QString& out)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray bytes = file.read(PreviewBuilder::kTextBytes);
    // A NUL byte says binary whatever the name claims.
    if (bytes.contains('\0'))
        return false;
    QStringDecoder decoder(QStringDecoder::Utf8);
    out = decoder.decode(bytes);
    return true;
}

} // namespace

PreviewContent PreviewBuilder::build(const QByteArray& path, const QSize& size, quint64 generation)
{
    PreviewContent content;
    content.path = path;
    content.generation = generation;
    const QString name = QFile::decodeName(path);
    const QFileInfo info(name);
    if (!info.exists()) {
        content.kind = PreviewContent::Kind::Missing;
        content.message = QObject::tr("This file is no longer there.");
        return content;
    }
    if (info.isFile()) {
        static const QMimeDatabase db; // thread-safe
        const QMimeType mime = db.mimeTypeForFile(info);
        if (mime.inherits(QStringLiteral("application/pdf"))) {
            if (readPdf(name, size, content.image))
                content.kind = PreviewContent::Kind::Image;
        } else if (mime.name().startsWith(QLatin1String("image/"))) {
            if (readImage(name, size, content.image))
                content.kind = PreviewContent::Kind::Image;
        } else if (mime.inherits(QStringLiteral("text/plain"))) {
            if (readText(name, content.text))
                content.kind = PreviewContent::Kind::Text;
        }
    }
    return content;
}
