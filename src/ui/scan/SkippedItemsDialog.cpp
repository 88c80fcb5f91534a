#include "scan/SkippedItemsDialog.h"

#include "platform/FileViewer.h"
#include "scan/SkippedItemsModel.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

SkippedItemsDialog::SkippedItemsDialog(std::vector<SkippedItem> items, FileViewer* viewer, QWidget* parent)
    : QDialog(parent), m_model(new SkippedItemsModel(std::move(items), this)), m_table(new QTableView(this)),
      m_viewer(viewer)
{
    setWindowTitle(tr("Items that could not be read"));
    setWindowModality(Qt::WindowModal);
    resize(720, 360);
    m_table->setModel(m_model);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->horizontalHeader()->setSectionResizeMode(SkippedItemsModel::PathColumn, QHeaderView::Stretch);
    m_table->horizontalHeader()->setSectionResizeMode(SkippedItemsModel::ReasonColumn,
                                                      QHeaderView::ResizeToContents);
    m_table->verticalHeader()->hide();
    m_table->setAccessibleName(tr("Items that could not be read"));

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* reveal = buttons->addButton(tr("Show in File Manager"), QDialogButtonBox::ActionRole);
    connect(reveal, &QPushButton::clicked, this, &SkippedItemsDialog::revealSelected);
    connect(m_table, &QTableView::doubleClicked, this, &SkippedItemsDialog::revealSelected);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_table);
    layout->addWidget(buttons);
}

void SkippedItemsDialog::revealSelected()
{
    QList<QByteArray> paths;
    for (const QModelIndex& index : m_table->selectionModel()->selectedRows())
        paths << m_model->pathAt(index.row());
    if (paths.isEmpty() && m_table->currentIndex().isValid())
        paths << m_model->pathAt(m_table->currentIndex().row());
    if (!paths.isEmpty() && m_viewer)
        m_viewer->showItems(paths);
}
