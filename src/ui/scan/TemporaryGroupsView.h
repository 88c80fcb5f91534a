#pragma once

#include <QWidget>
#include <vector>

struct DuplicateGroup;
class GroupsTreeModel;
class QLabel;
class QPushButton;
class QTreeView;

// A plain read-only list of the duplicate groups a scan found, with a Back button, so that a
// scan can be checked by eye until the full results view takes its place.
class TemporaryGroupsView : public QWidget
{
    Q_OBJECT
public:
    explicit TemporaryGroupsView(QWidget* parent = nullptr);

    // The groups are not owned. dupCount is the number of copies beyond the first.
    void setGroups(const std::vector<DuplicateGroup*>& groups, quint32 dupCount);

    QLabel* summaryLabel() const { return m_summary; }
    QTreeView* treeView() const { return m_tree; }
    GroupsTreeModel* model() const { return m_model; }
    QPushButton* backButton() const { return m_back; }

Q_SIGNALS:
    void backRequested();

private:
    QLabel* m_summary = nullptr;
    QTreeView* m_tree = nullptr;
    GroupsTreeModel* m_model = nullptr;
    QPushButton* m_back = nullptr;
};
