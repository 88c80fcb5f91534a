#include "review/NotTrashedSheet.h"

#include "platform/FileViewer.h"
#include "review/NotTrashedTableModel.h"
#include "review/RevealButtonDelegate.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

NotTrashedSheet::NotTrashedSheet(FileViewer& viewer, QWidget* parent) : QDialog(parent), m_viewer(viewer)
{
    setObjectName(QStringLiteral("windowFileNotDeletedList"));
    setWindowTitle(tr("Items Not Moved"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("These items were not moved to the Trash"), this);
    QFont bold = title->font();
    bold.setBold(true);
    title->setFont(bold);
    auto* text = new QLabel(tr("They stay where they are and keep their marks."), this);

    m_model = new NotTrashedTableModel(this);
    m_table = new QTableView(this);
    m_table->setObjectName(QStringLiteral("tvFileNotDeletedList"));
    m_table->setAccessibleName(tr("Items not moved"));
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setWordWrap(false);
    m_table->setTextElideMode(Qt::ElideMiddle);
    m_table->verticalHeader()->hide();
    m_table->horizontalHeader()->setSectionResizeMode(NotTrashedTableModel::Path, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(NotTrashedTableModel::Reason, QHeaderView::Interactive);
    m_table->horizontalHeader()->setSectionResizeMode(NotTrashedTableModel::Reveal, QHeaderView::Fixed);
    m_table->setColumnWidth(NotTrashedTableModel::Reason, 170);
    m_table->setColumnWidth(NotTrashedTableModel::Reveal, 40);
    auto* delegate = new RevealButtonDelegate(m_table);
    m_table->setItemDelegateForColumn(NotTrashedTableModel::Reveal, delegate);
    connect(delegate, &RevealButtonDelegate::buttonClicked, this,
            &NotTrashedSheet::revealNotDeletedFileInFinder);
    // Enter on a row (or a double click) shows it too, so the keyboard reaches every file.
    connect(m_table, &QTableView::activated, this,
            [this](const QModelIndex& index) { revealNotDeletedFileInFinder(index.row()); });

    m_ok = new QPushButton(tr("OK"), this);
    m_ok->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_ok);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(8);
    layout->addWidget(title);
    layout->addWidget(text);
    layout->addWidget(m_table, 1);
    layout->addLayout(buttons);
    resize(620, 320);

    connect(m_ok, &QPushButton::clicked, this, &QDialog::accept);
}

void NotTrashedSheet::setFiles(std::vector<NotTrashedFile> files)
{
    m_model->setFiles(std::move(files));
    m_table->resizeRowsToContents();
}

void NotTrashedSheet::revealNotDeletedFileInFinder(int row)
{
    const QByteArray path = m_model->filePath(row);
    if (!path.isEmpty())
        m_viewer.showItems({path});
}
