#include "review/TrashConfirmationSheet.h"

#include "app/Settings.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

TrashConfirmationSheet::TrashConfirmationSheet(Settings& settings, QWidget* parent)
    : QDialog(parent), m_settings(settings)
{
    setObjectName(QStringLiteral("windowTrashConfirmation"));
    setWindowTitle(tr("Move to Trash"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Move the marked items to the Trash?"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* text = new QLabel(tr("Before it is moved, each marked item is checked again and compared byte "
                               "for byte with a copy that stays. Items that fail the check stay where "
                               "they are. You can put the moved items back from the summary."),
                            this);
    text->setWordWrap(true);
    m_doNotShowAgain = new QCheckBox(tr("Do not show this message again"), this);
    m_doNotShowAgain->setChecked(m_settings.doNotShowConfirmationDialogOnTrash());
    m_review = new QPushButton(tr("Review Files"), this);
    m_review->setAccessibleName(tr("Review files before moving them"));
    m_proceed = new QPushButton(tr("Move to Trash"), this);
    m_proceed->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(m_doNotShowAgain);
    buttons->addStretch();
    buttons->addWidget(m_review);
    buttons->addWidget(m_proceed);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(10);
    layout->addWidget(title);
    layout->addWidget(text);
    layout->addSpacing(6);
    layout->addLayout(buttons);
    setFixedWidth(470);

    connect(m_review, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_proceed, &QPushButton::clicked, this, &QDialog::accept);
}

void TrashConfirmationSheet::accept()
{
    m_settings.setDoNotShowConfirmationDialogOnTrash(m_doNotShowAgain->isChecked());
    QDialog::accept();
}
