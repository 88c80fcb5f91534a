#include "widgets/CustomScrollView.h"

CustomScrollView::CustomScrollView(QWidget* parent) : QScrollArea(parent)
{
    setFrameShape(QFrame::NoFrame);
    QPalette flat = viewport()->palette();
    flat.setColor(QPalette::Window, QColor(241, 241, 241));
    viewport()->setPalette(flat);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setAutoFillBackground(true);
}
