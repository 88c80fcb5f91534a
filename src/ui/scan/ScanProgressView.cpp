#include "scan/ScanProgressView.h"

#include "scan/ElidedLabel.h"
#include "scan/ScanIcons.h"
#include "util/CommonFuncs.h"
#include "util/PathUtils.h"
#include "widgets/ButtonLooks.h"
#include "widgets/IMGButton.h"
#include "widgets/LinkButton.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

ScanProgressView::ScanProgressView(QWidget* parent) : QWidget(parent)
{
    auto* outer = new QHBoxLayout(this);
    outer->setContentsMargins(24, 24, 24, 24);
    auto* column = new QVBoxLayout;
    column->setSpacing(14);
    outer->addStretch(1);
    outer->addLayout(column, 8);
    outer->addStretch(1);

    m_picture = new QLabel(this);
    m_picture->setPixmap(ScanIcons::magnifier(72, palette().color(QPalette::Highlight), devicePixelRatioF()));
    m_picture->setAlignment(Qt::AlignCenter);

    m_title = new QLabel(kScanningText, this);
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.6);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    m_title->setAlignment(Qt::AlignCenter);

    m_totalSize = new QLabel(this);
    m_totalSize->setAlignment(Qt::AlignCenter);
    m_totalSize->setForegroundRole(QPalette::PlaceholderText);

    m_busy = new QProgressBar(this);
    m_busy->setTextVisible(false);
    m_busy->setFixedHeight(8);

    auto* counters = new QHBoxLayout;
    counters->setSpacing(12);
    counters->addWidget(makeCounter(tr("Files scanned"), m_scannedCount));
    counters->addWidget(makeCounter(tr("Duplicates found"), m_dupCount));
    counters->addWidget(makeCounter(tr("Space to reclaim"), m_reclaimable));
    m_reclaimable->setTextFormat(Qt::RichText);

    m_currentFile = new ElidedLabel(this);
    m_currentFile->setAlignment(Qt::AlignCenter);
    m_currentFile->setForegroundRole(QPalette::PlaceholderText);

    m_stop = new IMGButton(tr("Stop"), this);
    // Stays disabled after a click: the scan's end brings it back.
    m_stop->setEnableImmediately(false);
    m_stop->setShortcut(QKeySequence(Qt::Key_Escape));
    m_stop->setToolTip(tr("Stop the scan (Esc)"));
    m_back = new IMGButton(tr("Back"), this);
    m_showResults = new IMGButton(tr("Show Results"), this);
    ButtonLooks::applySecondary(m_stop);
    ButtonLooks::applySecondary(m_back);
    ButtonLooks::applyPrimary(m_showResults);
    for (IMGButton* b : {m_stop, m_back, m_showResults})
        b->setFixedSize(140, 34);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_stop);
    buttons->addWidget(m_back);
    buttons->addWidget(m_showResults);
    buttons->addStretch();

    m_skipped = new QLabel(this);
    m_skipped->setAlignment(Qt::AlignCenter);
    m_showSkipped = new LinkButton(this);
    m_showSkipped->setText(tr("Show"));
    m_showSkipped->setAccessibleName(tr("Show the items that could not be read"));
    auto* skippedRow = new QHBoxLayout;
    skippedRow->addStretch();
    skippedRow->addWidget(m_skipped);
    skippedRow->addWidget(m_showSkipped);
    skippedRow->addStretch();
    showSkipped(0, 0);

    column->addStretch(2);
    column->addWidget(m_picture);
    column->addWidget(m_title);
    column->addWidget(m_totalSize);
    column->addSpacing(6);
    column->addWidget(m_busy);
    column->addSpacing(10);
    column->addLayout(counters);
    column->addSpacing(6);
    column->addWidget(m_currentFile);
    column->addSpacing(10);
    column->addLayout(buttons);
    column->addLayout(skippedRow);
    column->addStretch(3);

    connect(m_stop, &IMGButton::clicked, this, &ScanProgressView::stopRequested);
    connect(m_back, &IMGButton::clicked, this, &ScanProgressView::backRequested);
    connect(m_showResults, &IMGButton::clicked, this, &ScanProgressView::showResultsRequested);
    connect(m_showSkipped, &LinkButton::clicked, this, &ScanProgressView::skippedItemsRequested);
    setCounters(0, 0, 0, 0);
    showScanning();
}

