#pragma once

#include <QColor>
#include <QIcon>
#include <QPixmap>

// The few pictures of the scan screens, drawn rather than loaded so they stay sharp at any scale.
namespace ScanIcons {

// A folder with an arrow pointing into it: the picture of the drop area.
QPixmap dropFolder(int size, const QColor& color, qreal devicePixelRatio = 1.0);
// A plus sign for the add button.
QIcon plus(const QColor& color);
// A magnifier over a page, shown on the progress screen.
QPixmap magnifier(int size, const QColor& color, qreal devicePixelRatio = 1.0);

// A framed picture with hills and a sun: a photo library in the scan list.
QIcon photoLibrary();

} // namespace ScanIcons
