#include "app/HeaderView.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QSvgRenderer>
#include <QVBoxLayout>

namespace {
constexpr int kIconSize = 44;

QFont scaled(QFont font, qreal factor)
{
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * factor);
    else if (font.pixelSize() > 0)
        font.setPixelSize(qRound(font.pixelSize() * factor));
    return font;
}

void setTextColor(QLabel* label, const QColor& color)
{
    QPalette pal = label->palette();
    pal.setColor(QPalette::WindowText, color);
    label->setPalette(pal);
}
} // namespace

HeaderView::HeaderView(QWidget* parent) : GradientBox(parent)
{
    setGradientImageName(QStringLiteral("header_St"), QStringLiteral("header_Md"),
                         QStringLiteral("header_En"));
    setObjectName(QStringLiteral("viewHeader"));
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);

    m_icon = new QLabel(this);
    m_icon->setFixedSize(kIconSize, kIconSize);
    m_icon->setPixmap(applicationPixmap(kIconSize, devicePixelRatioF()));

    m_name = new QLabel(QStringLiteral("Quillon"), this);
    m_name->setObjectName(QStringLiteral("appName"));
    m_tagline = new QLabel(tr("Duplicate file finder"), this);
    m_tagline->setObjectName(QStringLiteral("appTagline"));

    m_status = new QLabel(QStringLiteral("Select folder to scan"), this);
    m_status->setObjectName(QStringLiteral("lblStatus"));
    m_status->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_status->setTextInteractionFlags(Qt::NoTextInteraction);
    m_status->setMinimumWidth(120);

    auto* titles = new QVBoxLayout;
    titles->setSpacing(0);
    titles->setContentsMargins(0, 0, 0, 0);
    titles->addStretch();
    titles->addWidget(m_name);
    titles->addWidget(m_tagline);
    titles->addStretch();

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(20, 14, 24, 14);
    row->setSpacing(12);
    row->addWidget(m_icon, 0, Qt::AlignVCenter);
    row->addLayout(titles);
    row->addStretch(1);
    row->addWidget(m_status, 0, Qt::AlignVCenter);

    applyFonts();
}

void HeaderView::setStatusText(const QString& text)
{
    m_status->setText(text);
}

QString HeaderView::statusText() const
{
    return m_status->text();
}

QPixmap HeaderView::applicationPixmap(int size, qreal devicePixelRatio)
{
    QPixmap pixmap(QSize(size, size) * devicePixelRatio);
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QSvgRenderer renderer(QStringLiteral(":/images/quillon.svg"));
    if (renderer.isValid()) {
        QPainter painter(&pixmap);
        renderer.render(&painter, QRectF(0, 0, size, size));
    }
    return pixmap;
}

void HeaderView::changeEvent(QEvent* event)
{
    GradientBox::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::PaletteChange)
        applyFonts();
}

// Sizes follow the platform font, so the header scales with the user's font settings.
void HeaderView::applyFonts()
{
    QFont nameFont = scaled(font(), 1.45);
    nameFont.setWeight(QFont::DemiBold);
    m_name->setFont(nameFont);

    m_tagline->setFont(scaled(font(), 0.9));
    // The band is dark whatever the palette, so its texts are light.
    setTextColor(m_name, QColor(255, 255, 255));
    setTextColor(m_status, QColor(255, 255, 255));
    setTextColor(m_tagline, QColor(255, 255, 255, 165));

    QFont statusFont = scaled(font(), 1.1);
    statusFont.setWeight(QFont::Medium);
    m_status->setFont(statusFont);
}
