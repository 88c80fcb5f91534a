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
        QTest::addColumn<bool>("enabledAfter");
        QTest::newRow("inside") << QPoint(50, 15) << true << 1 << true;
        QTest::newRow("on the far edge") << QPoint(100, 30) << true << 1 << true;
        QTest::newRow("just outside") << QPoint(101, 15) << true << 0 << true;
        QTest::newRow("inside, not enabled immediately") << QPoint(50, 15) << false << 1 << false;
        QTest::newRow("outside, not enabled immediately") << QPoint(50, -1) << false << 0 << true;
    }
    void pressAndRelease()
    {
        QFETCH(QPoint, releaseAt);
        QFETCH(bool, enableImmediately);
        QFETCH(int, clicks);
        QFETCH(bool, enabledAfter);
        IMGButton button(QStringLiteral("Scan"));
        button.resize(100, 30);
        button.setEnableImmediately(enableImmediately);
        button.show();
        QSignalSpy clicked(&button, &IMGButton::clicked);

        QTest::mousePress(&button, Qt::LeftButton, {}, QPoint(50, 15));
        QVERIFY(!button.isEnabled() && button.isMouseDown());
        QTest::mouseRelease(&button, Qt::LeftButton, {}, releaseAt);
        QCOMPARE(clicked.count(), clicks);
        QCOMPARE(button.state(), clicks); // a click flips Off to On
        QCOMPARE(button.isEnabled(), enabledAfter);
        QVERIFY(!button.isMouseDown());
    }

    void twoLineSplit_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("separator");
        QTest::addColumn<QString>("twoLines");
        QTest::newRow("three words") << "Move to Trash"
                                     << " "
                                     << "Move\nto Trash";
        QTest::newRow("four words") << "Mark all but one"
                                    << " "
                                    << "Mark all\nbut one";
        QTest::newRow("own separator") << "a-b-c"
                                       << "-"
                                       << "a\nb-c";
        QTest::newRow("one word") << "Scan"
                                  << " "
                                  << "Scan";
    }
    void twoLineSplit()
    {
        QFETCH(QString, title);
        QFETCH(QString, separator);
        QFETCH(QString, twoLines);
        IMGButton button(title);
        button.setMultiLineStr(separator);
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
        QVERIFY(small.rect.top() > 5); // centred vertically

        button.getAttributesForRect(QRectF(0, 0, 300, 60), false);
        QVERIFY(button.textLayout(false).font.pixelSize() > small.font.pixelSize());
        const IMGButton::TextLayout medium = button.textLayout(false);
        // Fits even at 50: the previous layout stays.
        button.getAttributesForRect(QRectF(0, 0, 2000, 2000), false);
        QCOMPARE(button.textLayout(false).font, medium.font);
        QCOMPARE(button.textLayout(false).rect, medium.rect);
    }

    void cfmDefaultColours_data()
    {
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<QColor>("border");
        QTest::newRow("enabled") << true << QColor(69, 162, 255);
        QTest::newRow("disabled") << false << QColor(185, 185, 185);
    }
    void cfmDefaultColours()
    {
        QFETCH(bool, enabled);
        QFETCH(QColor, border);
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
        QCOMPARE(pressed.pixelColor(3, 57).name(), darkenColorByValue(QColor(220, 255, 255), 0.1f).name());
    }

    void lightness_data()
    {
        QTest::addColumn<QColor>("color");
        QTest::addColumn<bool>("light");
        QTest::newRow("white") << QColor(Qt::white) << true;
        QTest::newRow("mid grey") << QColor(128, 128, 128) << false;
        QTest::newRow("just above 0.8") << QColor(205, 205, 205) << true;
        QTest::newRow("bright blue") << QColor(69, 162, 255) << false;
    }
    void lightness()
    {
        QFETCH(QColor, color);
        QFETCH(bool, light);
        QCOMPARE(isLightColor(color), light);
    }
};

QUILLON_GUI_TEST_MAIN(TestDrawnControls)
#include "tst_drawncontrols.moc"
