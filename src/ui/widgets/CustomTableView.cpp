#include "widgets/CustomTableView.h"

#include "widgets/ColorExtensions.h"

#include <QApplication>
#include <QEvent>

CustomTableView::CustomTableView(QWidget* parent) : QTableView(parent)
{
    setAlternatingRowColors(true);
    applyRowColors();
}

QPair<QColor, QColor> CustomTableView::controlAlternatingRowBackgroundColors(const QPalette& palette)
{
    if (!isLightColor(palette.color(QPalette::Base)))
        return {palette.color(QPalette::Base), palette.color(QPalette::AlternateBase)};
    return {QColor(255, 255, 255), QColor(246, 246, 246)};
}

void CustomTableView::changeEvent(QEvent* event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && !m_applying)
        applyRowColors();
}

void CustomTableView::applyRowColors()
{
    // Decided on the inherited palette, so a switch to a dark palette is followed.
    const QPalette inherited = parentWidget() ? parentWidget()->palette() : QApplication::palette(this);
    const auto [base, alternate] = controlAlternatingRowBackgroundColors(inherited);
    QPalette rows = palette();
    rows.setColor(QPalette::Base, base);
    rows.setColor(QPalette::AlternateBase, alternate);
    m_applying = true;
    setPalette(rows);
    m_applying = false;
}
