#pragma once

#include "platform/FileViewer.h"

#include <QDBusConnection>
#include <QObject>
#include <memory>

// Shows items through the desktop's file manager (org.freedesktop.FileManager1.ShowItems on the
// session bus), which opens their folders with the items selected. The call is asynchronous
// with a short timeout, so the window never waits on the bus; when there is no bus, no file
// manager answers or the call fails, the fallback viewer (xdg-open of the folder) is used.
class DBusFileViewer : public QObject, public FileViewer
{
    Q_OBJECT
public:
    static constexpr int kTimeoutMs = 2000;

    explicit DBusFileViewer(QObject* parent = nullptr);
    DBusFileViewer(const QDBusConnection& connection, std::unique_ptr<FileViewer> fallback,
                   QObject* parent = nullptr);

    // True when the request was sent (or handed to the fallback, which started).
    bool showItems(const QList<QByteArray>& paths) override;
    // When the file manager fails later and the fallback cannot start either, onFailure runs.
    bool showItemsReportingFailure(const QList<QByteArray>& paths, std::function<void()> onFailure) override;

    // file:// URIs made from the paths' bytes, so names that are not UTF-8 reach the file manager.
    static QStringList itemUris(const QList<QByteArray>& paths);

Q_SIGNALS:
    // Once per request: whether the file manager took it (false: the fallback was used).
    void requestFinished(bool shownByFileManager);

private:
    bool fallBack(const QList<QByteArray>& paths, const QString& reason);

    QDBusConnection m_connection;
    std::unique_ptr<FileViewer> m_fallback;
};
