#pragma once

#include "preferences/ExclusionList.h"

#include <memory>

class AlertPresenter;
class QWidget;
class Settings;
class TamPreferencesWindowController;

// The application's preferences window: the General pane, then the Exclusions pane, titled
// "Preferences" until it loads (the title then follows the selected pane). The settings must
// outlive the window; scanList answers the scan list's paths when asked. Without a presenter
// the alerts appear as message boxes over the window.
TamPreferencesWindowController* createPreferencesWindow(Settings& settings,
                                                        ExclusionList::ScanListProvider scanList,
                                                        std::shared_ptr<AlertPresenter> alerts = {},
                                                        QWidget* parent = nullptr);
