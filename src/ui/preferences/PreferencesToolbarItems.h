#pragma once

#include "preferences/TamPreferencesViewControllerProtocol.h"

class QAction;
class QObject;

// Turns a pane's toolbar item into the action the window's toolbar shows: a checkable button
// for a pane, a separator, a stretching or a fixed space, or a button for the other standard items.
namespace PreferencesToolbarItems {

QAction* makeAction(const TamToolbarItem& item, QObject* parent);
// The identifier the action was made with.
QString itemIdentifier(const QAction* action);

} // namespace PreferencesToolbarItems
