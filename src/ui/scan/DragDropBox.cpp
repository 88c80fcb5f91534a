#include "scan/DragDropBox.h"

#include "scan/DragDropSupport.h"

#include <QDragEnterEvent>

DragDropBox::DragDropBox(QWidget* parent) : QFrame(parent)
{
    setAcceptDrops(true);
    setFrameShape(QFrame::NoFrame);
}

void DragDropBox::dragEnterEvent(QDragEnterEvent* event)
{
    Q_EMIT dragHoverChanged(DragDropSupport::acceptDrag(event));
}

void DragDropBox::dragMoveEvent(QDragMoveEvent* event)
{
    DragDropSupport::acceptDrag(event);
}

void DragDropBox::dragLeaveEvent(QDragLeaveEvent* event)
{
    QFrame::dragLeaveEvent(event);
    Q_EMIT dragHoverChanged(false);
}

void DragDropBox::dropEvent(QDropEvent* event)
{
    DragDropSupport::performDragOperation(event, QStringLiteral("drag drop path = %1"), m_alerts, this);
    Q_EMIT dragHoverChanged(false);
    update();
}
