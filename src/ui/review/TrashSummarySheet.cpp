#include "review/TrashSummarySheet.h"

#include "util/CommonFuncs.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

TrashSummarySheet::TrashSummarySheet(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("windowAfterClean"));
    setWindowTitle(tr("Moved to Trash"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Marked items moved"), this);
    QFont big = title->font();
    big.setBold(true);
    big.setPointSize(15);
    title->setFont(big);
    m_lblDupCleaned = new QLabel(this);
    m_lblDupSIzeCleaned = new QLabel(this);
    for (QLabel* label : {m_lblDupCleaned, m_lblDupSIzeCleaned}) {
        label->setTextFormat(Qt::RichText);
        QFont font = label->font();
        font.setPixelSize(13); // the size of the bold part, so both parts share a baseline look
        label->setFont(font);
    }

    m_putBack = new QPushButton(tr("Put Back"), this);
    m_putBack->setAccessibleName(tr("Put back the moved items"));
    m_backToMain = new QPushButton(tr("Back to Scan"), this);
    m_ok = new QPushButton(tr("OK"), this);
    m_ok->setAccessibleName(tr("Back to the results"));
    m_ok->setDefault(true); // no rating row: OK takes Return

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_putBack);
    buttons->addStretch();
    buttons->addWidget(m_backToMain);
    buttons->addWidget(m_ok);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(m_lblDupCleaned);
    layout->addWidget(m_lblDupSIzeCleaned);
    layout->addStretch();
    layout->addLayout(buttons);
    setFixedSize(400, kHeight);

    connect(m_putBack, &QPushButton::clicked, this, &TrashSummarySheet::putBackRequested);
    connect(m_backToMain, &QPushButton::clicked, this, [this] {
        accept();
        Q_EMIT backToMainView();
    });
    connect(m_ok, &QPushButton::clicked, this, [this] {
        accept();
        Q_EMIT backToDetailView();
    });
}

QString TrashSummarySheet::boldAndNonBoldString(const QString& text)
{
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return text.toHtmlEscaped();
    return text.left(colon).toHtmlEscaped() +
           QStringLiteral("<span style=\"font-weight:bold; font-size:13px\">") +
           text.mid(colon).toHtmlEscaped() + QStringLiteral("</span>");
}

void TrashSummarySheet::showAfterTrashWindowWithCountSizeStatus(int countTrashed, quint64 sizeTrashed)
{
    m_lblDupCleaned->setText(boldAndNonBoldString(QStringLiteral("Items Trashed : %1").arg(countTrashed)));
    m_lblDupSIzeCleaned->setText(boldAndNonBoldString(
        QStringLiteral("Space to Recover : %1").arg(CommonFuncs::getSizeInUnits(sizeTrashed))));
}

void TrashSummarySheet::setPutBackAvailable(bool available)
{
    m_putBack->setVisible(available);
}
