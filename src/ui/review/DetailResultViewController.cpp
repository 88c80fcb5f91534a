#include "review/DetailResultViewController.h"

#include "app/Settings.h"
#include "model/DuplicateGroup.h"
#include "model/FileInfoNode.h"
#include "model/ScanResult.h"
#include "platform/FileViewer.h"
#include "review/AutoMarkPanel.h"
#include "review/CategoryBar.h"
#include "review/FileDetailDelegate.h"
#include "review/FileTableModel.h"
#include "review/GroupTableModel.h"
#include "review/PreviewPane.h"
#include "review/ResultsActions.h"
#include "review/RevealButtonDelegate.h"
#include "review/ReviewModel.h"
#include "review/SortPopup.h"
#include "util/AlertPresenter.h"
#include "widgets/ButtonLooks.h"
#include "widgets/CFMButton.h"
#include "widgets/CustomTableView.h"
#include "widgets/IMGButton.h"

#include <QButtonGroup>
#include <QFile>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

DetailResultViewController::DetailResultViewController(Settings& settings, AlertPresenter& alerts,
                                                       QWidget* parent)
    : QWidget(parent), m_settings(settings), m_alerts(alerts)
{
    setObjectName(QStringLiteral("DetailResultViewController"));
    m_review = new ReviewModel(settings, alerts, this);
    m_groupModel = new GroupTableModel(this);
    m_fileModel = new FileTableModel(m_review, this);
    buildLayout();
    m_actions = new ResultsActions(this);
    connectReview();
}

DetailResultViewController::~DetailResultViewController() = default;

QList<QWidget*> DetailResultViewController::focusChain() const
{
    QList<QWidget*> chain;
    for (int category = -1; category < ReviewModel::kCategoryCount; ++category)
        chain.append(m_categories->button(category));
    chain << m_searchTextField << m_popupForSorting << m_tvAllDupResult << m_tvFileDupResult
          << m_btnAutoSelect;
    for (QAbstractButton* segment : m_keepControl->buttons())
        chain.append(segment);
    chain << m_btnDeselectAll << m_btnTrash << m_btnBack;
    return chain;
}

void DetailResultViewController::connectReview()
{
    connect(m_review, &ReviewModel::groupsReset, this,
            &DetailResultViewController::reloadTableViewAndSetDupCount);
    connect(m_review, &ReviewModel::summaryChanged, this, &DetailResultViewController::updateSummary);
    connect(m_review, &ReviewModel::marksChanged, this, [this] {
        m_groupModel->refreshMarks();
        m_fileModel->refreshMarks();
    });
    connect(m_categories, &CategoryBar::categoryClicked, this, &DetailResultViewController::selectCategory);
    connect(m_searchTextField, &QLineEdit::textChanged, m_review, &ReviewModel::runSearchForDuplicates);
    connect(m_popupForSorting, &SortPopup::itemChosen, this, [this](int item) {
        m_review->selectSortingType(item);
        m_popupForSorting->setCheckedItems(m_review->checkedSortItems());
    });
    connect(m_tvAllDupResult->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &DetailResultViewController::groupSelectionChanged);
    connect(m_tvFileDupResult->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &DetailResultViewController::fileSelectionChanged);
    connect(m_btnAutoSelect, &IMGButton::clicked, this, &DetailResultViewController::autoMarkAllDuplicate);
    connect(m_btnDeselectAll, &IMGButton::clicked, this, &DetailResultViewController::unMarkAllDuplicate);
    connect(m_btnTrash, &IMGButton::clicked, this, &DetailResultViewController::removeSelectedItems);
    connect(m_btnBack, &IMGButton::clicked, this, &DetailResultViewController::backRequested);
    connect(m_keepControl, &QButtonGroup::idClicked, this, &DetailResultViewController::keepFileOption);
}

void DetailResultViewController::showResultDetail(std::unique_ptr<ScanResult> result)
{
    clearResults();
    m_result = std::move(result);
    if (!m_result)
        return;
    std::map<QByteArray, DataFiller*> fillers;
    for (const auto& [path, filler] : m_result->dictiPhotoFiller)
        fillers.emplace(path, filler.get());
    m_review->setArrMainGroup(m_result->arrMainGroup);
    m_review->setDupCount(qint32(m_result->countDup));
    m_review->setDictiPhotoFiller(std::move(fillers));
    m_lblScanStopped->setVisible(m_result->aborted);
    m_searchTextField->blockSignals(true);
    m_searchTextField->clear();
    m_searchTextField->blockSignals(false);
    m_review->updateUIComponentsDetailView();
    m_popupForSorting->setCheckedItems(m_review->checkedSortItems());
    m_categories->setCategoryButtonColor(ReviewModel::kAllCategories);
    reloadTableViewAndSetDupCount();
    updateSummary();
}

