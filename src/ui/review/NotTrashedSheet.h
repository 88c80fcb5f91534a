#pragma once

#include "review/TrashRun.h"

#include <QDialog>

class FileViewer;
class NotTrashedTableModel;
class QPushButton;
class QTableView;

// The files a run left in place, each with its reason and a button that shows it in the file
// manager (windowFileNotDeletedList). OK is closeWindowNotDeletedFileList.
class NotTrashedSheet : public QDialog
{
    Q_OBJECT
public:
    NotTrashedSheet(FileViewer& viewer, QWidget* parent);

    void setFiles(std::vector<NotTrashedFile> files);
    void revealNotDeletedFileInFinder(int row);

    QTableView* tvFileNotDeletedList() const { return m_table; }
    NotTrashedTableModel* model() const { return m_model; }
    QPushButton* okButton() const { return m_ok; }

private:
    FileViewer& m_viewer;
    NotTrashedTableModel* m_model;
    QTableView* m_table;
    QPushButton* m_ok;
};
