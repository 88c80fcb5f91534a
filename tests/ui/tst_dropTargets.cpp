#include <QApplication>

#include "scan/DDCustomView.h"
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
bool drop(QWidget* target, const QMimeData* mime, Qt::DropActions actions = Qt::CopyAction | Qt::LinkAction)
{
    QDragEnterEvent enter(QPoint(10, 10), actions, mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent event(QPointF(10, 10), actions, mime, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &event);
    return event.isAccepted();
}

// The drop step alone, for data that no drag would get past the enter test with.
bool dropOnly(const QMimeData* mime, AlertPresenter* alerts, QObject* context)
{
    QDropEvent event(QPointF(10, 10), Qt::LinkAction, mime, Qt::LeftButton, Qt::NoModifier);
    return DragDropSupport::performDragOperation(&event, QStringLiteral("drag drop path = %1"), alerts,
                                                 context);
}

int countColour(const QImage& image, int column, const QColor& colour, int from = 0, int to = -1)
{
    int n = 0;
    for (int y = from; y < (to < 0 ? image.height() : to); ++y)
        n += image.pixelColor(column, y) == colour ? 1 : 0;
    return n;
}

} // namespace

class TestDropTargets : public QObject
{
    Q_OBJECT

    ScriptedAlertPresenter m_alerts;

    // A fresh target of the given kind; the box and the picture behave alike apart from the log.
    std::unique_ptr<QWidget> makeTarget(const QString& kind)
    {
        if (kind == QLatin1String("box")) {
            auto box = std::make_unique<DragDropBox>();
            box->setAlertPresenter(&m_alerts);
            return box;
        }
        auto image = std::make_unique<DragDropImageView>();
        image->setAlertPresenter(&m_alerts);
        return image;
    }

private Q_SLOTS:
    void init() { m_alerts.clear(); }

    void dropPostsPaths_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("logPrefix");
        QTest::newRow("box") << "box"
                             << "drag drop path = ";
        QTest::newRow("image view") << "image"
                                    << "drag drop (imgview) path = ";
    }
    void dropPostsPaths()
    {
        QFETCH(QString, kind);
        QFETCH(QString, logPrefix);
        auto target = makeTarget(kind);
        QSignalSpy posted(DragDropNotifier::instance(), &DragDropNotifier::fileDragDrop);

        // Three items: one notification holding all three in the drag's order; only the first is logged.
        auto mime =
            fileDrag("file:///srv/b%20folder\r\nfile:///srv/a\r\nfile:///srv/caf%E9.photoslibrary\r\n");
        QTest::ignoreMessage(QtInfoMsg, (logPrefix + QStringLiteral("/srv/b folder")).toUtf8().constData());
        QVERIFY(drop(target.get(), mime.get()));
        QCOMPARE(posted.count(), 1);
        const auto paths = posted.at(0).at(0).value<QList<QByteArray>>();
        QCOMPARE(paths, (QList<QByteArray>{"/srv/b folder", "/srv/a", "/srv/caf\xe9.photoslibrary"}));

        // Non-file URLs are no file names; a drop without any fails with the paste alert.
        auto web = fileDrag("https://example.org/x\r\n");
        QVERIFY(!drop(target.get(), web.get()));
        QVERIFY(!dropOnly(web.get(), &m_alerts, target.get()));
        auto empty = std::make_unique<QMimeData>();
        QVERIFY(!dropOnly(empty.get(), &m_alerts, target.get()));
        QCOMPARE(posted.count(), 1);
        QTRY_COMPARE(m_alerts.alerts().size(), 2);
        QCOMPARE(m_alerts.alerts().at(1), (Alert{QStringLiteral("Paste Error"),
                                                 QStringLiteral("Sorry, but the past operation failed")}));

        // An image wins over file names and is refused without a word.
        m_alerts.clear();
        auto image = fileDrag("file:///srv/a\r\n");
        QImage picture(4, 4, QImage::Format_RGB32);
        picture.fill(Qt::red);
        image->setImageData(picture);
        QVERIFY(!drop(target.get(), image.get()));
        QTest::qWait(10);
        QVERIFY(m_alerts.alerts().isEmpty());
        QCOMPARE(posted.count(), 1);
    }

    void localPathsFromQtUrls()
    {
        // The form other Qt applications and file dialogs put on the clipboard.
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
        QTest::newRow("copy only") << int(Qt::CopyAction) << QByteArray("file:///srv/a\r\n") << false;
        QTest::newRow("copy and move")
            << int(Qt::CopyAction | Qt::MoveAction) << QByteArray("file:///srv/a\r\n") << false;
        QTest::newRow("link only") << int(Qt::LinkAction) << QByteArray("file:///srv/a\r\n") << true;
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
        if (accepted) // the source is asked to leave the items where they are
            QCOMPARE(enter.dropAction(), Qt::LinkAction);
        QCOMPARE(hover.count(), 1);
        QCOMPARE(hover.at(0).at(0).toBool(), accepted);
    }

    void dashedFrame()
    {
        DDCustomView view;
        view.resize(200, 120);
        const QColor grey(167, 167, 167);

        // A full repaint draws the frame: along its left side dashes alternate with gaps.
        QImage full(view.size(), QImage::Format_ARGB32);
        full.fill(Qt::transparent);
        view.render(&full, QPoint(), QRegion(view.rect()), QWidget::RenderFlags());
        const int dashPixels = countColour(full, 2, grey);
        QVERIFY2(dashPixels > 40, qPrintable(QString::number(dashPixels)));
        QVERIFY(dashPixels < 110);
        // Nothing inside the frame.
        QCOMPARE(countColour(full, 8, grey, 15, 105), 0);
        QCOMPARE(countColour(full, 100, grey, 5, 115), 0);

        // A strip lower than the view leaves the frame alone.
        QImage strip(view.size(), QImage::Format_ARGB32);
        strip.fill(Qt::transparent);
        view.render(&strip, QPoint(), QRegion(0, 40, 200, 20), QWidget::RenderFlags());
        QCOMPARE(countColour(strip, 2, grey), 0);
    }
};

QUILLON_GUI_TEST_MAIN(TestDropTargets)
#include "tst_dropTargets.moc"