void DetailResultViewController::clearResults()
{
    if (m_windowAutoMark)
        m_windowAutoMark->reject();
    m_fileModel->setGroup(nullptr);
    m_groupModel->setGroups({});
    m_preview->updatePreview_MainThread(nullptr);
    m_review->setArrMainGroup({});
    m_review->setDictiPhotoFiller({});
    m_review->updateUIComponentsDetailView();
    m_result.reset();
}

void DetailResultViewController::reloadTableViewAndSetDupCount()
{
    m_fileModel->setGroup(nullptr);
    m_groupModel->setGroups(m_review->arrGroups());
    if (m_groupModel->rowCount() > 0)
        m_tvAllDupResult->setCurrentIndex(m_groupModel->index(0, GroupTableModel::NameColumn));
    else
        m_preview->updatePreview_MainThread(nullptr);
}

void DetailResultViewController::groupSelectionChanged()
{
    const QModelIndex current = m_tvAllDupResult->currentIndex();
    m_fileModel->setGroup(current.isValid() ? m_groupModel->groupAt(current.row()) : nullptr);
    if (m_fileModel->rowCount() > 0)
        m_tvFileDupResult->setCurrentIndex(m_fileModel->index(0, FileTableModel::DetailColumn));
    else
        m_preview->updatePreview_MainThread(nullptr);
    m_actions->updateEnabled();
}

void DetailResultViewController::fileSelectionChanged()
{
    const QModelIndex current = m_tvFileDupResult->currentIndex();
    if (current.isValid())
        m_preview->updatePreview_MainThread(m_fileModel->fileAt(current.row()));
    m_actions->updateEnabled();
}

void DetailResultViewController::updateSummary()
{
    const ReviewSummary& summary = m_review->summary();
    m_lblDupCount->setText(summary.lblDupCount);
    m_lblSelectedCatIssue->setText(summary.lblSelectedCatIssue);
    m_lblSelectedCatIssue->setVisible(summary.catIssueVisible);
    m_btnAutoSelect->setEnabled(summary.autoSelectEnabled);
    m_lblNumMarkedFiles->setText(summary.lblNumMarkedFiles);
    m_lblNumMarkedFiles->setVisible(summary.markedVisible);
    m_btnTrash->setEnabled(summary.markedVisible);
    m_btnDeselectAll->setEnabled(summary.markedVisible);
    m_splitter->setVisible(!summary.exhausted);
    m_btnTrash->setVisible(!summary.exhausted);
    m_lblCleaned->setVisible(summary.exhausted && m_result);
    m_categories->setCategoryButtonColor(m_review->selectedCategoryIndex());
    m_actions->updateEnabled();
}

void DetailResultViewController::selectCategory(int category)
{
    if (category == ReviewModel::kAllCategories)
        m_review->showAllGroupItems();
    else
        m_review->selectCategory(category);
    updateSummary();
}

void DetailResultViewController::autoMarkAllDuplicate()
{
    if (!m_btnAutoSelect->isEnabled() || m_review->arrGroups().empty())
        return;
    if (m_settings.doNotShowAutoMarkDialog()) {
        m_review->proceedToautoMarkAllitems();
        return;
    }
    if (!m_windowAutoMark) {
        m_windowAutoMark = new AutoMarkPanel(m_settings, this);
        m_windowAutoMark->setAttribute(Qt::WA_DeleteOnClose);
        connect(m_windowAutoMark, &QDialog::accepted, m_review, &ReviewModel::proceedToautoMarkAllitems);
    }
    m_windowAutoMark->open();
}

void DetailResultViewController::unMarkAllDuplicate()
{
    m_review->unMarkAllDuplicate();
}

void DetailResultViewController::keepFileOption(int segment)
{
    const QModelIndex current = m_tvAllDupResult->currentIndex();
    m_review->keepFileOption(segment, current.isValid() ? m_groupModel->groupAt(current.row()) : nullptr);
}

void DetailResultViewController::toggleSelectedMark()
{
    const QModelIndex current = m_tvFileDupResult->currentIndex();
    if (current.isValid())
        m_fileModel->toggleMark(current.row());
}

