#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <memory>

class AlertPresenter;
class AppDelegate;
class ResultViewController;
class Settings;

// The desktop application put together: the delegate's main window with the scan view in its
// content area, the preferences window behind the menu item and the "Go To Preferences"
// prompt, and the menu following the scan state.
class DesktopApplication : public QObject
{
    Q_OBJECT
public:
    // Settings must outlive the application object. Without a presenter, alerts are message
    // boxes over the main window.
    explicit DesktopApplication(Settings& settings, std::shared_ptr<AlertPresenter> alerts = {},
                                QObject* parent = nullptr);
    ~DesktopApplication() override;

    AppDelegate* delegate() const { return m_delegate.get(); }
    ResultViewController* resultView() const { return m_resultView; }
    AlertPresenter* alerts() const { return m_alerts.get(); }

    void show();
    // Paths from the command line join the scan list as dropped items do (same checks and
    // messages); with scan set the scan then starts.
    void openPaths(const QList<QByteArray>& paths, bool scan);

private:
    void updateStatusText();

    Settings& m_settings;
    std::unique_ptr<AppDelegate> m_delegate;
    std::shared_ptr<AlertPresenter> m_alerts;
    ResultViewController* m_resultView = nullptr; // owned by the main window
};
