#pragma once

#include "preferences/ExclusionList.h"
#include "preferences/FolderChooser.h"
#include "preferences/TamPreferencesViewControllerProtocol.h"

#include <QObject>
#include <QPointer>
#include <QTableView>
#include <memory>

class AlertPresenter;
class ExclusionTableModel;
class WidgetAlertPresenter;
class QAbstractButton;
class Settings;

// The Exclusions pane: the folders every scan skips, with buttons to add folders (through a
// folder dialog) and to remove the selected one. The rules live in ExclusionList.
class TamExcludeViewController : public QObject, public TamPreferencesViewControllerProtocol
{
    Q_OBJECT
public:
    static inline const QString kAddPrompt = QStringLiteral("Add To Exclusions");

    // Settings are not owned and must outlive the pane. Without a presenter the alerts appear as
    // message boxes over the pane's window; without a chooser the file dialog is used.
    TamExcludeViewController(Settings& settings, std::shared_ptr<AlertPresenter> alerts,
                             ExclusionList::ScanListProvider scanList,
                             std::shared_ptr<FolderChooser> chooser = {}, QObject* parent = nullptr);
    ~TamExcludeViewController() override;

    QString identifier() const override { return QStringLiteral("TamExcludeViewController"); }
    QIcon toolbarItemImage() const override;
    QString toolbarItemLabel() const override;
    QWidget* view() override;
    QWidget* initialKeyView() override;

    ExclusionList& exclusionList() { return *m_list; }
    // The table of excluded folders; null until the view is made.
    QTableView* tvExcludeFolder() const { return m_tvExcludeFolder; }
    // The row the remove buttons act on; -1 when none is selected.
    int selectedRow() const;

public Q_SLOTS:
    void addFolderToExclude();
    void deleteFolderPath();
    void updateArrayFromUserDefaults();

private:
    void awakeFromNib();
    void updateButtons();

    std::shared_ptr<AlertPresenter> m_alerts;
    WidgetAlertPresenter* m_widgetAlerts = nullptr; // m_alerts when the pane made it
    ExclusionList* m_list;
    std::shared_ptr<FolderChooser> m_chooser;
    QPointer<QWidget> m_view;
    QPointer<QTableView> m_tvExcludeFolder;
    QPointer<QAbstractButton> m_btnRemove;
    ExclusionTableModel* m_model = nullptr;
};
