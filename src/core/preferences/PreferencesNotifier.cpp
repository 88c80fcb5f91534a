#include "preferences/PreferencesNotifier.h"

PreferencesNotifier& PreferencesNotifier::instance()
{
    static PreferencesNotifier notifier;
    return notifier;
}

void PreferencesNotifier::postPreferencesResetToDefaults()
{
    Q_EMIT preferencesResetToDefaults();
}
