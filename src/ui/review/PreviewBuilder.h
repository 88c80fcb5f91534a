#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>

// What the preview pane shows for one file.
struct PreviewContent
{
    enum class Kind { Image, Text, Icon, Missing };
    Kind kind = Kind::Icon;
    QByteArray path;
    QImage image;    // Image: the picture or the PDF's first page, at most the asked size
    QString text;    // Text: the start of the file
    QString message; // Missing: why nothing can be shown
    quint64 generation = 0;
};

// Builds a preview without touching any widget, so it runs on a worker thread.
namespace PreviewBuilder {
// The most of a text file that is read for its preview.
constexpr qint64 kTextBytes = 16 * 1024;

PreviewContent build(const QByteArray& path, const QSize& size, quint64 generation = 0);
} // namespace PreviewBuilder