QWidget* ScanProgressView::makeCounter(const QString& caption, QLabel*& value)
{
    auto* card = new QFrame(this);
    card->setFrameShape(QFrame::StyledPanel);
    card->setAutoFillBackground(true);
    card->setBackgroundRole(QPalette::Base);
    auto* layout = new QVBoxLayout(card);
    layout->setContentsMargins(16, 12, 16, 12);
    layout->setSpacing(2);
    auto* captionLabel = new QLabel(caption, card);
    captionLabel->setAlignment(Qt::AlignCenter);
    captionLabel->setForegroundRole(QPalette::PlaceholderText);
    value = new QLabel(card);
    value->setAlignment(Qt::AlignCenter);
    QFont big = value->font();
    big.setPointSizeF(big.pointSizeF() * 1.7);
    big.setBold(true);
    value->setFont(big);
    value->setMinimumHeight(QFontMetrics(big).height() + 4);
    layout->addWidget(captionLabel);
    layout->addWidget(value);
    return card;
}

void ScanProgressView::showScanning()
{
    m_title->setText(kScanningText);
    m_stop->setText(tr("Stop"));
    m_stop->setShortcut(QKeySequence(Qt::Key_Escape));
    m_stop->setEnabled(true);
    m_stop->show();
    m_back->hide();
    m_showResults->hide();
    m_currentFile->show();
    m_currentFile->clear();
    showSkipped(0, 0);
    m_busy->setRange(0, 0); // busy: the bar animates
}

void ScanProgressView::showStopping()
{
    m_stop->setEnabled(false);
}

void ScanProgressView::showFinished(bool hasGroups)
{
    m_title->setText(kCompletedText);
    m_stop->hide();
    m_back->show();
    m_showResults->show();
    m_showResults->setEnabled(hasGroups);
    // The Stop button had the focus and is now hidden: Return goes on to the next step.
    (hasGroups ? m_showResults : m_back)->setFocus(Qt::OtherFocusReason);
    m_currentFile->hide();
    m_busy->setRange(0, 1);
    m_busy->setValue(1);
}

void ScanProgressView::showSkipped(size_t skipped, size_t sameFileAgain)
{
    QStringList lines;
    if (skipped > 0)
        lines << (skipped == 1 ? tr("1 item could not be read")
                               : tr("%1 items could not be read").arg(skipped));
    if (sameFileAgain > 0)
        lines << (sameFileAgain == 1 ? tr("1 path reached a file already scanned")
                                     : tr("%1 paths reached a file already scanned").arg(sameFileAgain));
    m_skipped->setText(lines.join(QLatin1Char('\n')));
    m_skipped->setVisible(!lines.isEmpty());
    m_showSkipped->setVisible(skipped > 0);
}

QString ScanProgressView::differentFontString(const QString& sizeText)
{
    const qsizetype blank = sizeText.indexOf(QLatin1Char(' '));
    if (blank < 0)
        return sizeText.toHtmlEscaped();
    return QStringLiteral("%1<span style=\"font-size:small; font-weight:normal;\">&nbsp;%2</span>")
        .arg(sizeText.left(blank).toHtmlEscaped(), sizeText.mid(blank + 1).toHtmlEscaped());
}

void ScanProgressView::setCounters(quint32 countScanned, quint64 totSizeScanned, quint32 countDup,
                                   quint64 sizeDup)
{
    m_totalSize->setText(
        QStringLiteral("Total File Size : %1").arg(CommonFuncs::getSizeInUnits(totSizeScanned)));
    m_scannedCount->setText(QString::number(countScanned));
    m_dupCount->setText(QString::number(countDup));
    m_reclaimable->setText(differentFontString(CommonFuncs::getSizeInUnits(sizeDup)));
}

void ScanProgressView::setCurrentFile(const QByteArray& path)
{
    m_currentFile->setText(
        path.isEmpty() ? QString() : QStringLiteral("Processing File :%1").arg(PathUtils::toDisplay(path)));
    m_currentFile->setToolTip(PathUtils::toDisplay(path));
}
