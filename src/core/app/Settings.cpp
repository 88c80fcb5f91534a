#include "app/Settings.h"

#include "platform/Platform.h"

#include <QMutex>
#include <QMutexLocker>

namespace {

QMutex& registeredMutex()
{
    static QMutex m;
    return m;
}

QVariantMap& registered()
{
    static QVariantMap map;
    return map;
}

} // namespace

Settings::Settings(QSettings* store) : m_store(store) {}

QSettings* Settings::standardStore()
{
    static QSettings* store = new QSettings(QStringLiteral("Quillon"), QStringLiteral("Quillon"));
    return store;
}

Settings& Settings::standard()
{
    static Settings settings(standardStore());
    return settings;
}

QStringList Settings::getExcludedFolders()
{
#ifdef Q_OS_MACOS
    const QString user = Platform::userShortName();
    return {QStringLiteral("/Applications"),
            QStringLiteral("/Users/%1/Library").arg(user),
            QStringLiteral("/Users/%1/.Trash").arg(user),
            QStringLiteral("/Users/%1/Dropbox").arg(user),
            QStringLiteral("/System"),
            QStringLiteral("/Library"),
            QStringLiteral("/Developer")};
#else
    const QString home = QString::fromUtf8(Platform::homePath());
    return {QStringLiteral("/proc"),
            QStringLiteral("/sys"),
            QStringLiteral("/dev"),
            QStringLiteral("/run"),
            home + QStringLiteral("/.cache"),
            home + QStringLiteral("/.local/share/Trash"),
            home + QStringLiteral("/Dropbox")};
#endif
}

void Settings::registereUserDefaults()
{
    QVariantMap defaults;
    defaults.insert(kDoNotShowConfirmationDialogOnTrash, false);
    defaults.insert(kAutoMarkPhotos, false);
    defaults.insert(kDoNotShowAutoMarkDialog, false);
    defaults.insert(kAutoSelectOption, 1);
    defaults.insert(kMinimumFileSize, 10);
    defaults.insert(kFileSizeUnit, 0);
    defaults.insert(kAppVersion, QStringLiteral("0.0"));
    defaults.insert(kPhoneNumber, QString());
    defaults.insert(kExcludedFolders, getExcludedFolders());
    QMutexLocker lock(&registeredMutex());
    registered() = defaults;
}

QVariantMap Settings::registeredDefaults()
{
    QMutexLocker lock(&registeredMutex());
    return registered();
}

QVariant Settings::value(const QString& key) const
{
    if (m_store->contains(key))
        return m_store->value(key);
    QMutexLocker lock(&registeredMutex());
    return registered().value(key);
}

void Settings::setValue(const QString& key, const QVariant& value)
{
    m_store->setValue(key, value);
}

void Settings::remove(const QString& key)
{
    m_store->remove(key);
}

bool Settings::contains(const QString& key) const
{
    return m_store->contains(key);
}

void Settings::synchronize()
{
    m_store->sync();
}

bool Settings::doNotShowConfirmationDialogOnTrash() const
{
    return value(kDoNotShowConfirmationDialogOnTrash).toBool();
}

bool Settings::autoMarkPhotos() const
{
    return value(kAutoMarkPhotos).toBool();
}

bool Settings::doNotShowAutoMarkDialog() const
{
    return value(kDoNotShowAutoMarkDialog).toBool();
}

int Settings::autoSelectOption() const
{
    return value(kAutoSelectOption).toInt();
}

qint64 Settings::minimumFileSize() const
{
    return value(kMinimumFileSize).toLongLong();
}

int Settings::fileSizeUnit() const
{
    return value(kFileSizeUnit).toInt();
}

QStringList Settings::excludedFolders() const
{
    return value(kExcludedFolders).toStringList();
}

void Settings::setExcludedFolders(const QStringList& folders)
{
    // Stored as a list even when empty, so an emptied list stays empty over the defaults.
    m_store->setValue(kExcludedFolders, QVariant::fromValue(folders));
}

quint64 Settings::minimumFileSizeInBytes() const
{
    quint64 bytes = quint64(minimumFileSize()) << 10;
    if (fileSizeUnit() == 1)
        bytes <<= 10;
    return bytes;
}
