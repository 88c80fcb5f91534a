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
#include <QUrl>
#include <memory>

Q_DECLARE_METATYPE(QList<QByteArray>)

namespace {

std::unique_ptr<QMimeData> fileDrag(const QByteArray& uriList)
{
    auto mime = std::make_unique<QMimeData>();
    mime->setData(QStringLiteral("text/uri-list"), uriList);
    return mime;
}

// Drags onto the target and drops there, as the desktop does; returns whether the drop was taken.
bool drop(QWidget* target, const QMimeData* mime)
{
    const Qt::DropActions actions = Qt::CopyAction | Qt::LinkAction;
    QDragEnterEvent enter(QPoint(10, 10), actions, mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent event(QPointF(10, 10), actions, mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
    return event.isAccepted();
}

} // namespace

class TestDropTargets : public QObject
{
    Q_OBJECT

    ScriptedAlertPresenter m_alerts;

private Q_SLOTS:
    void init() { m_alerts.clear(); }

    // The box and the picture behave alike apart from the log.
    void dropPostsPaths_data()
    {
        QTest::addColumn<bool>("box");
        QTest::addColumn<QString>("logPrefix");
        QTest::newRow("box") << true << "drag drop path = ";
        QTest::newRow("image view") << false << "drag drop (imgview) path = ";
    }
    void dropPostsPaths()
    {
        QFETCH(bool, box);
        QFETCH(QString, logPrefix);
        DragDropBox dropBox;
        DragDropImageView imageView;
        dropBox.setAlertPresenter(&m_alerts);
        imageView.setAlertPresenter(&m_alerts);
        QWidget* target = box ? static_cast<QWidget*>(&dropBox) : &imageView;
        QSignalSpy posted(DragDropNotifier::instance(), &DragDropNotifier::fileDragDrop);

        // One notification holding all items in the drag's order; only the first is logged.
        auto mime =
            fileDrag("file:///srv/b%20folder\r\nfile:///srv/a\r\nfile:///srv/caf%E9.photoslibrary\r\n");
        QTest::ignoreMessage(QtInfoMsg, (logPrefix + QStringLiteral("/srv/b folder")).toUtf8().constData());
        QVERIFY(drop(target, mime.get()));
        QCOMPARE(posted.count(), 1);
        QCOMPARE(posted.at(0).at(0).value<QList<QByteArray>>(),
                 (QList<QByteArray>{"/srv/b folder", "/srv/a", "/srv/caf\xe9.photoslibrary"}));

        // Non-file URLs are no file names: the drag is refused, a drop without any fails with the paste
        // alert.
        auto web = fileDrag("https://example.org/x\r\n");
        QVERIFY(!drop(target, web.get()));
        QDropEvent event(QPointF(10, 10), Qt::LinkAction, web.get(), Qt::LeftButton, Qt::NoModifier);
        QVERIFY(!DragDropSupport::performDragOperation(&event, QStringLiteral("drag drop path = %1"),
                                                       &m_alerts, target));
        QTRY_COMPARE(m_alerts.alerts(),
                     (QList<Alert>{{QStringLiteral("Paste Error"),
                                    QStringLiteral("Sorry, but the past operation failed")}}));

        // An image wins over file names and is refused without a word.
        m_alerts.clear();
        auto image = fileDrag("file:///srv/a\r\n");
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::red);
        image->setImageData(picture);
        QVERIFY(!drop(target, image.get()));
        QTest::qWait(10);
        QVERIFY(m_alerts.alerts().isEmpty());
        QCOMPARE(posted.count(), 1);
    }

    // Also the form other Qt applications and file dialogs put on the clipboard.
    void localPathsFromQtUrls()
    {
        QMimeData mime;
        mime.setUrls(
            {QUrl::fromLocalFile(QStringLiteral("/home/u/Bilder/été")), QUrl(QStringLiteral("http://x/y"))});
        QCOMPARE(DragDropSupport::localPaths(&mime), QList<QByteArray>{QByteArray("/home/u/Bilder/été")});
    }

    void dragEnterNeedsLinkAndFiles_data()
    {
        QTest::addColumn<int>("actions");
        QTest::addColumn<QByteArray>("uris");
        QTest::addColumn<bool>("accepted");
        const int all = int(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction);
        QTest::newRow("file manager") << all << QByteArray("file:///srv/a\r\n") << true;
        QTest::newRow("link only") << int(Qt::LinkAction) << QByteArray("file:///srv/a\r\n") << true;
        QTest::newRow("copy and move")
            << int(Qt::CopyAction | Qt::MoveAction) << QByteArray("file:///srv/a\r\n") << false;
        QTest::newRow("web link") << all << QByteArray("https://example.org/\r\n") << false;
    }
    void dragEnterNeedsLinkAndFiles()
    {
        QFETCH(int, actions);
        QFETCH(QByteArray, uris);
        QFETCH(bool, accepted);
        DragDropBox box;
        QSignalSpy hover(&box, &DragDropBox::dragHoverChanged);
        auto mime = fileDrag(uris);
        QDragEnterEvent enter(QPoint(5, 5), Qt::DropActions(actions), mime.get(), Qt::LeftButton,
                              Qt::NoModifier);
        QApplication::sendEvent(&box, &enter);
        QCOMPARE(enter.isAccepted(), accepted);
        // The source is asked to leave the items where they are.
        QCOMPARE(enter.dropAction(), accepted ? Qt::LinkAction : enter.proposedAction());
        QCOMPARE(hover.count(), 1);
        QCOMPARE(hover.at(0).at(0).toBool(), accepted);
    }
};

QUILLON_GUI_TEST_MAIN(TestDropTargets)
#include "tst_dropTargets.moc"
