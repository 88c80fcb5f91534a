#include <QApplication>

#include "scan/DragDropBox.h"
#include "scan/DragDropImageView.h"
#include "scan/DragDropNotifier.h"
#include "scan/DragDropSupport.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"

#include <QDragEnterEvent>
#include <QImage>
#include <QMimeData>
#include <QSignalSpy>

Q_DECLARE_METATYPE(QList<QByteArray>)

namespace {

// Drags onto the target and drops there, as the desktop does; returns whether the drop was taken.
bool drop(QWidget* target, const QByteArray& uriList, const QImage& image = {},
          Qt::DropActions actions = Qt::CopyAction | Qt::LinkAction)
{
    QMimeData mime;
    mime.setData(QStringLiteral("text/uri-list"), uriList);
    if (!image.isNull())
        mime.setImageData(image);
    QDragEnterEvent enter(QPoint(10, 10), actions, &mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    QDropEvent event(QPointF(10, 10), actions, &mime, Qt::LeftButton, Qt::NoModifier);
    // The source must be asked to link, leaving the items where they are.
    if (!enter.isAccepted() || enter.dropAction() != Qt::LinkAction)
        return false;
    QApplication::sendEvent(target, &event);
    return event.isAccepted();
}

} // namespace

class TestDropTargets : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The box and the picture behave alike apart from the log.
    void dropPostsPaths()
    {
        ScriptedAlertPresenter alerts;
        DragDropBox dropBox;
        DragDropImageView imageView;
        dropBox.setAlertPresenter(&alerts);
        imageView.setAlertPresenter(&alerts);
        for (const auto& [target, logPrefix] : {std::pair<QWidget*, QString>{&dropBox, "drag drop path = "},
                                                {&imageView, "drag drop (imgview) path = "}}) {
            alerts.clear();
            QSignalSpy posted(DragDropNotifier::instance(), &DragDropNotifier::fileDragDrop);
            // One notification holding all items in the drag's order; only the first is logged.
            QTest::ignoreMessage(QtInfoMsg, qPrintable(logPrefix + QStringLiteral("/srv/b folder")));
            QVERIFY(drop(target,
                         "file:///srv/b%20folder\r\nfile:///srv/a\r\nfile:///srv/caf%E9.photoslibrary\r\n"));
            QCOMPARE(posted.count(), 1);
            QCOMPARE(posted.at(0).at(0).value<QList<QByteArray>>(),
                     (QList<QByteArray>{"/srv/b folder", "/srv/a", "/srv/caf\xe9.photoslibrary"}));

            // An image wins over file names and is refused without a word; so is a drag that
            // cannot link, and non-file URLs.
            QVERIFY(!drop(target, "file:///srv/a\r\n", QImage(4, 4, QImage::Format_RGB32)));
            QVERIFY(!drop(target, "file:///srv/a\r\n", {}, Qt::CopyAction | Qt::MoveAction));
            QVERIFY(!drop(target, "https://example.org/x\r\n"));
            QTest::qWait(10);
            QVERIFY(alerts.alerts().isEmpty());
            QCOMPARE(posted.count(), 1);

            // A drop without file names fails with the paste alert.
            QMimeData web;
            web.setData(QStringLiteral("text/uri-list"), "https://example.org/x\r\n");
            QDropEvent event(QPointF(10, 10), Qt::LinkAction, &web, Qt::LeftButton, Qt::NoModifier);
            QVERIFY(!DragDropSupport::performDragOperation(&event, logPrefix + "%1", &alerts, target));
            QTRY_COMPARE(alerts.alerts(),
                         (QList<Alert>{{QStringLiteral("Paste Error"),
                                        QStringLiteral("Sorry, but the past operation failed")}}));
        }
    }
};

QUILLON_GUI_TEST_MAIN(TestDropTargets)
#include "tst_dropTargets.moc"
