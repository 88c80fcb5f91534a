#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

class AlertPresenter;
class QDragMoveEvent;
class QDropEvent;
class QMimeData;
class QObject;

// What both drop targets do with a drag of file names.
namespace DragDropSupport {

// The local file paths a drag carries, as file-system bytes, in the drag's order.
QList<QByteArray> localPaths(const QMimeData* mime);

// Whether the drag offers an image, which wins over file names (and is refused).
bool offersImage(const QMimeData* mime);

// Entering or moving over a target: accepted only for file names from a source that lets
// the items be referenced where they are (the link action); a copy-only source is refused.
// Returns whether the drag was accepted.
bool acceptDrag(QDragMoveEvent* event);

// The drop itself: posts the file names through DragDropNotifier and logs the first one
// with logFormat ("... = %1"). A drop without readable data brings up the "Paste Error"
// alert (shown once the drop has finished, through alerts, in context's lifetime);
// an image is refused silently. Returns whether the drop was taken.
bool performDragOperation(QDropEvent* event, const QString& logFormat, AlertPresenter* alerts,
                          QObject* context);

} // namespace DragDropSupport
