#include "scan/ScanListTableView.h"

#include "scan/DragDropSupport.h"

#include <QDragEnterEvent>
#include <QHeaderView>
#include <QPainter>

ScanListTableView::ScanListTableView(QWidget* parent) : QTableView(parent)
{
    setAcceptDrops(true);
    viewport()->setAcceptDrops(true);
    setDragDropMode(QAbstractItemView::DropOnly);
    setDropIndicatorShown(false);
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setShowGrid(false);
    setAlternatingRowColors(true);
    setWordWrap(false);
    setTextElideMode(Qt::ElideMiddle);
    setMouseTracking(true);
    setContextMenuPolicy(Qt::CustomContextMenu);
    verticalHeader()->hide();
    verticalHeader()->setDefaultSectionSize(30);
    horizontalHeader()->hide();
    setIconSize(QSize(20, 20));
}

void ScanListTableView::setPlaceholderText(const QString& text)
{
    m_placeholder = text;
    viewport()->update();
}

void ScanListTableView::paintEvent(QPaintEvent* event)
{
    QTableView::paintEvent(event);
    if (!model() || model()->rowCount() > 0 || m_placeholder.isEmpty())
        return;
    QPainter painter(viewport());
    QColor c = palette().color(QPalette::PlaceholderText);
    painter.setPen(c);
    painter.drawText(viewport()->rect().adjusted(24, 0, -24, 0), Qt::AlignCenter | Qt::TextWordWrap,
                     m_placeholder);
}

void ScanListTableView::dragEnterEvent(QDragEnterEvent* event)
{
    DragDropSupport::acceptDrag(event);
}

void ScanListTableView::dragMoveEvent(QDragMoveEvent* event)
{
    DragDropSupport::acceptDrag(event);
}

void ScanListTableView::dropEvent(QDropEvent* event)
{
    DragDropSupport::performDragOperation(event, QStringLiteral("drag drop path = %1"), m_alerts, this);
}
