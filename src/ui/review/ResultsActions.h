#pragma once

#include <QObject>
#include <array>

class DetailResultViewController;
class QAction;
class QMenu;

// The results view's commands with their shortcuts, for its menu in the menu bar. The
// shortcuts work while the focus is in the view (Space only in the file table), so they never
// act on a screen that is not shown.
class ResultsActions : public QObject
{
    Q_OBJECT
public:
    explicit ResultsActions(DetailResultViewController* view);

    QMenu* menu() const { return m_menu; }
    QAction* find() const { return m_find; }
    // -1 is "All Categories" (Ctrl+0), 0..5 the categories (Ctrl+1..6).
    QAction* category(int index) const { return m_categories[size_t(index + 1)]; }
    QAction* toggleMark() const { return m_toggleMark; }
    QAction* showInFileManager() const { return m_reveal; }
    QAction* autoMark() const { return m_autoMark; }
    QAction* deselectAll() const { return m_deselectAll; }
    QAction* moveToTrash() const { return m_trash; }
    QAction* back() const { return m_back; }

    // Follows the buttons and the selection.
    void updateEnabled();

private:
    QAction* add(const QString& text, const QKeySequence& shortcut, const char* objectName);

    DetailResultViewController* m_view;
    QMenu* m_menu = nullptr;
    QAction* m_find = nullptr;
    std::array<QAction*, 7> m_categories{};
    QAction* m_toggleMark = nullptr;
    QAction* m_reveal = nullptr;
    QAction* m_autoMark = nullptr;
    QAction* m_deselectAll = nullptr;
    QAction* m_trash = nullptr;
    QAction* m_back = nullptr;
};
