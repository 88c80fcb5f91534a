#include "preferences/PreferencesWindowResizer.h"

#include "preferences/PreferencesWindowGeometry.h"

#include <QGuiApplication>
#include <QMainWindow>
#include <QPropertyAnimation>
#include <QScreen>
#include <QToolBar>
#include <cmath>

PreferencesWindowResizer::PreferencesWindowResizer(QMainWindow* window, QToolBar* toolbar)
    : QObject(window), m_window(window), m_toolbar(toolbar),
      m_animation(new QPropertyAnimation(window, "geometry", this))
{
    m_animation->setEasingCurve(QEasingCurve::InOutQuad);
    connect(m_animation, &QPropertyAnimation::finished, this, &PreferencesWindowResizer::fixSize);
}

QSize PreferencesWindowResizer::viewSize(QWidget* view)
{
    if (!view)
        return QSize(0, 0);
    if (view->testAttribute(Qt::WA_Resized))
        return view->size();
    return view->sizeHint().expandedTo(view->minimumSizeHint()).expandedTo(view->minimumSize());
}

void PreferencesWindowResizer::resizeForContentSize(const QSize& size, float duration)
{
    const QRect content = PreferencesWindowGeometry::contentRectKeepingTopAndCentre(contentRect(), size);
    const QRect frame = frameRectForContentRect(content);
    m_animation->stop();
    freeSize();
    if (duration > 0 && m_window->isVisible()) {
        m_animation->setDuration(int(std::lround(double(duration) * 1000.0)));
        m_animation->setStartValue(m_window->geometry());
        m_animation->setEndValue(frame);
        m_animation->start();
    } else {
        m_window->setGeometry(frame);
        fixSize();
    }
}

void PreferencesWindowResizer::placeForContentSize(const QSize& size)
{
    QScreen* display = m_window->screen() ? m_window->screen() : QGuiApplication::primaryScreen();
    const QRect available = display ? display->availableGeometry() : QRect(0, 0, 1280, 800);
    QRect frame(0, 0, size.width(), size.height() + toolbarHeight());
    frame.moveCenter(available.center());
    frame.moveTop(available.top() + std::max(0, (available.height() - frame.height()) / 4));
    freeSize();
    m_window->setGeometry(frame);
    fixSize();
}

int PreferencesWindowResizer::toolbarHeight() const
{
    return m_toolbar->isHidden() ? 0 : m_toolbar->sizeHint().height();
}

QRect PreferencesWindowResizer::contentRect() const
{
    const QRect frame = m_window->geometry();
    const int top = toolbarHeight();
    return QRect(frame.x(), frame.y() + top, frame.width(), std::max(0, frame.height() - top));
}

QRect PreferencesWindowResizer::frameRectForContentRect(const QRect& content) const
{
    const int top = toolbarHeight();
    return QRect(content.x(), content.y() - top, content.width(), content.height() + top);
}

// Free while the size changes; fixed again once the window has its new size.
void PreferencesWindowResizer::freeSize()
{
    m_window->setMinimumSize(0, 0);
    m_window->setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
}

void PreferencesWindowResizer::fixSize()
{
    m_window->setFixedSize(m_window->size());
}
