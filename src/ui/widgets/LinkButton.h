#pragma once

#include <QAbstractButton>
#include <QColor>

// An underlined text button with a pointing-hand cursor.
class LinkButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit LinkButton(QWidget* parent = nullptr);

    // Black, underlined, in the widget's font.
    void setTitle(const QString& title);
    // Blue (or color, when valid), underlined, at fontSize; bold takes the bold UI face.
    void setTitle(const QString& title, qreal fontSize, bool bold, const QColor& color = QColor());

    // The colour the title is drawn in, adjusted on dark backgrounds so it stays readable.
    QColor titleColor() const;

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QColor m_color{Qt::black};
    bool m_blueDefault = false;
};
