#include "util/AlertPresenter.h"

#include "util/Log.h"

int ScriptedAlertPresenter::runModal(const Alert& alert)
{
    QMutexLocker lock(&m_mutex);
    m_alerts.append(alert);
    quillonLog(QStringLiteral("Alert: %1 %2").arg(alert.messageText, alert.informativeText));
    return m_answers.isEmpty() ? 0 : m_answers.takeFirst();
}

void ScriptedAlertPresenter::enqueueAnswer(int buttonIndex)
{
    QMutexLocker lock(&m_mutex);
    m_answers.append(buttonIndex);
}

QList<Alert> ScriptedAlertPresenter::alerts() const
{
    QMutexLocker lock(&m_mutex);
    return m_alerts;
}

void ScriptedAlertPresenter::clear()
{
    QMutexLocker lock(&m_mutex);
    m_alerts.clear();
    m_answers.clear();
}
