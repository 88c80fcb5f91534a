#pragma once

#include <QDialog>

class QLabel;
class QPushButton;

// What a run removed (windowAfterClean). OK is backToDetailView, "Back to Scan" is
// backToMainView; Put Back returns the moved files.
class TrashSummarySheet : public QDialog
{
    Q_OBJECT
public:
    // No rating row: the short sheet.
    static constexpr int kHeight = 186;

    explicit TrashSummarySheet(QWidget* parent);

    // Rich text: from the first ':' to the end in bold 13-pixel type; no ':' stays plain.
    static QString boldAndNonBoldString(const QString& text);
    void showAfterTrashWindowWithCountSizeStatus(int countTrashed, quint64 sizeTrashed);
    // Put Back is offered only when there are files it can return.
    void setPutBackAvailable(bool available);

    QLabel* lblDupCleaned() const { return m_lblDupCleaned; }
    QLabel* lblDupSIzeCleaned() const { return m_lblDupSIzeCleaned; }
    QPushButton* putBackButton() const { return m_putBack; }
    QPushButton* backToMainButton() const { return m_backToMain; }
    QPushButton* okButton() const { return m_ok; }

Q_SIGNALS:
    void putBackRequested();
    void backToDetailView();
    void backToMainView();

private:
    QLabel* m_lblDupCleaned;
    QLabel* m_lblDupSIzeCleaned;
    QPushButton* m_putBack;
    QPushButton* m_backToMain;
    QPushButton* m_ok;
};
