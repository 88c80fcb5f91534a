#include "widgets/IMGButton.h"

#include "widgets/DrawnImages.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>

namespace {

// The title's face; the platform UI font stands in where it is not installed.
QFont titleFace(const QFont& systemFont)
{
    static const QString family = QStringLiteral("Lucida Grande");
    if (!QFontDatabase::families().contains(family))
        return systemFont;
    QFont face(family);
    return face;
}

// The title split at separator into two lines, the first holding half the parts, rounded down.
QString twoLineTitle(const QString& title, const QString& separator)
{
    if (separator.isEmpty())
        return title;
    const QStringList parts = title.split(separator);
    if (parts.size() == 1)
        return title;
    if (parts.size() == 2)
        return parts[0] + QLatin1Char('\n') + parts[1];
    const qsizetype half = parts.size() / 2;
    return parts.mid(0, half).join(separator) + QLatin1Char('\n') + parts.mid(half).join(separator);
}

QSizeF measure(const QFont& font, const QRectF& area, int flags, const QString& text)
{
    return QFontMetricsF(font).boundingRect(QRectF(QPointF(0, 0), area.size()), flags, text).size();
}

} // namespace

IMGButton::IMGButton(QWidget* parent) : QAbstractButton(parent)
{
    init();
}

IMGButton::IMGButton(const QString& title, QWidget* parent) : QAbstractButton(parent)
{
    setText(title);
    init();
}

void IMGButton::init()
{
    setCursor(Qt::PointingHandCursor);
    // Keyboard users reach it with Tab; a click does not take focus, so the press (which
    // disables the button) never throws focus elsewhere.
    setFocusPolicy(Qt::TabFocus);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
}

void IMGButton::setButtonImages(const QString& imgOnState_St, const QString& imgOnState_Md,
                                const QString& imgOnState_En, const QString& imgOnStateDwn_St,
                                const QString& imgOnStateDwn_Md, const QString& imgOnStateDwn_En,
                                const QString& imgOnStateDis_St, const QString& imgOnStateDis_Md,
                                const QString& imgOnStateDis_En, const QString& imgOffState_St,
                                const QString& imgOffState_Md, const QString& imgOffState_En,
                                const QString& imgOffStateDwn_St, const QString& imgOffStateDwn_Md,
                                const QString& imgOffStateDwn_En, const QString& imgOffStateDis_St,
                                const QString& imgOffStateDis_Md, const QString& imgOffStateDis_En)
{
    const QString names[18] = {imgOnState_St,     imgOnState_Md,     imgOnState_En,     imgOnStateDwn_St,
                               imgOnStateDwn_Md,  imgOnStateDwn_En,  imgOnStateDis_St,  imgOnStateDis_Md,
                               imgOnStateDis_En,  imgOffState_St,    imgOffState_Md,    imgOffState_En,
                               imgOffStateDwn_St, imgOffStateDwn_Md, imgOffStateDwn_En, imgOffStateDis_St,
                               imgOffStateDis_Md, imgOffStateDis_En};
    for (int i = 0; i < 18; ++i)
        m_images[i < 9 ? 1 : 0][(i % 9) / 3][i % 3] = names[i];
    update();
}

void IMGButton::setButtonsImages(const QString& imgState_St, const QString& imgState_Md,
                                 const QString& imgState_En, const QString& imgStateDwn_St,
                                 const QString& imgStateDwn_Md, const QString& imgStateDwn_En,
                                 const QString& imgStateDis_St, const QString& imgStateDis_Md,
                                 const QString& imgStateDis_En)
{
    setButtonImages(imgState_St, imgState_Md, imgState_En, imgStateDwn_St, imgStateDwn_Md, imgStateDwn_En,
                    imgStateDis_St, imgStateDis_Md, imgStateDis_En, imgState_St, imgState_Md, imgState_En,
                    imgStateDwn_St, imgStateDwn_Md, imgStateDwn_En, imgStateDis_St, imgStateDis_Md,
                    imgStateDis_En);
}

void IMGButton::setState(int state)
{
    m_state = state;
    update();
}

void IMGButton::setColorOnState(const QColor& c)
{
    m_colorOnState = c;
    update();
}

void IMGButton::setColorOnStateDis(const QColor& c)
{
    m_colorOnStateDis = c;
    update();
}

void IMGButton::setColorOffState(const QColor& c)
{
    m_colorOffState = c;
    update();
}

void IMGButton::setColorOffStateDis(const QColor& c)
{
    m_colorOffStateDis = c;
    update();
}

void IMGButton::setMargins(int marginLeft, int marginRight, int marginTop, int marginBottom)
{
    m_marginLeft = marginLeft;
    m_marginRight = marginRight;
    m_marginTop = marginTop;
    m_marginBottom = marginBottom;
    update();
}

void IMGButton::setMarginsML(int marginTopML, int marginBottomML)
{
    m_marginTopML = marginTopML;
    m_marginBottomML = marginBottomML;
    update();
}

void IMGButton::setIsMultiLine(bool on)
{
    m_isMultiLine = on;
    update();
}

void IMGButton::setMakeBoldFont(bool on)
{
    m_makeBoldFont = on;
    update();
}

void IMGButton::setMultiLineStr(const QString& separator)
{
    m_multiLineStr = separator;
    update();
}

