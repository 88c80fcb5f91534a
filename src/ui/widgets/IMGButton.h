#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QFont>
#include <QRectF>

// A button drawn from three-part images (start cap, stretched middle, end cap) for each state
// (On/Off) and look (normal, pressed, disabled), with a title fitted to its size on one line or
// split over two. The button is disabled for the length of a mouse press; a release inside
// sends clicked(), flips the state and enables it again only when enableImmediately is set.
class IMGButton : public QAbstractButton
{
    Q_OBJECT
public:
    enum Look { Normal, Down, Disabled };
    enum Part { Start, Middle, End };

    // The font, colour, measured size and rectangle of one layout of the title.
    struct TextLayout
    {
        QFont font;
        QColor color;
        QSizeF size;
        QRectF rect;
    };

    explicit IMGButton(QWidget* parent = nullptr);
    explicit IMGButton(const QString& title, QWidget* parent = nullptr);

    // All 18 image names, On state first: normal, pressed, disabled; each start, middle, end.
    void setButtonImages(const QString& imgOnState_St, const QString& imgOnState_Md,
                         const QString& imgOnState_En, const QString& imgOnStateDwn_St,
                         const QString& imgOnStateDwn_Md, const QString& imgOnStateDwn_En,
                         const QString& imgOnStateDis_St, const QString& imgOnStateDis_Md,
                         const QString& imgOnStateDis_En, const QString& imgOffState_St,
                         const QString& imgOffState_Md, const QString& imgOffState_En,
                         const QString& imgOffStateDwn_St, const QString& imgOffStateDwn_Md,
                         const QString& imgOffStateDwn_En, const QString& imgOffStateDis_St,
                         const QString& imgOffStateDis_Md, const QString& imgOffStateDis_En);
    // The same nine names for both states.
    void setButtonsImages(const QString& imgState_St, const QString& imgState_Md, const QString& imgState_En,
                          const QString& imgStateDwn_St, const QString& imgStateDwn_Md,
                          const QString& imgStateDwn_En, const QString& imgStateDis_St,
                          const QString& imgStateDis_Md, const QString& imgStateDis_En);
    QString imageName(bool onState, Look look, Part part) const { return m_images[onState][look][part]; }

    // 0 is Off; any other value draws as On when it is 1, and flips to 0 on a click.
    int state() const { return m_state; }
    void setState(int state);

    QColor colorOnState() const { return m_colorOnState; }
    QColor colorOnStateDis() const { return m_colorOnStateDis; }
    QColor colorOffState() const { return m_colorOffState; }
    QColor colorOffStateDis() const { return m_colorOffStateDis; }
    void setColorOnState(const QColor& c);
    void setColorOnStateDis(const QColor& c);
    void setColorOffState(const QColor& c);
    void setColorOffStateDis(const QColor& c);

    // One-line margins, then the two-line top and bottom margins.
    void setMargins(int marginLeft, int marginRight, int marginTop, int marginBottom);
    void setMarginsML(int marginTopML, int marginBottomML);

    bool isMultiLine() const { return m_isMultiLine; }
    void setIsMultiLine(bool on);
    bool enableImmediately() const { return m_enableImmediately; }
    void setEnableImmediately(bool on) { m_enableImmediately = on; }
    bool makeBoldFont() const { return m_makeBoldFont; }
    void setMakeBoldFont(bool on);
    QString multiLineStr() const { return m_multiLineStr; }
    void setMultiLineStr(const QString& separator);
    bool isMouseDown() const { return m_isMouseDown; }

    // Fits the title into rect for one layout and stores the result; see textLayout().
    void getAttributesForRect(const QRectF& rect, bool multi);
    const TextLayout& textLayout(bool multi) const { return m_layouts[multi]; }
    // The title as the two-line layout draws it.
    QString mTitle() const { return m_mTitle; }

    QSize sizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void init();
    // clicked(), the state flip, and the enabling rule of a completed press.
    void activate();
    void chooseLook(QString names[3]);

    QString m_images[2][3][3];
    int m_state = 0;
    QColor m_colorOnState{Qt::white};
    QColor m_colorOnStateDis{96, 96, 96};
    QColor m_colorOffState{Qt::white};
    QColor m_colorOffStateDis{96, 96, 96};
    QColor m_textColor{Qt::white};
    int m_marginLeft = 5;
    int m_marginRight = 5;
    int m_marginTop = 5;
    int m_marginBottom = 5;
    int m_marginTopML = 2;
    int m_marginBottomML = 2;
    bool m_isMultiLine = false;
    bool m_enableImmediately = true;
    bool m_makeBoldFont = false;
    bool m_isMouseDown = false;
    bool m_keyDown = false;
    QString m_multiLineStr = QStringLiteral(" ");
    QString m_mTitle;
    TextLayout m_layouts[2];
};
