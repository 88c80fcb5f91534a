#include "widgets/GradientBox.h"

#include "widgets/DrawnImages.h"

#include <QPainter>

GradientBox::GradientBox(QWidget* parent) : QWidget(parent)
{
    setAttribute(Qt::WA_OpaquePaintEvent, false);
}

void GradientBox::setGradientImageName(const QString& name)
{
    setGradientImageName(name, name, name);
}

void GradientBox::setGradientImageName(const QString& name, bool repeatVertically)
{
    Q_UNUSED(repeatVertically);
    m_isRepeatVertically = true;
    setGradientImageName(name, name, name);
}

void GradientBox::setGradientImageName(const QString& start, const QString& middle, const QString& last)
{
    m_bgImage_St = start;
    m_bgImage = middle;
    m_bgImage_En = last;
    update();
}

void GradientBox::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    DrawnImages::drawThreePart(painter, rect(), m_bgImage_St, m_bgImage, m_bgImage_En, m_isRepeatVertically);
}
