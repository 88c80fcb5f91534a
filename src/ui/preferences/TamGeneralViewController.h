#pragma once

#include "preferences/TamPreferencesViewControllerProtocol.h"

#include <QCheckBox>
#include <QObject>
#include <QPointer>

class QButtonGroup;
class QComboBox;
class QPushButton;
class QRadioButton;
class QSpinBox;
class QWidget;
class Settings;

// The General pane: the scan's minimum file size, which copy automatic marking keeps, the
// confirmations, clearing the hash cache and restoring the defaults. Every change is stored at
// once, so the next scan and the next review read it without a restart.
class TamGeneralViewController : public QObject, public TamPreferencesViewControllerProtocol
{
    Q_OBJECT
public:
    // autoSelectOption values: 1 keeps the oldest copy of each group, any other the newest.
    static constexpr int kKeepOldest = 1;
    static constexpr int kKeepNewest = 2;

    // Settings are not owned and must outlive the pane.
    explicit TamGeneralViewController(Settings& settings, QObject* parent = nullptr);
    ~TamGeneralViewController() override;

    QString identifier() const override { return QStringLiteral("TamGeneralViewController"); }
    QIcon toolbarItemImage() const override;
    QString toolbarItemLabel() const override;
    QWidget* view() override;
    QWidget* initialKeyView() override;
    bool commitEditing() override;

    // The check box of "autoMarkPhotos"; null until the view is made.
    QCheckBox* btnAutoMarkPhotoLib() const { return m_btnAutoMarkPhotoLib; }

public Q_SLOTS:
    // Removes the cache database; a failure is only logged.
    void clearCache();
    // Writes every key of the pane back to its default and tells every pane.
    void resetDefaultSetiing();
    // Shows the stored values without writing anything.
    void updateControlsFromUserDefaults();

private:
    void awakeFromNib();
    void store(const QString& key, const QVariant& value);

    Settings& m_settings;
    QPointer<QWidget> m_view;
    QPointer<QCheckBox> m_btnAutoMarkPhotoLib;
    QPointer<QCheckBox> m_chkNoTrashConfirmation;
    QPointer<QCheckBox> m_chkNoAutoMarkDialog;
    QPointer<QRadioButton> m_rbKeepOldest;
    QPointer<QRadioButton> m_rbKeepNewest;
    QPointer<QSpinBox> m_spinMinimumSize;
    QPointer<QComboBox> m_cmbSizeUnit;
};
