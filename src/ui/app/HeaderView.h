#pragma once

#include "widgets/GradientBox.h"

class QLabel;

// The band at the top of the main window, drawn from the header images: the application's icon and name on
// the left, the status of the current screen ("Select folder to scan", "Scan Completed", ...) on the right.
class HeaderView : public GradientBox
{
    Q_OBJECT
public:
    explicit HeaderView(QWidget* parent = nullptr);

    void setStatusText(const QString& text);
    QString statusText() const;
    QLabel* statusLabel() const { return m_status; }

    // The application icon drawn at the given size (device-independent pixels).
    static QPixmap applicationPixmap(int size, qreal devicePixelRatio = 1.0);

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyFonts();

    QLabel* m_icon = nullptr;
    QLabel* m_name = nullptr;
    QLabel* m_tagline = nullptr;
    QLabel* m_status = nullptr;
};