void IMGButton::getAttributesForRect(const QRectF& rect, bool multi)
{
    if (multi)
        m_mTitle = twoLineTitle(text(), m_multiLineStr);
    const QString title = multi ? m_mTitle : text();
    const int top = multi ? m_marginTopML : m_marginTop;
    const int bottom = multi ? m_marginBottomML : m_marginBottom;
    const QRectF area(rect.x() + m_marginLeft, rect.y() + top, rect.width() - (m_marginLeft + m_marginRight),
                      rect.height() - (top + bottom));
    const int wrap = multi ? int(Qt::TextWordWrap) : 0;

    QFont chosen;
    bool overflowed = false;
    // Grow the face until it no longer fits, then take the last size that did.
    for (int n = 4; n + 1 <= 50 && !overflowed; ++n) {
        QFont probe = titleFace(font());
        probe.setPixelSize(n + 1);
        const QSizeF size = measure(probe, area, Qt::AlignLeft | wrap, title);
        if (size.width() <= area.width() && size.height() <= area.height())
            continue;
        overflowed = true;
        if (m_makeBoldFont && size.width() > 200 && size.width() < 245) {
            chosen = titleFace(font());
            chosen.setBold(true);
            chosen.setPixelSize(20);
        } else {
            chosen = font();
            chosen.setPixelSize(n);
        }
    }
    // A title that fits even at the largest size keeps the layout it had.
    if (!overflowed)
        return;

    TextLayout& layout = m_layouts[multi];
    layout.font = chosen;
    layout.color = m_textColor;
    layout.size = measure(chosen, area, Qt::AlignHCenter | wrap, title);
    layout.rect = area.translated(0, (area.height() - layout.size.height()) * 0.5);
}

void IMGButton::chooseLook(QString names[3])
{
    int look = -1;
    bool on = false;
    if (m_state == 0 || m_state == 1) {
        on = m_state == 1;
        if (isEnabled()) {
            m_textColor = on ? m_colorOnState : m_colorOffState;
            look = m_isMouseDown ? Down : Normal;
        } else {
            m_textColor = on ? m_colorOnStateDis : m_colorOffStateDis;
            look = Disabled;
        }
    }
    for (int part = 0; part < 3; ++part)
        names[part] = look < 0 ? QString() : m_images[on][look][part];
}

void IMGButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QString names[3];
    chooseLook(names);
    const QRectF bounds = rect();
    DrawnImages::drawThreePart(painter, bounds, names[0], names[1], names[2]);

    const QString title = text();
    auto draw = [&](const TextLayout& layout, const QString& str, bool shift) {
        painter.setFont(layout.font);
        painter.setPen(m_textColor);
        const QRectF at = shift ? layout.rect.translated(1, 1) : layout.rect;
        painter.drawText(at, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, str);
    };
    getAttributesForRect(bounds, false);
    if (!title.contains(m_multiLineStr.isEmpty() ? QStringLiteral("\n") : m_multiLineStr) &&
        !title.contains(QLatin1Char('\n'))) {
        draw(m_layouts[0], title, false);
    } else {
        getAttributesForRect(bounds, true);
        const QSizeF one = m_layouts[0].size;
        const QSizeF two = m_layouts[1].size;
        if (two.width() * two.height() > one.width() * one.height())
            draw(m_layouts[1], m_mTitle, m_isMouseDown);
        else
            draw(m_layouts[0], title, m_isMouseDown);
    }
    if (hasFocus())
        DrawnImages::drawFocusRing(painter, bounds, palette(), qMin(8.0, bounds.height() / 2));
}

QSize IMGButton::sizeHint() const
{
    const QFontMetrics metrics(font());
    return QSize(qMax(120, metrics.horizontalAdvance(text()) + 48), qMax(34, metrics.height() + 16));
}

bool IMGButton::event(QEvent* event)
{
    // The button is disabled while pressed; its release must still arrive.
    if (event->type() == QEvent::MouseButtonRelease && m_isMouseDown) {
        mouseReleaseEvent(static_cast<QMouseEvent*>(event));
        return true;
    }
    return QAbstractButton::event(event);
}

void IMGButton::mousePressEvent(QMouseEvent* event)
{
    if (!isEnabled() || event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    m_isMouseDown = true;
    setEnabled(false);
    update();
}

void IMGButton::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_isMouseDown)
        return;
    m_isMouseDown = false;
    update();
    const QPointF at = event->position();
    if (at.x() >= 0 && at.x() <= width() && at.y() >= 0 && at.y() <= height())
        activate();
    else
        setEnabled(true);
}

void IMGButton::mouseMoveEvent(QMouseEvent* event)
{
    event->accept();
}

void IMGButton::activate()
{
    QPointer<IMGButton> self(this);
    Q_EMIT clicked(false);
    if (!self)
        return;
    m_state = m_state != 0 ? 0 : 1;
    setEnabled(m_enableImmediately);
    update();
}

void IMGButton::keyPressEvent(QKeyEvent* event)
{
    switch (event->key()) {
    case Qt::Key_Space:
        // Drawn pressed while the key is held; activated on release.
        if (!event->isAutoRepeat()) {
            m_keyDown = true;
            m_isMouseDown = true;
            update();
        }
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!event->isAutoRepeat())
            activate();
        return;
    default:
        QAbstractButton::keyPressEvent(event);
    }
}

void IMGButton::keyReleaseEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Space && !event->isAutoRepeat() && m_keyDown) {
        m_keyDown = false;
        m_isMouseDown = false;
        activate();
        return;
    }
    QAbstractButton::keyReleaseEvent(event);
}

void IMGButton::focusOutEvent(QFocusEvent* event)
{
    // A Space press that loses focus before its release is dropped.
    if (m_keyDown) {
        m_keyDown = false;
        m_isMouseDown = false;
        update();
    }
    QAbstractButton::focusOutEvent(event);
}
