// Build-time tool: renders an SVG into a square PNG of the given size.
// Usage: render_icon INPUT.svg SIZE OUTPUT.png

#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>

int main(int argc, char* argv[])
{
    // Raster painting only: no application object, so no display and no runtime folder needed.
    if (argc != 4) {
        std::fputs("usage: render_icon INPUT.svg SIZE OUTPUT.png\n", stderr);
        return 2;
    }
    bool ok = false;
    const int size = QByteArray(argv[2]).toInt(&ok);
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    if (!ok || size <= 0 || !renderer.isValid()) {
        std::fprintf(stderr, "render_icon: cannot render %s at size %s\n", argv[1], argv[2]);
        return 1;
    }
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter, QRectF(0, 0, size, size));
    }
    if (!image.save(QString::fromLocal8Bit(argv[3]), "PNG")) {
        std::fprintf(stderr, "render_icon: cannot write %s\n", argv[3]);
        return 1;
    }
    return 0;
}
