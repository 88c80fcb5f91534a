#pragma once

#include <QTableView>

class AlertPresenter;

// The table of the scan list: says what to do while it is empty, and takes dropped items like
// the drop area does.
class ScanListTableView : public QTableView
{
    Q_OBJECT
public:
    explicit ScanListTableView(QWidget* parent = nullptr);

    void setAlertPresenter(AlertPresenter* alerts) { m_alerts = alerts; }
    void setPlaceholderText(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    AlertPresenter* m_alerts = nullptr;
    QString m_placeholder;
};
