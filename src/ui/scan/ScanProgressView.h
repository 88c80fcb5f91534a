#pragma once

#include <QWidget>

class ElidedLabel;
class IMGButton;
class LinkButton;
class QLabel;
class QProgressBar;

// The scan's progress and its end: the state line, total size, scanned and duplicate counts,
// the space that removing duplicates would free, the file being processed, and the Stop,
// Back and Show Results buttons.
class ScanProgressView : public QWidget
{
    Q_OBJECT
public:
    static inline const QString kScanningText = QStringLiteral("Scan in progress, please wait...");
    static inline const QString kCompletedText = QStringLiteral("Scan Completed");

    explicit ScanProgressView(QWidget* parent = nullptr);

    // Scanning: Stop shown and enabled, Back and Show Results hidden, the bar busy.
    void showScanning();
    // The end: Stop hidden, Back shown, Show Results shown and enabled when groups exist.
    void showFinished(bool hasGroups);
    // Stop was pressed: the button stays until the worker has stopped, but cannot be pressed again.
    void showStopping();

    // The end-of-scan details: how many items could not be read (with a button that lists
    // them) and how many paths reached a file already recorded. Hidden when both are 0.
    void showSkipped(size_t skipped, size_t sameFileAgain);

    void setCounters(quint32 countScanned, quint64 totSizeScanned, quint32 countDup, quint64 sizeDup);
    void setCurrentFile(const QByteArray& path);

    // The size text with its number larger than its unit.
    static QString differentFontString(const QString& sizeText);

    QLabel* titleLabel() const { return m_title; }
    QLabel* totalSizeLabel() const { return m_totalSize; }
    QLabel* scannedCountLabel() const { return m_scannedCount; }
    QLabel* dupCountLabel() const { return m_dupCount; }
    QLabel* reclaimableLabel() const { return m_reclaimable; }
    ElidedLabel* currentFileLabel() const { return m_currentFile; }
    IMGButton* stopButton() const { return m_stop; }
    IMGButton* backButton() const { return m_back; }
    IMGButton* showResultsButton() const { return m_showResults; }
    QLabel* skippedLabel() const { return m_skipped; }
    LinkButton* skippedButton() const { return m_showSkipped; }

Q_SIGNALS:
    void stopRequested();
    void backRequested();
    void showResultsRequested();
    void skippedItemsRequested();

private:
    QWidget* makeCounter(const QString& caption, QLabel*& value);

    QLabel* m_title = nullptr;
    QLabel* m_picture = nullptr;
    QLabel* m_totalSize = nullptr;
    QLabel* m_scannedCount = nullptr;
    QLabel* m_dupCount = nullptr;
    QLabel* m_reclaimable = nullptr;
    ElidedLabel* m_currentFile = nullptr;
    QProgressBar* m_busy = nullptr;
    IMGButton* m_stop = nullptr;
    IMGButton* m_back = nullptr;
    IMGButton* m_showResults = nullptr;
    QLabel* m_skipped = nullptr;
    LinkButton* m_showSkipped = nullptr;
};
