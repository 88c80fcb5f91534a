#include "util/CommonFuncs.h"

#include "platform/Platform.h"
#include "util/PathUtils.h"

#include <QFile>
#include <QLocale>
#include <QStringList>
#include <QTimeZone>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <plist/plist.h>

QString CommonFuncs::getSizeInUnits(quint64 bytes)
{
    // Past "TB" the steps go on, so even the largest byte count reads sensibly.
    static const char* const units[] = {"bytes", "KB", "MB", "GB", "TB", "PB", "EB"};
    constexpr int lastUnit = int(std::size(units)) - 1;
    double value = double(bytes);
    int index = 0;
    while (value >= 1000.0 && index < lastUnit) {
        value /= 1000.0;
        ++index;
    }
    const QString unit = QLatin1String(units[index]);
    if (value == 0.0)
        return QStringLiteral("0 %1").arg(unit);
    // The unit is chosen before rounding, so 999,999 bytes read "1000.00 KB".
    const QString number = QString::asprintf(index == 0 ? "%4.0f" : "%4.2f", value);
    return (number + QLatin1Char(' ') + unit).trimmed();
}

QString CommonFuncs::getDateTimeStringFromDate(const QDateTime& date)
{
    if (!date.isValid())
        return {};
    // Twelve-hour clock with AM/PM, English month names whatever the user's locale.
    return QLocale::c().toString(date.toLocalTime(), QStringLiteral("MMM dd, yyyy hh:mm:ss AP"));
}

QDateTime CommonFuncs::dateFromSeconds(double secondsSince1970)
{
    if (secondsSince1970 == 0 || !std::isfinite(secondsSince1970))
        return {};
    return QDateTime::fromMSecsSinceEpoch(qint64(std::llround(secondsSince1970 * 1000.0)));
}

namespace {

// The value under "Application Version" of the library's AlbumData.xml (XML or binary
// property list); nothing when the file is missing or unreadable.
std::optional<QString> albumDataApplicationVersion(const QByteArray& libraryPath)
{
    const std::optional<QByteArray> xmlPath =
        PathUtils::resolveIgnoringCase(libraryPath, QByteArrayLiteral("AlbumData.xml"));
    if (!xmlPath)
        return std::nullopt;
    QFile file(QFile::decodeName(*xmlPath));
    if (!file.open(QIODevice::ReadOnly) || file.size() > qint64(std::numeric_limits<uint32_t>::max()))
        return std::nullopt;
    const QByteArray data = file.readAll();
    plist_t root = nullptr;
    plist_from_memory(data.constData(), uint32_t(data.size()), &root);
    if (!root)
        return std::nullopt;
    std::optional<QString> version;
    if (plist_get_node_type(root) == PLIST_DICT) {
        plist_t item = plist_dict_get_item(root, "Application Version");
        if (item && plist_get_node_type(item) == PLIST_STRING) {
            char* text = nullptr;
            plist_get_string_val(item, &text);
            if (text) {
                version = QString::fromUtf8(text);
                std::free(text);
            }
        }
    }
    plist_free(root);
    return version;
}

} // namespace

QString CommonFuncs::getPhotoLibraryVersion(const QByteArray& libraryPath)
{
    const std::optional<QString> version = albumDataApplicationVersion(libraryPath);
    if (!version)
        return {};
    return getPhotoLibraryMajorVersion(*version);
}

QString CommonFuncs::getPhotoLibraryMajorVersion(const QString& version)
{
    return version.section(QLatin1Char('.'), 0, 0);
}

QString CommonFuncs::photoLibrary_MastersOrOriginal(const QByteArray& libraryPath)
{
    if (getPhotoLibraryVersion(libraryPath) != QLatin1String("9"))
        return {};
    const std::optional<QByteArray> masters =
        PathUtils::resolveIgnoringCase(libraryPath, QByteArrayLiteral("masters"));
    if (!masters || !PathUtils::isDirectory(*masters))
        return {};
    return QStringLiteral("masters");
}

bool CommonFuncs::isPkgPhotoLib(const QByteArray& libraryPath)
{
    // A folder name comes back only after AlbumData.xml was read and the folder was found.
    return !photoLibrary_MastersOrOriginal(libraryPath).isEmpty();
}

bool CommonFuncs::isiPhotoLibrary9AndAbove(const QByteArray& libraryPath)
{
    const QString version = getPhotoLibraryVersion(libraryPath);
    if (version.isEmpty())
        return false;
    const QString major = getPhotoLibraryMajorVersion(version);
    return major != QLatin1String("8") && major != QLatin1String("7");
}

bool CommonFuncs::checkAppOpen(const QString& bundleIdentifier)
{
    return Platform::isApplicationRunning(bundleIdentifier);
}

QByteArray CommonFuncs::getDataBasePathForPhotosLib(const QByteArray& libraryPath)
{
    static const char* const candidates[] = {"database/apdb/Library.apdb", "database/Library.apdb",
                                             "database/apdb/photos.db"};
    for (const char* relative : candidates) {
        if (const std::optional<QByteArray> found = PathUtils::resolveIgnoringCase(libraryPath, relative))
            return *found;
    }
    // The last choice is answered even when it is missing.
    const QByteArray last = QByteArrayLiteral("database/photos.db");
    return PathUtils::resolveIgnoringCase(libraryPath, last).value_or(PathUtils::join(libraryPath, last));
}
