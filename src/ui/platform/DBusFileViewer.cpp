#include "platform/DBusFileViewer.h"

#include "platform/Platform.h"
#include "util/Log.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

namespace {
const QString kService = QStringLiteral("org.freedesktop.FileManager1");
const QString kObjectPath = QStringLiteral("/org/freedesktop/FileManager1");
const QString kInterface = QStringLiteral("org.freedesktop.FileManager1");
} // namespace

DBusFileViewer::DBusFileViewer(QObject* parent)
    : DBusFileViewer(QDBusConnection::sessionBus(), std::make_unique<XdgOpenFileViewer>(), parent)
{}

DBusFileViewer::DBusFileViewer(const QDBusConnection& connection, std::unique_ptr<FileViewer> fallback,
                               QObject* parent)
    : QObject(parent), m_connection(connection), m_fallback(std::move(fallback))
{}

QStringList DBusFileViewer::itemUris(const QList<QByteArray>& paths)
{
    QStringList uris;
    for (const QByteArray& path : paths) {
        if (!path.isEmpty())
            uris.append(Platform::fileUriForPath(Platform::absolutePath(path)));
    }
    return uris;
}

bool DBusFileViewer::fallBack(const QList<QByteArray>& paths, const QString& reason)
{
    quillonLog(QStringLiteral("File manager not reached (%1); opening the folder instead").arg(reason));
    const bool started = m_fallback && m_fallback->showItems(paths);
    Q_EMIT requestFinished(false);
    return started;
}

bool DBusFileViewer::showItems(const QList<QByteArray>& paths)
{
    return showItemsReportingFailure(paths, {});
}

bool DBusFileViewer::showItemsReportingFailure(const QList<QByteArray>& paths,
                                               std::function<void()> onFailure)
{
    const QStringList uris = itemUris(paths);
    if (uris.isEmpty()) {
        if (onFailure)
            onFailure();
        return false;
    }
    // No question whether the service is registered: the call itself tells.
    if (!m_connection.isConnected()) {
        const bool started = fallBack(paths, QStringLiteral("no session bus"));
        if (!started && onFailure)
            onFailure();
        return started;
    }

    QDBusMessage call =
        QDBusMessage::createMethodCall(kService, kObjectPath, kInterface, QStringLiteral("ShowItems"));
    call << uris << QString();
    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call, kTimeoutMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, paths, onFailure](QDBusPendingCallWatcher* w) {
                w->deleteLater();
                if (w->isError()) {
                    if (!fallBack(paths, w->error().message()) && onFailure)
                        onFailure();
                    return;
                }
                Q_EMIT requestFinished(true);
            });
    return true;
}