void DetailResultViewController::revealFileInFinder(int row)
{
    const FileInfoNode* file = m_fileModel->fileAt(row);
    if (!file || !m_fileViewer)
        return;
    QPointer<DetailResultViewController> self(this);
    const QByteArray path = file->filePath;
    m_fileViewer->showItemsReportingFailure({path}, [self, path] {
        if (self)
            self->m_alerts.runModal(Alert{QObject::tr("The file could not be shown in the file manager."),
                                          QFile::decodeName(path)});
    });
}

void DetailResultViewController::removeSelectedItems()
{
    if (m_review->countMarked() > 0)
        Q_EMIT trashRequested();
}

namespace {
IMGButton* makeButton(const QString& title, const char* objectName, bool primary, QWidget* parent)
{
    auto* button = new IMGButton(title, parent);
    button->setObjectName(QLatin1String(objectName));
    button->setAccessibleName(title);
    if (primary)
        ButtonLooks::applyPrimary(button);
    else
        ButtonLooks::applySecondary(button);
    button->setMinimumSize(110, 34);
    return button;
}

QLabel* makeLabel(const char* objectName, const QString& accessibleName, QWidget* parent)
{
    auto* label = new QLabel(parent);
    label->setObjectName(QLatin1String(objectName));
    label->setAccessibleName(accessibleName);
    return label;
}
} // namespace

