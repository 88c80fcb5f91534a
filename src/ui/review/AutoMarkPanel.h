#pragma once

#include <QDialog>

class QCheckBox;
class QPushButton;
class Settings;

// Asks before automatic marking replaces the marks of every shown group. Its check box is the
// "doNotShowAutoMarkDialog" setting. Window-modal, opened with open(); Continue accepts.
class AutoMarkPanel : public QDialog
{
    Q_OBJECT
public:
    AutoMarkPanel(Settings& settings, QWidget* parent = nullptr);

    QCheckBox* doNotShowCheckBox() const { return m_doNotShow; }
    QPushButton* continueButton() const { return m_continue; }
    QPushButton* cancelButton() const { return m_cancel; }

private:
    QCheckBox* m_doNotShow = nullptr;
    QPushButton* m_continue = nullptr;
    QPushButton* m_cancel = nullptr;
};
