#include "review/TrashProgressSheet.h"

#include "review/TrashRun.h"
#include "util/CommonFuncs.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

TrashProgressSheet::TrashProgressSheet(TrashRun& run, QWidget* parent) : QDialog(parent), m_run(run)
{
    setObjectName(QStringLiteral("windowTrash"));
    setWindowTitle(tr("Moving to Trash"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Moving the marked items to the Trash\u2026"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    m_lblFileCountTrash = new QLabel(this);
    m_progressBarTrashWindow = new QProgressBar(this);
    m_progressBarTrashWindow->setTextVisible(false);
    m_progressBarTrashWindow->setAccessibleName(tr("Items moved"));
    m_lblBytesCompared = new QLabel(this);
    QPalette grey = m_lblBytesCompared->palette();
    grey.setColor(QPalette::WindowText, QColor(110, 110, 110));
    m_lblBytesCompared->setPalette(grey);
    m_indicatorStop = new QProgressBar(this);
    m_indicatorStop->setRange(0, 0); // busy, without a value
    m_indicatorStop->setTextVisible(false);
    m_indicatorStop->setFixedSize(60, 8);
    m_indicatorStop->setAccessibleName(tr("Stopping"));
    m_indicatorStop->hide();
    m_btnStopTrashing = new QPushButton(tr("Stop"), this);
    m_btnStopTrashing->setAccessibleName(tr("Stop moving to Trash"));

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_lblBytesCompared, 1);
    buttons->addWidget(m_indicatorStop);
    buttons->addWidget(m_btnStopTrashing);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(m_lblFileCountTrash);
    layout->addWidget(m_progressBarTrashWindow);
    layout->addLayout(buttons);
    setFixedWidth(470);

    m_timer = new QTimer(this);
    m_timer->setInterval(kRefreshMs);
    connect(m_timer, &QTimer::timeout, this, &TrashProgressSheet::updateTrashCount);
    connect(m_btnStopTrashing, &QPushButton::clicked, this, &TrashProgressSheet::abortCleanning);
    m_timer->start();
    updateTrashCount();
}

void TrashProgressSheet::updateTrashCount()
{
    const int count = m_run.countTrashed();
    m_lblFileCountTrash->setText(QStringLiteral("%1 items moved, %2 can be saved")
                                     .arg(count)
                                     .arg(CommonFuncs::getSizeInUnits(m_run.sizeTrashed())));
    // The maximum is what is still marked, so it shrinks as files go.
    m_progressBarTrashWindow->setRange(0, std::max(m_run.countMarked(), 0));
    m_progressBarTrashWindow->setValue(std::min(count, m_progressBarTrashWindow->maximum()));
    m_lblBytesCompared->setText(
        tr("%1 compared byte for byte").arg(CommonFuncs::getSizeInUnits(m_run.bytesCompared())));
}

void TrashProgressSheet::abortCleanning()
{
    if (!m_btnStopTrashing->isEnabled())
        return;
    m_btnStopTrashing->setEnabled(false);
    m_indicatorStop->show();
    m_run.abortCleanning();
}

void TrashProgressSheet::finish()
{
    m_timer->stop();
    updateTrashCount();
    QDialog::accept();
}
