#include "preferences/TamExcludeViewController.h"

#include "preferences/ExclusionTableModel.h"
#include "preferences/PreferencesIcons.h"
#include "util/WidgetAlertPresenter.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

std::shared_ptr<AlertPresenter> presenterOrDefault(std::shared_ptr<AlertPresenter> alerts)
{
    return alerts ? std::move(alerts) : std::make_shared<WidgetAlertPresenter>();
}

} // namespace

TamExcludeViewController::TamExcludeViewController(Settings& settings, std::shared_ptr<AlertPresenter> alerts,
                                                   ExclusionList::ScanListProvider scanList,
                                                   std::shared_ptr<FolderChooser> chooser, QObject* parent)
    : QObject(parent), m_alerts(presenterOrDefault(alerts)),
      m_widgetAlerts(alerts ? nullptr : static_cast<WidgetAlertPresenter*>(m_alerts.get())),
      m_list(new ExclusionList(settings, *m_alerts, std::move(scanList), this)),
      m_chooser(chooser ? std::move(chooser) : std::make_shared<DialogFolderChooser>())
{
    m_model = new ExclusionTableModel(m_list, this);
}

TamExcludeViewController::~TamExcludeViewController()
{
    delete m_view;
}

QIcon TamExcludeViewController::toolbarItemImage() const
{
    return PreferencesIcons::exclusions();
}

QString TamExcludeViewController::toolbarItemLabel() const
{
    return tr("Exclusions");
}

QWidget* TamExcludeViewController::view()
{
    if (!m_view)
        awakeFromNib();
    return m_view;
}

QWidget* TamExcludeViewController::initialKeyView()
{
    view();
    return m_tvExcludeFolder;
}

void TamExcludeViewController::awakeFromNib()
{
    auto* view = new QWidget;
    view->setObjectName(QStringLiteral("TamExcludeView"));
    m_view = view;

    auto* intro = new QLabel(tr("Scans skip these folders and everything inside them."));
    intro->setWordWrap(true);

    auto* table = new QTableView;
    table->setObjectName(QStringLiteral("tvExcludeFolder"));
    table->setModel(m_model);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setShowGrid(false);
    table->setAlternatingRowColors(true);
    table->setWordWrap(false);
    table->setTextElideMode(Qt::ElideNone); // paths are shown in full; the table scrolls instead
    table->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->hide();
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setStretchLastSection(true);
    m_tvExcludeFolder = table;

    auto makeButton = [](const QString& text, const QString& tip, const QString& name) {
        auto* button = new QToolButton;
        button->setObjectName(name);
        button->setText(text);
        button->setToolTip(tip);
        button->setAccessibleName(tip);
        button->setFixedSize(28, 24);
        button->setAutoRaise(false);
        return button;
    };
    auto* addButton = makeButton(QStringLiteral("+"), tr("Add folders to the exclusion list"),
                                 QStringLiteral("btnAddExclusion"));
    auto* removeButton = makeButton(QStringLiteral("\u2212"), tr("Remove the selected folder from the list"),
                                    QStringLiteral("btnRemoveExclusion"));
    m_btnRemove = removeButton;
    auto* hint = new QLabel(tr("Removing a folder here does not touch the folder itself."));
    hint->setForegroundRole(QPalette::PlaceholderText);
    QFont small = hint->font();
    small.setPointSizeF(small.pointSizeF() * 0.9);
    hint->setFont(small);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(0);
    buttons->addWidget(addButton);
    buttons->addWidget(removeButton);
    buttons->addSpacing(12);
    buttons->addWidget(hint, 1);

    auto* layout = new QVBoxLayout(view);
    layout->setContentsMargins(24, 18, 24, 18);
    layout->setSpacing(8);
    layout->addWidget(intro);
    layout->addWidget(table, 1);
    layout->addLayout(buttons);

    connect(addButton, &QToolButton::clicked, this, &TamExcludeViewController::addFolderToExclude);
    connect(removeButton, &QToolButton::clicked, this, &TamExcludeViewController::deleteFolderPath);
    connect(table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &TamExcludeViewController::updateButtons);
    connect(m_model, &QAbstractItemModel::modelReset, this, &TamExcludeViewController::updateButtons);
    updateButtons();

    if (m_widgetAlerts)
        m_widgetAlerts->setWindow(view);
    view->resize(560, 360);
}

int TamExcludeViewController::selectedRow() const
{
    if (!m_tvExcludeFolder)
        return -1;
    const QItemSelectionModel* selection = m_tvExcludeFolder->selectionModel();
    const QModelIndex current = selection->currentIndex();
    if (current.isValid() && selection->isRowSelected(current.row()))
        return current.row();
    const QModelIndexList rows = selection->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void TamExcludeViewController::updateButtons()
{
    if (m_btnRemove)
        m_btnRemove->setEnabled(selectedRow() >= 0);
}

void TamExcludeViewController::addFolderToExclude()
{
    QPointer<TamExcludeViewController> self(this);
    m_chooser->chooseFolders(view(), kAddPrompt, [self](const QStringList& chosen) {
        if (!self || chosen.isEmpty())
            return;
        self->m_list->addFolderToExclude(chosen);
    });
}

void TamExcludeViewController::deleteFolderPath()
{
    const int row = selectedRow();
    if (!m_list->deleteFolderPath(row))
        return;
    // Keep a row selected at the same place, so several entries can be removed in turn.
    if (m_tvExcludeFolder && m_model->rowCount() > 0)
        m_tvExcludeFolder->selectRow(std::min(row, m_model->rowCount() - 1));
}

void TamExcludeViewController::updateArrayFromUserDefaults()
{
    m_list->updateArrayFromUserDefaults();
}
