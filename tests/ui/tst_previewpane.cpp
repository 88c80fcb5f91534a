#include <QApplication>

#include "model/FileInfoNode.h"
#include "review/PreviewPane.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"

#include <QFile>
#include <QImage>
#include <QLabel>
#include <QPainter>
#include <QPdfWriter>
#include <QSignalSpy>

// The preview beside the result tables: what it shows for each kind of file, and that only
// the latest of many quick requests reaches the screen.
class TestPreviewPane : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
    }

    void previewKinds_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<int>("kind");
        QTest::newRow("image") << QByteArray("photo.png") << int(PreviewContent::Kind::Image);
        QTest::newRow("pdf") << QByteArray("paper.pdf") << int(PreviewContent::Kind::Image);
        QTest::newRow("text") << QByteArray("notes.txt") << int(PreviewContent::Kind::Text);
        QTest::newRow("binary") << QByteArray("blob.bin") << int(PreviewContent::Kind::Icon);
        QTest::newRow("missing") << QByteArray("gone.png") << int(PreviewContent::Kind::Missing);
    }
    void previewKinds()
    {
        QFETCH(QByteArray, name);
        QFETCH(int, kind);
        const QByteArray path = m_tree->path("p/" + name);
        QVERIFY(TestSupport::makeDir(m_tree->path("p")));
        if (name == "photo.png") {
            QImage image(640, 400, QImage::Format_RGB32);
            image.fill(QColor(40, 120, 200));
            QPainter(&image).fillRect(100, 100, 300, 150, Qt::yellow);
            QVERIFY(image.save(QFile::decodeName(path)));
        } else if (name == "paper.pdf") {
            QPdfWriter writer(QFile::decodeName(path));
            QPainter painter(&writer);
            painter.setFont(QFont(QStringLiteral("Sans"), 28));
            painter.drawText(QRect(0, 0, writer.width(), writer.height() / 3), Qt::AlignCenter,
                             QStringLiteral("Quarterly report"));
        } else if (name == "notes.txt") {
            QVERIFY(TestSupport::writeFile(path, "Shopping list\n- bread\n- milk\n"));
        } else if (name == "blob.bin") {
            QVERIFY(TestSupport::writeFile(path, QByteArray("\0\1\2\3", 4)));
        }
        FileInfoNode node;
        node.filePath = path;
        node.createDate = 1700000000;
        PreviewPane pane;
        pane.resize(300, 420);
        pane.show();
        QSignalSpy shown(&pane, &PreviewPane::previewShown);
        pane.updatePreview_MainThread(&node);
        QTRY_COMPARE(shown.size(), 1);
        QCOMPARE(int(*pane.shownKind()), kind);
        QCOMPARE(pane.lblPreviewFileName()->text(), QString::fromUtf8(name));
        QVERIFY(!pane.lblPreviewDateTime()->text().isEmpty());
        saveScreen(&pane, QStringLiteral("results-preview-") + QString::fromUtf8(QTest::currentDataTag()));
    }

    // Only the latest request is shown: the one in flight is dropped when it lands, the one
    // waiting is replaced, and nothing is left running.
    void previewLatestWins()
    {
        QByteArrayList paths;
        for (int i = 0; i < 50; ++i)
            paths.append(
                m_tree->file("many/" + QByteArray::number(i) + ".txt", "text " + QByteArray::number(i)));
        PreviewPane pane;
        QSignalSpy shown(&pane, &PreviewPane::previewShown);
        FileInfoNode nodes[50];
        for (int i = 0; i < 50; ++i) {
            nodes[i].filePath = paths[i];
            pane.updatePreview_MainThread(&nodes[i]);
        }
        QTRY_VERIFY(!pane.isBuilding() && shown.size() >= 1);
        QTest::qWait(50);
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown.first().first().toByteArray(), paths.last());
        QCOMPARE(pane.lblPreviewFileName()->text(), QStringLiteral("49.txt"));
        pane.updatePreview_MainThread(nullptr);
        QVERIFY(pane.lblPreviewFileName()->text().isEmpty() && !pane.shownKind());
    }
};

QUILLON_GUI_TEST_MAIN(TestPreviewPane)
#include "tst_previewpane.moc"