void DetailResultViewController::buildLayout()
{
    m_categories = new CategoryBar(this);

    m_lblDupCount = makeLabel("lblDupCount", tr("Duplicates found"), this);
    QFont summaryFont = m_lblDupCount->font();
    summaryFont.setPointSizeF(summaryFont.pointSizeF() * 1.15);
    summaryFont.setBold(true);
    m_lblDupCount->setFont(summaryFont);
    m_searchTextField = new QLineEdit(this);
    m_searchTextField->setObjectName(QStringLiteral("searchTextField"));
    m_searchTextField->setAccessibleName(tr("Search file names"));
    m_searchTextField->setPlaceholderText(tr("Search file names"));
    m_searchTextField->setClearButtonEnabled(true);
    m_searchTextField->setMinimumWidth(220);
    m_popupForSorting = new SortPopup(this);
    auto* summaryRow = new QHBoxLayout;
    summaryRow->addWidget(m_lblDupCount, 1);
    summaryRow->addWidget(m_searchTextField);
    summaryRow->addWidget(m_popupForSorting);

    m_lblSelectedCatIssue = makeLabel("lblSelectedCatIssue", tr("Category cleaned"), this);
    m_lblSelectedCatIssue->hide();
    m_lblScanStopped = makeLabel("lblScanStopped", tr("Scan stopped"), this);
    m_lblScanStopped->setText(
        tr("The scan was stopped: these groups cover only the files read before it stopped."));
    m_lblScanStopped->setStyleSheet(QStringLiteral("color: #a15c00;"));
    m_lblScanStopped->hide();
    m_lblCleaned = makeLabel("lblCleaned", tr("All duplicates cleaned"), this);
    m_lblCleaned->setText(tr("All duplicates have been cleaned. Go back to scan again."));
    m_lblCleaned->setAlignment(Qt::AlignCenter);
    m_lblCleaned->hide();

    m_tvAllDupResult = new CustomTableView(this);
    m_tvAllDupResult->setObjectName(QStringLiteral("tvAllDupResult"));
    m_tvAllDupResult->setAccessibleName(tr("Duplicate groups"));
    m_tvAllDupResult->setModel(m_groupModel);
    m_tvFileDupResult = new CustomTableView(this);
    m_tvFileDupResult->setObjectName(QStringLiteral("tvFileDupResult"));
    m_tvFileDupResult->setAccessibleName(tr("Files of the selected group"));
    m_tvFileDupResult->setModel(m_fileModel);
    auto* detail = new FileDetailDelegate(FileTableModel::FolderRole, m_tvFileDupResult);
    m_tvFileDupResult->setItemDelegateForColumn(FileTableModel::DetailColumn, detail);
    auto* reveal = new RevealButtonDelegate(m_tvFileDupResult);
    m_tvFileDupResult->setItemDelegateForColumn(FileTableModel::RevealColumn, reveal);
    connect(reveal, &RevealButtonDelegate::buttonClicked, this,
            &DetailResultViewController::revealFileInFinder);
    for (CustomTableView* table : {m_tvAllDupResult, m_tvFileDupResult}) {
        table->setSelectionBehavior(QAbstractItemView::SelectRows);
        table->setSelectionMode(QAbstractItemView::SingleSelection);
        table->setEditTriggers(QAbstractItemView::NoEditTriggers);
        table->setTabKeyNavigation(false);
        table->setShowGrid(false);
        table->setWordWrap(false);
        table->verticalHeader()->hide();
        table->horizontalHeader()->setHighlightSections(false);
    }
    m_tvAllDupResult->setItemDelegateForColumn(
        GroupTableModel::NameColumn,
        new FileDetailDelegate(GroupTableModel::DescriptionRole, m_tvAllDupResult));
    m_tvAllDupResult->setColumnHidden(GroupTableModel::ItemsColumn, true);
    m_tvAllDupResult->setIconSize(QSize(32, 32));
    m_tvAllDupResult->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 2 + 10);
    m_tvAllDupResult->horizontalHeader()->setSectionResizeMode(GroupTableModel::NameColumn,
                                                               QHeaderView::Stretch);
    m_tvAllDupResult->horizontalHeader()->setSectionResizeMode(GroupTableModel::SelectedColumn,
                                                               QHeaderView::ResizeToContents);
    m_tvFileDupResult->verticalHeader()->setDefaultSectionSize(fontMetrics().height() * 2 + 10);
    QHeaderView* fileHeader = m_tvFileDupResult->horizontalHeader();
    fileHeader->setSectionResizeMode(QHeaderView::ResizeToContents);
    fileHeader->setSectionResizeMode(FileTableModel::DetailColumn, QHeaderView::Stretch);
    fileHeader->setMinimumSectionSize(28);

    m_preview = new PreviewPane(this);
    m_splitter = new QSplitter(Qt::Horizontal, this);
    m_splitter->setObjectName(QStringLiteral("splitView"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_tvAllDupResult);
    m_splitter->addWidget(m_tvFileDupResult);
    m_splitter->addWidget(m_preview);
    m_splitter->setStretchFactor(0, 3);
    m_splitter->setStretchFactor(1, 4);
    m_splitter->setStretchFactor(2, 3);
    m_splitter->setSizes({300, 420, 270});

    m_btnAutoSelect = makeButton(tr("Auto Mark"), "btnAutoSelect", true, this);
    m_btnAutoSelect->setToolTip(tr("Mark all but one file of every group shown (Ctrl+M)"));
    auto* keepBox = new QWidget(this);
    auto* keepRow = new QHBoxLayout(keepBox);
    keepRow->setContentsMargins(0, 0, 0, 0);
    keepRow->setSpacing(0);
    // Each segment applies its rule to the selected group when pressed, so none stays down and
    // Tab reaches all three.
    m_keepControl = new QButtonGroup(this);
    m_keepControl->setExclusive(false);
    const QString keepTitles[] = {tr("None"), tr("Keep Newest"), tr("Keep Oldest")};
    for (int segment = 0; segment < 3; ++segment) {
        auto* button = new QToolButton(keepBox);
        button->setText(keepTitles[segment]);
        button->setAccessibleName(tr("Selected group: %1").arg(keepTitles[segment]));
        button->setFocusPolicy(Qt::StrongFocus);
        button->setToolTip(segment == 0 ? tr("Unmark the selected group")
                                        : tr("Mark all but one file of the selected group"));
        m_keepControl->addButton(button, segment);
        keepRow->addWidget(button);
    }
    m_btnDeselectAll = makeButton(tr("Deselect All"), "btnDeselectAll", false, this);
    m_lblNumMarkedFiles = makeLabel("lblNumMarkedFiles", tr("Marked files"), this);
    m_btnBack = makeButton(tr("Back"), "btnBack", false, this);
    m_btnTrash = makeButton(tr("Move to Trash"), "btnTrash", true, this);
    m_btnTrash->setMinimumWidth(140);
    auto* bottomRow = new QHBoxLayout;
    bottomRow->addWidget(m_btnAutoSelect);
    bottomRow->addWidget(keepBox);
    bottomRow->addWidget(m_btnDeselectAll);
    bottomRow->addSpacing(8);
    bottomRow->addWidget(m_lblNumMarkedFiles, 1);
    bottomRow->addWidget(m_btnBack);
    bottomRow->addWidget(m_btnTrash);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 10);
    column->addWidget(m_categories);
    auto* inner = new QVBoxLayout;
    inner->setContentsMargins(12, 0, 12, 0);
    inner->addLayout(summaryRow);
    inner->addWidget(m_lblScanStopped);
    inner->addWidget(m_lblSelectedCatIssue);
    inner->addWidget(m_splitter, 1);
    inner->addWidget(m_lblCleaned, 1);
    inner->addLayout(bottomRow);
    column->addLayout(inner, 1);

    const QList<QWidget*> chain = focusChain();
    for (int i = 1; i < chain.size(); ++i)
        setTabOrder(chain[i - 1], chain[i]);
}
