#include "scan/DragDropImageView.h"

#include "scan/DragDropSupport.h"

#include <QDragEnterEvent>

DragDropImageView::DragDropImageView(QWidget* parent) : QLabel(parent)
{
    setAcceptDrops(true);
    setAlignment(Qt::AlignCenter);
}

void DragDropImageView::dragEnterEvent(QDragEnterEvent* event)
{
    Q_EMIT dragHoverChanged(DragDropSupport::acceptDrag(event));
}

void DragDropImageView::dragMoveEvent(QDragMoveEvent* event)
{
    DragDropSupport::acceptDrag(event);
}

void DragDropImageView::dragLeaveEvent(QDragLeaveEvent* event)
{
    QLabel::dragLeaveEvent(event);
    Q_EMIT dragHoverChanged(false);
}

void DragDropImageView::dropEvent(QDropEvent* event)
{
    DragDropSupport::performDragOperation(event, QStringLiteral("drag drop (imgview) path = %1"), m_alerts,
                                          this);
    Q_EMIT dragHoverChanged(false);
    update();
}
