#pragma once

#include "scan/PathChooser.h"

#include <QWidget>

class AlertPresenter;
class DDCustomView;
class IMGButton;
class LinkButton;
class DragDropBox;
class DragDropImageView;
class QLabel;
class QMenu;
class RemoveButtonDelegate;
class ScanList;
class ScanListModel;
class ScanListTableView;

// The first screen: the drop area with the add button, the table of the scan list with its
// row menu, and the Scan button.
class ScanListView : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kAddToolTip = QStringLiteral("Add Folder/ iPhoto Library/ Photos Library");

    explicit ScanListView(ScanList* list, QWidget* parent = nullptr);

    void setAlertPresenter(AlertPresenter* alerts);

    // The row menu for a right click on clickedRow (-1: away from any row); each action's
    // data is its command tag.
    QMenu* createRowMenu(int clickedRow, QWidget* parent);

    DragDropBox* dropBox() const { return m_dropBox; }
    DragDropImageView* imageView() const { return m_imageView; }
    IMGButton* addButton() const { return m_addButton; }
    LinkButton* addFilesLink() const { return m_addFilesLink; }
    ScanListTableView* tableView() const { return m_table; }
    ScanListModel* model() const { return m_model; }
    IMGButton* scanButton() const { return m_scanButton; }
    QLabel* countLabel() const { return m_countLabel; }

Q_SIGNALS:
    void addRequested(PathChooser::Kind kind);
    void scanRequested();

private:
    QWidget* buildDropArea();
    void updateCount();
    void showRowMenu(const QPoint& pos);

    ScanList* m_list;
    DragDropBox* m_dropBox = nullptr;
    DDCustomView* m_dropFrame = nullptr;
    DragDropImageView* m_imageView = nullptr;
    IMGButton* m_addButton = nullptr;
    LinkButton* m_addFilesLink = nullptr;
    ScanListTableView* m_table = nullptr;
    ScanListModel* m_model = nullptr;
    RemoveButtonDelegate* m_removeDelegate = nullptr;
    IMGButton* m_scanButton = nullptr;
    QLabel* m_countLabel = nullptr;
};
