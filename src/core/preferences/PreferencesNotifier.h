#pragma once

#include <QObject>
#include <QString>

// The process-wide notification centre of the preferences: the General pane announces a
// restore of the defaults here and every open pane reloads from the settings.
class PreferencesNotifier : public QObject
{
    Q_OBJECT
public:
    // The name the notification goes by in logs and documentation.
    static inline const QString kPreferencesResetToDefaults = QStringLiteral("PreferencesResetToDefaults");

    // Made on first use; connect with the default connection type so a receiver always
    // handles the notification in its own thread.
    static PreferencesNotifier& instance();

    void postPreferencesResetToDefaults();

Q_SIGNALS:
    // "PreferencesResetToDefaults": no object, no user info.
    void preferencesResetToDefaults();

private:
    PreferencesNotifier() = default;
};
