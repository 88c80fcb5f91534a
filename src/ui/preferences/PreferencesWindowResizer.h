#pragma once

#include <QObject>
#include <QRect>
#include <QSize>

class QMainWindow;
class QPropertyAnimation;
class QToolBar;

// Sizes a preferences window to its pane: the first placement near the top of the screen and
// the animated switches that keep the top edge and the horizontal centre. Between switches the
// window's size is fixed, so only the panes decide it.
class PreferencesWindowResizer : public QObject
{
    Q_OBJECT
public:
    // Both are not owned; the resizer is a child of the window.
    PreferencesWindowResizer(QMainWindow* window, QToolBar* toolbar);

    // The size a pane's view asks for: its own size once resized, else its size hints.
    static QSize viewSize(QWidget* view);

    // Gives the content the size; animated when duration (seconds) is above zero and the window shows.
    void resizeForContentSize(const QSize& size, float duration);
    // Centred near the top of the window's screen.
    void placeForContentSize(const QSize& size);

private:
    int toolbarHeight() const;
    QRect contentRect() const;
    QRect frameRectForContentRect(const QRect& content) const;
    void freeSize();
    void fixSize();

    QMainWindow* m_window;
    QToolBar* m_toolbar;
    QPropertyAnimation* m_animation;
};
