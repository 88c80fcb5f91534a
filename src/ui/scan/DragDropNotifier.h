#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

// The process-wide carrier of dropped file names: a drop target emits fileDragDrop with the
// dropped paths ("FileDragDropNotification" with its "paths"), and the scan view handles it.
class DragDropNotifier : public QObject
{
    Q_OBJECT
public:
    static inline const QString kFileDragDropNotification = QStringLiteral("FileDragDropNotification");
    static inline const QString kPathsKey = QStringLiteral("paths");

    static DragDropNotifier* instance();

    void postFileDragDrop(const QList<QByteArray>& paths) { Q_EMIT fileDragDrop(paths); }

Q_SIGNALS:
    // Absolute paths as file-system bytes, in the order the drag offered them.
    void fileDragDrop(const QList<QByteArray>& paths);

private:
    using QObject::QObject;
};
