#pragma once

#include <QTableView>

// A table whose rows alternate white and light grey (246). On a dark palette the platform's
// own colours are kept, so the rows stay readable.
class CustomTableView : public QTableView
{
    Q_OBJECT
public:
    explicit CustomTableView(QWidget* parent = nullptr);

    // The two row colours for a table drawn with palette: white and 246 on a light base, else
    // the palette's own base and alternate base.
    static QPair<QColor, QColor> controlAlternatingRowBackgroundColors(const QPalette& palette);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyRowColors();
    bool m_applying = false;
};
