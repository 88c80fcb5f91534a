#pragma once

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

// A modal alert: message, informative text and buttons, the first button being the default.
struct Alert
{
    QString messageText;
    QString informativeText;
    QStringList buttons{QStringLiteral("OK")};

    bool operator==(const Alert&) const = default;
};

// Controllers ask the user through this interface, so a test answers alerts without a window.
// runModal may be called from a worker thread; the widget implementation hands the alert to
// the GUI thread and waits for the answer.
class AlertPresenter
{
public:
    virtual ~AlertPresenter() = default;
    // Shows the alert and returns the index of the chosen button (0 = the default button).
    virtual int runModal(const Alert& alert) = 0;
};

// Records every alert and answers from a queue of button indexes (0 once the queue is empty).
// Used by tests and by the command-line scanner. Thread-safe.
class ScriptedAlertPresenter : public AlertPresenter
{
public:
    int runModal(const Alert& alert) override;

    void enqueueAnswer(int buttonIndex);
    QList<Alert> alerts() const;
    void clear();

private:
    mutable QMutex m_mutex;
    QList<Alert> m_alerts;
    QList<int> m_answers;
};
