#pragma once

#include <QWidget>

// Draws the dashed rounded frame that marks a drop area: line width 3, dashes 10 on and 5 off
// from phase 1, corner radius 10, grey 167/255. A partial repaint (a strip lower than the
// view) leaves the frame alone; a full repaint draws it again.
class DDCustomView : public QWidget
{
    Q_OBJECT
public:
    explicit DDCustomView(QWidget* parent = nullptr);

    // While a drag hovers over the drop area the inside is tinted.
    void setHighlighted(bool highlighted);

    static QColor borderColor();

protected:
    void paintEvent(QPaintEvent* event) override;
    // Strokes the frame inside rect.
    void drawBorder(QPainter& painter, const QRect& rect);

private:
    bool m_highlighted = false;
};
