#include "scan/TemporaryGroupsView.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "scan/GroupsTreeModel.h"
#include "util/CommonFuncs.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QTreeView>
#include <QVBoxLayout>

TemporaryGroupsView::TemporaryGroupsView(QWidget* parent) : QWidget(parent)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(12);

    auto* top = new QHBoxLayout;
    m_back = new QPushButton(style()->standardIcon(QStyle::SP_ArrowBack), tr("Back"), this);
    m_back->setMinimumHeight(30);
    m_summary = new QLabel(this);
    QFont bold = m_summary->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * 1.1);
    m_summary->setFont(bold);
    top->addWidget(m_back);
    top->addSpacing(12);
    top->addWidget(m_summary, 1);
    layout->addLayout(top);

    m_tree = new QTreeView(this);
    m_model = new GroupsTreeModel(this);
    m_tree->setModel(m_model);
    m_tree->setAlternatingRowColors(true);
    m_tree->setUniformRowHeights(true);
    m_tree->setTextElideMode(Qt::ElideMiddle);
    m_tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_tree->setSelectionBehavior(QAbstractItemView::SelectRows);
    QHeaderView* header = m_tree->header();
    header->setStretchLastSection(true);
    header->resizeSection(GroupsTreeModel::NameColumn, 300);
    header->resizeSection(GroupsTreeModel::CountColumn, 90);
    header->resizeSection(GroupsTreeModel::SizeColumn, 100);
    layout->addWidget(m_tree, 1);

    connect(m_back, &QPushButton::clicked, this, &TemporaryGroupsView::backRequested);
}

void TemporaryGroupsView::setGroups(const std::vector<DuplicateGroup*>& groups, quint32 dupCount)
{
    m_model->setGroups(groups);
    quint64 reclaimable = 0;
    for (const DuplicateGroup* g : groups) {
        if (!g->filteredChildren.empty())
            reclaimable += g->filteredChildren.front()->fileSize * (g->filteredChildren.size() - 1);
    }
    const auto count = [](qsizetype n, const QString& one, const QString& many) {
        return QStringLiteral("%1 %2").arg(n).arg(n == 1 ? one : many);
    };
    m_summary->setText(count(qsizetype(groups.size()), tr("group"), tr("groups")) +
                       QStringLiteral(" \u00b7 ") + count(dupCount, tr("duplicate"), tr("duplicates")) +
                       QStringLiteral(" \u00b7 ") +
                       tr("%1 to reclaim").arg(CommonFuncs::getSizeInUnits(reclaimable)));
    if (m_model->rowCount() > 0)
        m_tree->expand(m_model->index(0, 0));
}
