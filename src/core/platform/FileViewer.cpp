#include "platform/FileViewer.h"

#include "platform/Platform.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QByteArrayView>
#include <QProcess>

namespace {

bool startDetached(const QString& program, const QStringList& arguments)
{
    return QProcess::startDetached(program, arguments);
}

} // namespace

XdgOpenFileViewer::XdgOpenFileViewer() : m_launcher(startDetached) {}

XdgOpenFileViewer::XdgOpenFileViewer(Launcher launcher) : m_launcher(std::move(launcher)) {}

QString XdgOpenFileViewer::folderArgument(const QByteArray& folder)
{
    if (QByteArrayView(folder).isValidUtf8())
        return QString::fromUtf8(folder);
    return Platform::fileUriForPath(folder);
}

bool XdgOpenFileViewer::showItems(const QList<QByteArray>& paths)
{
    QList<QByteArray> absolute;
    for (const QByteArray& path : paths) {
        if (!path.isEmpty())
            absolute.append(Platform::absolutePath(path));
    }
    if (absolute.isEmpty())
        return false;

#ifdef Q_OS_MACOS
    QStringList arguments{QStringLiteral("-R")};
    for (const QByteArray& path : absolute)
        arguments.append(QString::fromUtf8(path));
    return m_launcher(QStringLiteral("open"), arguments);
#else
    // xdg-open cannot select an item, so each distinct containing folder is opened once.
    QList<QByteArray> folders;
    for (QByteArray path : absolute) {
        while (path.size() > 1 && path.endsWith('/'))
            path.chop(1);
        const QByteArray folder = PathUtils::removingLastComponents(path, 1);
        if (!folder.isEmpty() && !folders.contains(folder))
            folders.append(folder);
    }
    bool started = !folders.isEmpty();
    for (const QByteArray& folder : folders) {
        if (!m_launcher(QStringLiteral("xdg-open"), {folderArgument(folder)})) {
            quillonLog(QStringLiteral("Could not start xdg-open for %1").arg(PathUtils::toDisplay(folder)));
            started = false;
        }
    }
    return started;
#endif
}
