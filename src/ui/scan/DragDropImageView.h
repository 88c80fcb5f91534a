#pragma once

#include <QLabel>

class AlertPresenter;

// The picture inside the drop area; a drop on it is taken like a drop on the box.
class DragDropImageView : public QLabel
{
    Q_OBJECT
public:
    explicit DragDropImageView(QWidget* parent = nullptr);

    void setAlertPresenter(AlertPresenter* alerts) { m_alerts = alerts; }

Q_SIGNALS:
    void dragHoverChanged(bool hovering);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    AlertPresenter* m_alerts = nullptr;
};
