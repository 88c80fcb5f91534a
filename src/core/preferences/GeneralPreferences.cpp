#include "preferences/GeneralPreferences.h"

#include "app/Settings.h"
#include "preferences/PreferencesNotifier.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <cerrno>
#include <unistd.h>

void GeneralPreferences::resetDefaultSetiing(Settings& settings)
{
    settings.setValue(Settings::kDoNotShowConfirmationDialogOnTrash, false);
    settings.setValue(Settings::kDoNotShowAutoMarkDialog, false);
    settings.setValue(Settings::kAutoSelectOption, 1);
    settings.setValue(Settings::kMinimumFileSize, 10);
    settings.setValue(Settings::kFileSizeUnit, 0);
    settings.setValue(Settings::kAutoMarkPhotos, false);
    settings.setExcludedFolders(Settings::getExcludedFolders());
    settings.synchronize();
    PreferencesNotifier::instance().postPreferencesResetToDefaults();
}

bool GeneralPreferences::clearCache(const QByteArray& dbPath)
{
    if (dbPath.isEmpty()) {
        quillonLog(QStringLiteral("Cannot remove the cache database: no path"));
        return false;
    }
    // unlink, not a recursive removal: a folder that happens to stand at this path is refused.
    if (::unlink(dbPath.constData()) != 0) {
        const int error = errno;
        quillonLog(QStringLiteral("Cannot remove the cache database %1: %2")
                       .arg(PathUtils::toDisplay(dbPath), qt_error_string(error)));
        return false;
    }
    return true;
}
