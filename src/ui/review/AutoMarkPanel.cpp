#include "review/AutoMarkPanel.h"

#include "app/Settings.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

AutoMarkPanel::AutoMarkPanel(Settings& settings, QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("windowAutoMark"));
    setWindowTitle(tr("Automatic Marking"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Mark all duplicates automatically?"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    const bool oldest = settings.autoSelectOption() == 1;
    auto* text =
        new QLabel(tr("In every group shown, all files but one are marked; the %1 file of each group "
                      "stays unmarked. Marks you set in these groups are replaced.\n\n"
                      "Which file is kept can be changed in Preferences.")
                       .arg(oldest ? tr("oldest") : tr("newest")),
                   this);
    text->setWordWrap(true);
    m_doNotShow = new QCheckBox(tr("Do not show this message again"), this);
    m_doNotShow->setChecked(settings.doNotShowAutoMarkDialog());
    connect(m_doNotShow, &QCheckBox::toggled, this,
            [&settings](bool on) { settings.setDoNotShowAutoMarkDialog(on); });

    auto* buttons = new QDialogButtonBox(this);
    m_cancel = buttons->addButton(QDialogButtonBox::Cancel);
    m_continue = buttons->addButton(tr("Continue"), QDialogButtonBox::AcceptRole);
    m_continue->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* column = new QVBoxLayout(this);
    column->addWidget(title);
    column->addWidget(text);
    column->addWidget(m_doNotShow);
    column->addWidget(buttons);
    setMinimumWidth(420);
}
