#include "scan/ScanListView.h"

#include "scan/DDCustomView.h"
#include "scan/DragDropBox.h"
#include "scan/DragDropImageView.h"
#include "scan/RemoveButtonDelegate.h"
#include "scan/ScanIcons.h"
#include "scan/ScanList.h"
#include "scan/ScanListModel.h"
#include "scan/ScanListTableView.h"
#include "widgets/ButtonLooks.h"
#include "widgets/IMGButton.h"
#include "widgets/LinkButton.h"

#include <QFontInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QShortcut>
#include <QVBoxLayout>

ScanListView::ScanListView(ScanList* list, QWidget* parent) : QWidget(parent), m_list(list)
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(24, 20, 24, 20);
    layout->setSpacing(12);
    layout->addWidget(buildDropArea());

    auto* titleRow = new QHBoxLayout;
    auto* title = new QLabel(tr("Scan list"), this);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.1);
    title->setFont(titleFont);
    m_countLabel = new QLabel(this);
    m_countLabel->setForegroundRole(QPalette::PlaceholderText);
    titleRow->addWidget(title);
    titleRow->addStretch();
    titleRow->addWidget(m_countLabel);
    layout->addSpacing(4);
    layout->addLayout(titleRow);

    m_table = new ScanListTableView(this);
    m_table->setAccessibleName(tr("Scan list"));
    // Tab leaves the table for the next control instead of walking its cells.
    m_table->setTabKeyNavigation(false);
    m_model = new ScanListModel(list, this);
    m_table->setModel(m_model);
    m_table->setPlaceholderText(tr("Nothing to scan yet.\nDrop folders, files or photo libraries here, "
                                   "or use the add button above."));
    m_removeDelegate = new RemoveButtonDelegate(m_table);
    m_table->setItemDelegateForColumn(ScanListModel::RemoveColumn, m_removeDelegate);
    QHeaderView* header = m_table->horizontalHeader();
    header->setSectionResizeMode(ScanListModel::TickColumn, QHeaderView::Fixed);
    header->setSectionResizeMode(ScanListModel::PathColumn, QHeaderView::Stretch);
    header->setSectionResizeMode(ScanListModel::RemoveColumn, QHeaderView::Fixed);
    header->resizeSection(ScanListModel::TickColumn, 36);
    header->resizeSection(ScanListModel::RemoveColumn, 40);
    layout->addWidget(m_table, 1);

    auto* bottom = new QHBoxLayout;
    auto* hint = new QLabel(tr("Ticked items are scanned. Right-click an item for more."), this);
    hint->setForegroundRole(QPalette::PlaceholderText);
    m_scanButton = new IMGButton(tr("Scan"), this);
    ButtonLooks::applyPrimary(m_scanButton);
    m_scanButton->setFixedSize(132, 34);
    m_scanButton->setEnabled(list->isScanNowEnabled());
    bottom->addWidget(hint);
    bottom->addStretch();
    bottom->addWidget(m_scanButton);
    layout->addLayout(bottom);

    connect(m_scanButton, &IMGButton::clicked, this, &ScanListView::scanRequested);
    connect(list, &ScanList::scanNowEnabledChanged, m_scanButton, &IMGButton::setEnabled);
    connect(m_removeDelegate, &RemoveButtonDelegate::buttonClicked, list, &ScanList::deletePathFromTable);
    connect(m_table, &QWidget::customContextMenuRequested, this, &ScanListView::showRowMenu);
    connect(m_table, &QAbstractItemView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.column() == ScanListModel::PathColumn)
            m_list->showFileInFinder(ScanList::ShowInFileViewer, index.row());
    });
    connect(list, &ScanList::rowsReset, this, &ScanListView::updateCount);
    connect(list, &ScanList::statesChanged, this, &ScanListView::updateCount);
    auto* removeKey = new QShortcut(QKeySequence::Delete, m_table, nullptr, nullptr, Qt::WidgetShortcut);
    connect(removeKey, &QShortcut::activated, this, [this] {
        if (m_table->currentIndex().isValid())
            m_list->deletePathFromTable(m_table->currentIndex().row());
    });
    updateCount();
}

