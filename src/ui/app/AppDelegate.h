#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

class HeaderView;
class MainWindow;
class QAction;
class QMenu;
class QMessageBox;
class QWidget;

// Prepares the process and owns the main window: the header with the status text, the
// content area for the scan screen, the application menu and the preferences window.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // Class start-up, before the delegate is used: registers the default settings and sets
    // the process-wide values. Runs its work once per process.
    static void initialize();

    // Instance start-up: builds the main window (not shown yet) with its header and menu.
    void awakeFromNib();

    MainWindow* mainWindow() const;
    HeaderView* viewHeader() const;

    // The status text in the header ("Select folder to scan" at start).
    void setStatusText(const QString& text);
    QString statusText() const;

    // The scan screen: put into the main window's content area, replacing what was there
    // (the window owns it from then on).
    void setContentView(QWidget* view);
    QWidget* contentView() const;
    QWidget* resultView() const { return contentView(); }

    // Puts the header's start text in place and the scan screen, when one is set, into the
    // window.
    void setHeaderForWindow();
    void addResultViewControllerOnWindow();

    // Makes the preferences window on its first use. The delegate owns the window.
    void setPreferencesWindowFactory(std::function<QWidget*()> factory);
    QWidget* preferencesWindowController() const { return m_preferencesWindow; }

    QAction* preferencesAction() const { return m_preferencesAction; }
    QAction* quitAction() const { return m_quitAction; }
    QAction* aboutAction() const { return m_aboutAction; }
    QMenu* applicationMenu() const { return m_applicationMenu; }
    QMenu* helpMenu() const { return m_helpMenu; }

    // Whether a menu action can be used now: Preferences is unavailable while a scan runs.
    bool validateMenuItem(const QAction* action) const;

public Q_SLOTS:
    // Refreshes the enabled state of every menu action (call when a scan starts or ends).
    void updateMenuState();

    // Shows the preferences window (made on first use) in front of every other window.
    void openPrefernces();
    // Closing the main window ends the application; other windows just close.
    void windowWillClose(QWidget* window);
    // Quillon has no online help (it sends nothing over the network): shows the About box.
    void helpMenuTapped();

private:
    void buildMenus();
    void requestQuit();

    std::unique_ptr<MainWindow> m_mainWindow;
    std::function<QWidget*()> m_preferencesFactory;
    QPointer<QWidget> m_preferencesWindow;
    QPointer<QMessageBox> m_aboutBox;
    QMenu* m_applicationMenu = nullptr;
    QMenu* m_helpMenu = nullptr;
    QAction* m_preferencesAction = nullptr;
    QAction* m_quitAction = nullptr;
    QAction* m_aboutAction = nullptr;
    bool m_quitPending = false;
};
