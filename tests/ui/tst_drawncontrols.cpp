#include <QApplication>

#include "support/TestMain.h"
#include "widgets/CFMButton.h"
#include "widgets/ColorExtensions.h"
#include "widgets/IMGButton.h"

#include <QSignalSpy>

class TestDrawnControls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pressAndRelease_data()
    {
        QTest::addColumn<QPoint>("releaseAt");
        QTest::addColumn<bool>("enableImmediately");
        QTest::addColumn<int>("clicks");
        QTest::newRow("inside") << QPoint(50, 15) << true << 1;
        QTest::newRow("just outside") << QPoint(101, 15) << true << 0;
        QTest::newRow("inside, not enabled immediately") << QPoint(50, 15) << false << 1;
        QTest::newRow("outside, not enabled immediately") << QPoint(50, -1) << false << 0;
    }
    void pressAndRelease()
    {
        QFETCH(QPoint, releaseAt);
        QFETCH(bool, enableImmediately);
        QFETCH(int, clicks);
        IMGButton button(QStringLiteral("Scan"));
        button.resize(100, 30);
        button.setEnableImmediately(enableImmediately);
        button.show();
        QSignalSpy clicked(&button, &IMGButton::clicked);

        QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(50, 15));
        QVERIFY(!button.isEnabled() && button.isMouseDown());
        QTest::mouseRelease(&button, Qt::LeftButton, {}, releaseAt);
        QCOMPARE(clicked.count(), clicks);
        // Without immediate enabling, a click leaves the button for its action to re-enable.
        QCOMPARE(button.isEnabled(), enableImmediately || clicks == 0);
    }

    void twoLineSplit_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("twoLines");
        const auto row = [](const char* tag, const char* title, const char* lines) {
            QTest::newRow(tag) << QString(title) << QString(lines);
        };
        row("three words", "Move to Trash", "Move\nto Trash");
        row("four words", "Mark all but one", "Mark all\nbut one");
        row("own separator", "a-b-c", "a\nb-c");
        row("one word", "Scan", "Scan");
    }
    void twoLineSplit()
    {
        QFETCH(QString, title);
        QFETCH(QString, twoLines);
        IMGButton button(title);
        button.setMultiLineStr(title.contains('-') ? QStringLiteral("-") : QStringLiteral(" "));
        button.getAttributesForRect(QRectF(0, 0, 90, 40), true);
        QCOMPARE(button.mTitle(), twoLines);
    }

    void fittingStopsAtFiftyPoints()
    {
        IMGButton button(QStringLiteral("Go"));
        button.getAttributesForRect(QRectF(0, 0, 120, 34), false);
        const IMGButton::TextLayout small = button.textLayout(false);
        // The largest size that fits the 110 x 24 area, and one more does not.
        QFont larger = small.font;
        larger.setPixelSize(small.font.pixelSize() + 1);
        QVERIFY(QFontMetricsF(small.font).height() <= 24);
        QVERIFY(QFontMetricsF(larger).height() > 24);

        button.getAttributesForRect(QRectF(0, 0, 300, 60), false);
        QVERIFY(button.textLayout(false).font.pixelSize() > small.font.pixelSize());
        const IMGButton::TextLayout medium = button.textLayout(false);
        // Fits even at 50: the previous layout stays.
        button.getAttributesForRect(QRectF(0, 0, 2000, 2000), false);
        QCOMPARE(button.textLayout(false).font, medium.font);
        QCOMPARE(button.textLayout(false).rect, medium.rect);
    }

    // Border and title in blue (grey when disabled) over a light cyan fill, darker when pressed.
    void cfmDefaultColours()
    {
        for (const bool enabled : {true, false}) {
            const QColor border = enabled ? QColor(69, 162, 255) : QColor(185, 185, 185);
            CFMButton button(QStringLiteral("WWW"));
            button.setFont(QFont(button.font().family(), 30, QFont::Black));
            button.resize(160, 60);
            button.setEnabled(enabled);
            const QImage image = button.grab().toImage();
            QCOMPARE(image.pixelColor(0, 30), border);
            QCOMPARE(image.pixelColor(3, 30), QColor(220, 255, 255));
            bool titleSeen = false; // the title is drawn in the border's colour
            for (int x = 40; x < 120 && !titleSeen; ++x)
                for (int y = 10; y < 50 && !titleSeen; ++y)
                    titleSeen = image.pixelColor(x, y) == border;
            QVERIFY(titleSeen);

            button.setDown(true);
            const QImage pressed = button.grab().toImage();
            QCOMPARE(pressed.pixelColor(3, 57).name(),
                     darkenColorByValue(QColor(220, 255, 255), 0.1f).name());
        }
    }
};

QUILLON_GUI_TEST_MAIN(TestDrawnControls)
#include "tst_drawncontrols.moc"
