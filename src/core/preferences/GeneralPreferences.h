#pragma once

#include "cache/SqliteDBOperations.h"

#include <QByteArray>

class Settings;

// What the General pane does besides editing single keys: restoring the defaults and
// removing the hash cache file.
class GeneralPreferences
{
public:
    GeneralPreferences() = delete;

    // Writes every key the pane shows explicitly (even when equal to its registered default, so
    // a later change of the defaults does not move it), in a fixed order, synchronizes, then
    // posts "PreferencesResetToDefaults". Keys the pane does not show are left alone.
    static void resetDefaultSetiing(Settings& settings);

    // Removes the cache database file and nothing else. A failure (a missing file, say) is
    // only logged; there is nothing to tell the user. Returns whether the file was removed.
    static bool clearCache(const QByteArray& dbPath);
    // The same for the application's own cache database.
    static bool clearCache() { return clearCache(SqliteDBOperations::getDbPathInLibrary()); }
};
