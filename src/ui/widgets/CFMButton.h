#pragma once

#include "widgets/CFMButtonCell.h"

#include <QAbstractButton>

// A flat rounded button drawn from colours by its cell (the category buttons of the results).
class CFMButton : public QAbstractButton
{
    Q_OBJECT
public:
    explicit CFMButton(QWidget* parent = nullptr);
    explicit CFMButton(const QString& title, QWidget* parent = nullptr);

    // Forwards to the cell and redraws.
    void setButtonInsideColor(const QColor& inside, const QColor& disableInside, const QColor& enableText,
                              const QColor& disableText, const QColor& borderEn, const QColor& borderDis,
                              double roundedRadius, int fontSize, bool fontPropertyIsLight, bool isBlold,
                              double outerLineWidth);

    CFMButtonCell& cell() { return m_cell; }
    const CFMButtonCell& cell() const { return m_cell; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void init();

    CFMButtonCell m_cell;
};
