#include "scan/TemporaryGroupsView.h"

#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "scan/GroupsTreeModel.h"
#include "util/CommonFuncs.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QTreeView>
#include <QVBoxLayout>

namespace {

// Room around each cell, so right-aligned sizes do not run into the paths beside them.
class PaddedItemDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyleOptionViewItem padded = option;
        padded.rect.adjust(kPad, 0, -kPad, 0);
        // Selection and alternating rows still fill the whole cell.
        QStyleOptionViewItem background = option;
        initStyleOption(&background, index);
        background.text.clear();
        background.icon = QIcon();
        const QWidget* w = option.widget;
        (w ? w->style() : QApplication::style())
            ->drawControl(QStyle::CE_ItemViewItem, &background, painter, w);
        padded.backgroundBrush = Qt::NoBrush;
        padded.features &= ~QStyleOptionViewItem::Alternate;
        padded.state &= ~QStyle::State_Selected;
        if (option.state & QStyle::State_Selected)
            padded.palette.setColor(QPalette::Text, option.palette.color(QPalette::HighlightedText));
        QStyledItemDelegate::paint(painter, padded, index);
    }
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(2 * kPad, 8);
    }

private:
    static constexpr int kPad = 8;
};

} // namespace

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
    m_tree->setItemDelegate(new PaddedItemDelegate(m_tree));
    QHeaderView* header = m_tree->header();
    header->setStretchLastSection(true);
    header->resizeSection(GroupsTreeModel::NameColumn, 300);
    header->resizeSection(GroupsTreeModel::CountColumn, 100);
    header->resizeSection(GroupsTreeModel::SizeColumn, 110);
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
    // Members are shown at once for a list that is still short enough to read that way.
    if (groups.size() <= 500)
        m_tree->expandAll();
}
