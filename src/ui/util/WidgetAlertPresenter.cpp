#include "util/WidgetAlertPresenter.h"

#include "util/Log.h"

#include <QApplication>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QThread>

namespace {

bool isCancelTitle(const QString& title)
{
    QString plain = title;
    plain.remove(QLatin1Char('&'));
    return plain.compare(QLatin1String("Cancel"), Qt::CaseInsensitive) == 0;
}

} // namespace

WidgetAlertPresenter::WidgetAlertPresenter(QWidget* window) : m_window(window) {}

void WidgetAlertPresenter::setWindow(QWidget* window)
{
    m_window = window;
}

QWidget* WidgetAlertPresenter::window() const
{
    return m_window;
}

int WidgetAlertPresenter::runModal(const Alert& alert)
{
    QCoreApplication* app = QCoreApplication::instance();
    if (!qobject_cast<QApplication*>(app)) {
        quillonLog(
            QStringLiteral("Alert without a window: %1 %2").arg(alert.messageText, alert.informativeText));
        return 0;
    }
    if (QThread::currentThread() == app->thread())
        return showOnGuiThread(alert);

    int answer = 0;
    QMetaObject::invokeMethod(
        app, [this, &alert, &answer] { answer = showOnGuiThread(alert); }, Qt::BlockingQueuedConnection);
    return answer;
}

int WidgetAlertPresenter::showOnGuiThread(const Alert& alert)
{
    QStringList titles = alert.buttons;
    if (titles.isEmpty())
        titles << QStringLiteral("OK");

    QMessageBox box(m_window ? m_window->window() : nullptr);
    box.setWindowTitle(QGuiApplication::applicationDisplayName());
    const QIcon appIcon = QGuiApplication::windowIcon();
    if (!appIcon.isNull())
        box.setIconPixmap(appIcon.pixmap(64, 64));
    else
        box.setIcon(QMessageBox::Information);
    // Messages hold paths and names: never read them as markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(alert.messageText);
    box.setInformativeText(alert.informativeText);
    if (auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_label")))
        label->setWordWrap(true);
    if (auto* label = box.findChild<QLabel*>(QStringLiteral("qt_msgbox_informativelabel")))
        label->setTextFormat(Qt::PlainText);

    QList<QAbstractButton*> buttons;
    QAbstractButton* cancel = nullptr;
    for (qsizetype i = 0; i < titles.size(); ++i) {
        // The first button is the default; the others sit beside it in their order, a
        // "Cancel" where the platform puts cancelling buttons.
        const bool isCancel = i > 0 && isCancelTitle(titles[i]);
        QPushButton* button =
            box.addButton(titles[i], isCancel ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
        buttons << button;
        if (isCancel && !cancel)
            cancel = button;
    }
    box.setDefaultButton(qobject_cast<QPushButton*>(buttons.first()));
    if (cancel)
        box.setEscapeButton(cancel);
    else if (buttons.size() == 1)
        box.setEscapeButton(buttons.first());

    box.exec();
    const qsizetype index = buttons.indexOf(box.clickedButton());
    if (index >= 0)
        return int(index);
    // Closed without a button (only possible through Escape): the cancelling answer.
    return cancel ? int(buttons.indexOf(cancel)) : 0;
}
