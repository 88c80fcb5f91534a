#include "review/ResultsActions.h"

#include "review/DetailResultViewController.h"
#include "review/ReviewModel.h"
#include "widgets/CustomTableView.h"
#include "widgets/IMGButton.h"

#include <QAction>
#include <QLineEdit>
#include <QMenu>

ResultsActions::ResultsActions(DetailResultViewController* view) : QObject(view), m_view(view)
{
    m_menu = new QMenu(tr("&Results"), view);
    m_menu->setObjectName(QStringLiteral("resultsMenu"));

    m_find = add(tr("Find..."), QKeySequence(Qt::CTRL | Qt::Key_F), "search");
    connect(m_find, &QAction::triggered, view, [view] {
        view->searchTextField()->setFocus(Qt::ShortcutFocusReason);
        view->searchTextField()->selectAll();
    });
    m_menu->addSeparator();
    for (int index = -1; index < ReviewModel::kCategoryCount; ++index) {
        QAction* action = add(ReviewModel::categoryTitle(index),
                              QKeySequence(Qt::CTRL | (Qt::Key_0 + index + 1)), "category");
        connect(action, &QAction::triggered, view, [view, index] { view->selectCategory(index); });
        m_categories[size_t(index + 1)] = action;
    }
    m_menu->addSeparator();

    // Space belongs to the file table only: elsewhere it presses buttons and types blanks.
    m_toggleMark = add(tr("Mark or Unmark File"), QKeySequence(Qt::Key_Space), "toggleMark");
    m_toggleMark->setShortcutContext(Qt::WidgetShortcut);
    view->removeAction(m_toggleMark);
    view->tvFileDupResult()->addAction(m_toggleMark);
    connect(m_toggleMark, &QAction::triggered, view, &DetailResultViewController::toggleSelectedMark);

    m_reveal = add(tr("Show in File Manager"), QKeySequence(Qt::CTRL | Qt::Key_R), "revealFileInFinder");
    connect(m_reveal, &QAction::triggered, view, [view] {
        const QModelIndex current = view->tvFileDupResult()->currentIndex();
        if (current.isValid())
            view->revealFileInFinder(current.row());
    });
    m_autoMark = add(tr("Mark Duplicates Automatically..."), QKeySequence(Qt::CTRL | Qt::Key_M), "autoMark");
    connect(m_autoMark, &QAction::triggered, view, &DetailResultViewController::autoMarkAllDuplicate);
    m_deselectAll = add(tr("Deselect All"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_M), "unMarkAll");
    connect(m_deselectAll, &QAction::triggered, view, &DetailResultViewController::unMarkAllDuplicate);
    m_trash = add(tr("Move Marked to Trash..."), QKeySequence(Qt::Key_Delete), "removeSelectedItems");
    connect(m_trash, &QAction::triggered, view, &DetailResultViewController::removeSelectedItems);
    m_menu->addSeparator();
    m_back = add(tr("Back to Scan List"), QKeySequence(Qt::ALT | Qt::Key_Left), "back");
    connect(m_back, &QAction::triggered, view, &DetailResultViewController::backRequested);
    updateEnabled();
}

QAction* ResultsActions::add(const QString& text, const QKeySequence& shortcut, const char* objectName)
{
    QAction* action = m_menu->addAction(text);
    action->setObjectName(QLatin1String(objectName));
    action->setShortcut(shortcut);
    action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_view->addAction(action);
    return action;
}

void ResultsActions::updateEnabled()
{
    const bool fileSelected = m_view->tvFileDupResult()->currentIndex().isValid();
    m_toggleMark->setEnabled(fileSelected);
    m_reveal->setEnabled(fileSelected);
    m_autoMark->setEnabled(m_view->btnAutoSelect()->isEnabled());
    m_deselectAll->setEnabled(m_view->btnDeselectAll()->isEnabled());
    m_trash->setEnabled(m_view->btnTrash()->isEnabled() && m_view->btnTrash()->isVisibleTo(m_view));
}
