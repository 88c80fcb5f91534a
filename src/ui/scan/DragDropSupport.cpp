#include "scan/DragDropSupport.h"

#include "scan/DragDropNotifier.h"
#include "util/AlertPresenter.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QPointer>
#include <QTimer>
#include <QUrl>

namespace DragDropSupport {

QList<QByteArray> localPaths(const QMimeData* mime)
{
    QList<QByteArray> paths;
    if (!mime || !mime->hasUrls())
        return paths;
    // Read the URI list itself: its percent escapes are the name's bytes, so a name that is
    // not valid UTF-8 survives (QUrl::toLocalFile would turn such bytes into U+FFFD).
    const QByteArray list = mime->data(QStringLiteral("text/uri-list"));
    for (const QByteArray& rawLine : list.split('\n')) {
        const QByteArray line = rawLine.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        const QUrl url = QUrl::fromEncoded(line);
        if (!url.isLocalFile())
            continue;
        QByteArray encodedPath = line.mid(line.indexOf("//") + 2);
        encodedPath = encodedPath.mid(encodedPath.indexOf('/'));
        const QByteArray path = QByteArray::fromPercentEncoding(encodedPath);
        if (path.startsWith('/'))
            paths.append(path);
    }
    if (!paths.isEmpty() || !list.isEmpty())
        return paths;
    for (const QUrl& url : mime->urls()) {
        if (url.isLocalFile() && !url.toLocalFile().isEmpty())
            paths.append(QFile::encodeName(url.toLocalFile()));
    }
    return paths;
}

bool offersImage(const QMimeData* mime)
{
    if (!mime)
        return false;
    if (mime->hasImage())
        return true;
    const QStringList formats = mime->formats();
    return std::any_of(formats.begin(), formats.end(),
                       [](const QString& f) { return f.startsWith(QLatin1String("image/")); });
}

bool acceptDrag(QDragMoveEvent* event)
{
    if (!(event->possibleActions() & Qt::LinkAction) || localPaths(event->mimeData()).isEmpty()) {
        event->ignore();
        return false;
    }
    event->setDropAction(Qt::LinkAction);
    event->accept();
    return true;
}

bool performDragOperation(QDropEvent* event, const QString& logFormat, AlertPresenter* alerts,
                          QObject* context)
{
    const QMimeData* mime = event->mimeData();
    const bool image = offersImage(mime);
    const QList<QByteArray> paths = image ? QList<QByteArray>() : localPaths(mime);
    if (!image && paths.isEmpty()) {
        event->ignore();
        // After the drop has returned, so the drag source is not kept waiting by the alert.
        QPointer<QObject> guard(context);
        QTimer::singleShot(0, context, [alerts, guard] {
            if (guard && alerts)
                alerts->runModal(Alert{QStringLiteral("Paste Error"),
                                       QStringLiteral("Sorry, but the past operation failed")});
        });
        return false;
    }
    if (image) {
        event->ignore();
        return false;
    }
    quillonLog(logFormat.arg(PathUtils::toDisplay(paths.first())));
    event->setDropAction(Qt::LinkAction);
    event->accept();
    DragDropNotifier::instance()->postFileDragDrop(paths);
    return true;
}

} // namespace DragDropSupport
