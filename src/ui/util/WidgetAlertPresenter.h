#pragma once

#include "util/AlertPresenter.h"

#include <QPointer>
#include <QWidget>

// Shows alerts as message boxes over a window. runModal may be called from any thread: from a
// worker it hands the alert to the GUI thread and waits there for the user's answer. The GUI
// thread must not be waiting for that worker at the same time.
class WidgetAlertPresenter : public AlertPresenter
{
public:
    explicit WidgetAlertPresenter(QWidget* window = nullptr);

    // The window the alerts are shown over (may be changed; may be null).
    void setWindow(QWidget* window);
    QWidget* window() const;

    int runModal(const Alert& alert) override;

private:
    int showOnGuiThread(const Alert& alert);

    QPointer<QWidget> m_window;
};