QWidget* ScanListView::buildDropArea()
{
    m_dropBox = new DragDropBox(this);
    m_dropBox->setFixedHeight(184);
    auto* boxLayout = new QVBoxLayout(m_dropBox);
    boxLayout->setContentsMargins(0, 0, 0, 0);
    m_dropFrame = new DDCustomView(m_dropBox);
    boxLayout->addWidget(m_dropFrame);

    const QColor accent = palette().color(QPalette::Highlight);
    m_imageView = new DragDropImageView(m_dropFrame);
    m_imageView->setPixmap(ScanIcons::dropFolder(88, accent, devicePixelRatioF()));
    m_imageView->setFixedSize(104, 104);

    auto* heading = new QLabel(tr("Drop folders, files or photo libraries here"), m_dropFrame);
    QFont headingFont = heading->font();
    headingFont.setPointSizeF(headingFont.pointSizeF() * 1.35);
    headingFont.setBold(true);
    heading->setFont(headingFont);
    auto* sub = new QLabel(tr("Everything you add is listed below and can be ticked for the next scan."),
                           m_dropFrame);
    sub->setForegroundRole(QPalette::PlaceholderText);

    m_addButton = new IMGButton(tr("Add Folder..."), m_dropFrame);
    ButtonLooks::applyPrimary(m_addButton);
    m_addButton->setFixedSize(150, 34);
    m_addButton->setToolTip(kAddToolTip);
    connect(m_addButton, &IMGButton::clicked, this,
            [this] { Q_EMIT addRequested(PathChooser::Kind::Folders); });
    m_addFilesLink = new LinkButton(m_dropFrame);
    m_addFilesLink->setTitle(tr("or add files"), QFontInfo(font()).pixelSize(), false);
    connect(m_addFilesLink, &LinkButton::clicked, this,
            [this] { Q_EMIT addRequested(PathChooser::Kind::Files); });

    auto* text = new QVBoxLayout;
    text->setSpacing(6);
    text->addStretch();
    text->addWidget(heading);
    text->addWidget(sub);
    text->addSpacing(10);
    auto* buttonRow = new QHBoxLayout;
    buttonRow->setSpacing(14);
    buttonRow->addWidget(m_addButton);
    buttonRow->addWidget(m_addFilesLink);
    buttonRow->addStretch();
    text->addLayout(buttonRow);
    text->addStretch();

    auto* row = new QHBoxLayout(m_dropFrame);
    row->setContentsMargins(36, 16, 36, 16);
    row->setSpacing(24);
    row->addStretch(1);
    row->addWidget(m_imageView);
    row->addLayout(text);
    row->addStretch(1);

    connect(m_dropBox, &DragDropBox::dragHoverChanged, m_dropFrame, &DDCustomView::setHighlighted);
    connect(m_imageView, &DragDropImageView::dragHoverChanged, m_dropFrame, &DDCustomView::setHighlighted);
    return m_dropBox;
}

void ScanListView::setAlertPresenter(AlertPresenter* alerts)
{
    m_dropBox->setAlertPresenter(alerts);
    m_imageView->setAlertPresenter(alerts);
    m_table->setAlertPresenter(alerts);
}

void ScanListView::updateCount()
{
    const int total = m_list->count();
    if (total == 0) {
        m_countLabel->clear();
        return;
    }
    m_countLabel->setText((total == 1 ? tr("1 item") : tr("%1 items").arg(total)) +
                          QStringLiteral(" \u00b7 ") +
                          tr("%1 ticked for scanning").arg(m_list->tickedCount()));
}

QMenu* ScanListView::createRowMenu(int clickedRow, QWidget* parent)
{
    auto* menu = new QMenu(parent);
    const bool onRow = clickedRow >= 0 && clickedRow < m_list->count();
    auto add = [&](const QString& text, int tag, bool enabled) {
        QAction* action = menu->addAction(text);
        action->setData(tag);
        action->setEnabled(enabled);
        connect(action, &QAction::triggered, this,
                [this, tag, clickedRow] { m_list->showFileInFinder(tag, clickedRow); });
        return action;
    };
    add(tr("Show in File Manager"), ScanList::ShowInFileViewer, onRow);
    menu->addSeparator();
    add(tr("Select All"), ScanList::SelectAll, m_list->count() > 0);
    add(tr("Deselect All"), ScanList::DeselectAll, m_list->count() > 0);
    menu->addSeparator();
    add(tr("Remove"), ScanList::RemoveRow, onRow);
    add(tr("Remove All"), ScanList::RemoveAll, m_list->count() > 0);
    return menu;
}

void ScanListView::showRowMenu(const QPoint& pos)
{
    const QModelIndex index = m_table->indexAt(pos);
    QMenu* menu = createRowMenu(index.isValid() ? index.row() : -1, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(m_table->viewport()->mapToGlobal(pos));
}
