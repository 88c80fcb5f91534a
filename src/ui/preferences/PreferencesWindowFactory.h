#pragma once

#include "preferences/ExclusionList.h"

class AlertPresenter;
class QWidget;
class Settings;
class TamPreferencesWindowController;

// The application's preferences window: the General pane, then the Exclusions pane, titled
// "Preferences" until it loads (the title then follows the selected pane). The settings and
// alerts must outlive the window; scanList answers the scan list's paths when asked.
TamPreferencesWindowController* createPreferencesWindow(Settings& settings, AlertPresenter& alerts,
                                                        ExclusionList::ScanListProvider scanList,
                                                        QWidget* parent = nullptr);
