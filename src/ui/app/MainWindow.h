#pragma once

#include <QMainWindow>
#include <QPointer>

class HeaderView;
class QVBoxLayout;

// The one main window: the header band above a content area that holds the current screen.
class MainWindow : public QMainWindow
{
    Q_OBJECT
public:
    explicit MainWindow(QWidget* parent = nullptr);

    HeaderView* header() const { return m_header; }
    QWidget* contentArea() const { return m_contentArea; }

    // Puts the widget into the content area, filling it. The window owns the widget; the
    // previous content is deleted (use takeContentView() first to keep it).
    void setContentView(QWidget* view);
    QWidget* contentView() const { return m_contentView; }
    // Removes the current content without deleting it; the caller owns it afterwards.
    QWidget* takeContentView();

Q_SIGNALS:
    // The window accepted a close request and is about to go away.
    void windowWillClose(QWidget* window);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    HeaderView* m_header = nullptr;
    QWidget* m_contentArea = nullptr;
    QVBoxLayout* m_contentLayout = nullptr;
    QPointer<QWidget> m_contentView;
};
