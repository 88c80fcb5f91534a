#include "review/PhotosInstructionSheet.h"

#include "app/AppGlobals.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

PhotosInstructionSheet::PhotosInstructionSheet(QWidget* parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("windowPhotosAppInstruction"));
    setWindowTitle(tr("Photos Library Items"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Marked Photos items are collected in an album"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* text = new QLabel(tr("Items of a Photos library can only be deleted in Photos. They are added "
                               "to the album \u201c%1\u201d for you to delete there.")
                                .arg(AppGlobals::photosAlbumName),
                            this);
    text->setWordWrap(true);
    auto* one = new QLabel(tr("1. Press \u201cOpen Photos Library\u201d, then \u201cContinue\u201d"), this);
    auto* two =
        new QLabel(tr("2. In Photos, open the album \u201c%1\u201d").arg(AppGlobals::photosAlbumName), this);
    m_lblinstructionThree = new QLabel(instructionThreeText(), this);
    m_lblinstructionThree->setObjectName(QStringLiteral("lblinstructionThree"));
    auto* four = new QLabel(tr("4. Select the album\u2019s items and delete them"), this);

    auto* cancel = new QPushButton(tr("Cancel"), this);
    m_open = new QPushButton(tr("Open Photos Library"), this);
    m_continue = new QPushButton(tr("Continue"), this);
    m_continue->setEnabled(false);
    m_continue->setDefault(true);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cancel);
    buttons->addStretch();
    buttons->addWidget(m_open);
    buttons->addWidget(m_continue);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(text);
    for (QLabel* line : {one, two, m_lblinstructionThree, four}) {
        line->setIndent(10);
        layout->addWidget(line);
    }
    layout->addSpacing(6);
    layout->addLayout(buttons);
    setFixedWidth(470);

    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_open, &QPushButton::clicked, this, [this] {
        m_open->setEnabled(false);
        Q_EMIT openRequested();
    });
    connect(m_continue, &QPushButton::clicked, this, &QDialog::accept);
}

QString PhotosInstructionSheet::instructionThreeText()
{
    return AppGlobals::isOSX_13_AndAbove
               ? QStringLiteral("3. Select \u201cPhotos\u201d in the sidebar")
               : QStringLiteral("3. Select \u201cAll Photos\u201d album in the sidebar");
}

void PhotosInstructionSheet::enableContinue()
{
    m_open->setEnabled(true);
    m_continue->setEnabled(true);
    m_continue->setFocus();
}
