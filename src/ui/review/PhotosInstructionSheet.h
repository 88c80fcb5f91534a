#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

// Tells how marked Photos items are removed (windowPhotosAppInstruction). Continue works only
// after Open was pressed and the library open request has ended (enableContinue).
class PhotosInstructionSheet : public QDialog
{
    Q_OBJECT
public:
    explicit PhotosInstructionSheet(QWidget* parent);

    // The third instruction line, by the system version.
    static QString instructionThreeText();

    QPushButton* openButton() const { return m_open; }
    QPushButton* btnContinuePhotosLibrary() const { return m_continue; }
    QLabel* lblinstructionThree() const { return m_lblinstructionThree; }

    void enableContinue();

Q_SIGNALS:
    // openPhotosLibrary: the owner asks the Photos application, then calls enableContinue.
    void openRequested();

private:
    QLabel* m_lblinstructionThree;
    QPushButton* m_open;
    QPushButton* m_continue;
};
