#include "preferences/TamPreferencesCustomPlaceholderController.h"

std::shared_ptr<TamPreferencesCustomPlaceholderController>
TamPreferencesCustomPlaceholderController::controllerWithIdentifier(const QString& identifier)
{
    return std::make_shared<TamPreferencesCustomPlaceholderController>(identifier);
}
