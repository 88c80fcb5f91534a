#pragma once

#include <QDialog>

class QCheckBox;
class QPushButton;
class Settings;

// Asks before the marked items go to the Trash (windowTrashConfirmation). Accepting is
// proceedToTrashMarkedFiles, rejecting is reviewFilesBeforeTrash; the "do not show again" box
// is stored when the user proceeds.
class TrashConfirmationSheet : public QDialog
{
    Q_OBJECT
public:
    TrashConfirmationSheet(Settings& settings, QWidget* parent);

    QCheckBox* doNotShowAgain() const { return m_doNotShowAgain; }
    QPushButton* proceedButton() const { return m_proceed; }
    QPushButton* reviewButton() const { return m_review; }

    void accept() override;

private:
    Settings& m_settings;
    QCheckBox* m_doNotShowAgain;
    QPushButton* m_proceed;
    QPushButton* m_review;
};
