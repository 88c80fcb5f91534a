#pragma once

#include <QDialog>

class QLabel;
class QProgressBar;
class QPushButton;
class QTimer;
class TrashRun;

// The progress of a Trash run (windowTrash), read from the run's counters on a timer so the
// worker never waits on the window. Stop (abortCleanning) ends the run after the current file.
class TrashProgressSheet : public QDialog
{
    Q_OBJECT
public:
    static constexpr int kRefreshMs = 50;

    TrashProgressSheet(TrashRun& run, QWidget* parent);

    QLabel* lblFileCountTrash() const { return m_lblFileCountTrash; }
    QLabel* lblBytesCompared() const { return m_lblBytesCompared; }
    QProgressBar* progressBarTrashWindow() const { return m_progressBarTrashWindow; }
    QPushButton* btnStopTrashing() const { return m_btnStopTrashing; }
    QProgressBar* indicatorStop() const { return m_indicatorStop; }

    void updateTrashCount();
    void abortCleanning();
    // The run has ended: last numbers, then the sheet closes.
    void finish();

    // Escape asks to stop; the sheet closes only when the run has ended.
    void reject() override { abortCleanning(); }

private:
    TrashRun& m_run;
    QLabel* m_lblFileCountTrash;
    QLabel* m_lblBytesCompared;
    QProgressBar* m_progressBarTrashWindow;
    QPushButton* m_btnStopTrashing;
    QProgressBar* m_indicatorStop;
    QTimer* m_timer;
};
