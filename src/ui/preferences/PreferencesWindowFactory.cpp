#include "preferences/PreferencesWindowFactory.h"

#include "preferences/TamExcludeViewController.h"
#include "preferences/TamGeneralViewController.h"
#include "preferences/TamPreferencesWindowController.h"
#include "util/AlertPresenter.h"

#include <QCoreApplication>

TamPreferencesWindowController* createPreferencesWindow(Settings& settings,
                                                        ExclusionList::ScanListProvider scanList,
                                                        std::shared_ptr<AlertPresenter> alerts,
                                                        QWidget* parent)
{
    const TamPreferencesWindowController::PaneList panes{
        std::make_shared<TamGeneralViewController>(settings),
        std::make_shared<TamExcludeViewController>(settings, std::move(alerts), std::move(scanList))};
    auto* window = new TamPreferencesWindowController(
        settings, panes, QCoreApplication::translate("TamPreferencesWindowController", "Preferences"),
        parent);
    window->setAttribute(Qt::WA_DeleteOnClose, false); // closing only hides it
    return window;
}
