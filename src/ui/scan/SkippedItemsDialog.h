#pragma once

#include "model/ScanResult.h"

#include <QDialog>
#include <vector>

class FileViewer;
class QTableView;
class SkippedItemsModel;

// Lists the items a scan could not read (path, reason); the selected ones can be shown in the
// file manager. Window-modal, opened with open().
class SkippedItemsDialog : public QDialog
{
    Q_OBJECT
public:
    SkippedItemsDialog(std::vector<SkippedItem> items, FileViewer* viewer, QWidget* parent = nullptr);

    QTableView* table() const { return m_table; }
    // Shows the selected items (or the current one) in the file manager.
    void revealSelected();

private:
    SkippedItemsModel* m_model;
    QTableView* m_table;
    FileViewer* m_viewer;
};
