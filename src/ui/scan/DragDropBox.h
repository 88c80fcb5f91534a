#pragma once

#include <QFrame>

class AlertPresenter;

// The scan view's drop area ("select folder" box): takes folders, files and photo libraries
// dragged from the file manager and posts them through DragDropNotifier.
class DragDropBox : public QFrame
{
    Q_OBJECT
public:
    explicit DragDropBox(QWidget* parent = nullptr);

    // Answers the "Paste Error" alert; not owned.
    void setAlertPresenter(AlertPresenter* alerts) { m_alerts = alerts; }

Q_SIGNALS:
    // A drag of file names is over the box (true) or has left or dropped (false).
    void dragHoverChanged(bool hovering);

protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    AlertPresenter* m_alerts = nullptr;
};
