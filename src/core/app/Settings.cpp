#include "app/Settings.h"

#include "platform/Platform.h"

#include <QCoreApplication>
#include <QMutex>
#include <QMutexLocker>

namespace {

QMutex& registeredMutex()
{
    static QMutex m;
    return m;
}

QVariantMap defaultValues()
{
    QVariantMap defaults;
    defaults.insert(Settings::kDoNotShowConfirmationDialogOnTrash, false);
    defaults.insert(Settings::kAutoMarkPhotos, false);
    defaults.insert(Settings::kDoNotShowAutoMarkDialog, false);
    defaults.insert(Settings::kAutoSelectOption, 1);
    defaults.insert(Settings::kMinimumFileSize, 10);
    defaults.insert(Settings::kFileSizeUnit, 0);
    defaults.insert(Settings::kAppVersion, QStringLiteral("0.0"));
    defaults.insert(Settings::kPhoneNumber, QString());
    defaults.insert(Settings::kExcludedFolders, Settings::getExcludedFolders());
    return defaults;
}

// Start-up registers the defaults; a Settings used before that (a tool, a test) still sees
// them rather than zeros. Guarded by registeredMutex().
QVariantMap& registered()
{
    static QVariantMap map = defaultValues();
    return map;
}

// A stored value in the type of its registered default.
QVariant inTypeOf(const QVariant& stored, const QVariant& fallback)
{
    const QMetaType type = fallback.metaType();
    if (!stored.isValid())
        return QVariant(type); // what an INI file gives back for an emptied list
    if (stored.metaType() == type)
        return stored;
    if (type == QMetaType::fromType<QStringList>())
        return stored.toStringList();
    QVariant converted = stored;
    if (converted.convert(type))
        return converted;
    return fallback;
}

} // namespace

Settings::Settings(QSettings* store) : m_store(store) {}

QSettings* Settings::standardStore()
{
    static QSettings* store = [] {
        auto* s = new QSettings(QStringLiteral("Quillon"), QStringLiteral("Quillon"));
        // QSettings writes its changes from its thread's event loop: keep it on the main
        // thread even when a worker asks first, and write what is left when the program ends.
        if (QCoreApplication* app = QCoreApplication::instance())
            s->moveToThread(app->thread());
        qAddPostRoutine([] { Settings::standardStore()->sync(); });
        return s;
    }();
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
    return {QStringLiteral("/proc"),          QStringLiteral("/sys"),
            QStringLiteral("/dev"),           QStringLiteral("/run"),
            home + QStringLiteral("/.cache"), home + QStringLiteral("/.local/share/Trash"),
            home + QStringLiteral("/Dropbox")};
#endif
}

void Settings::registereUserDefaults()
{
    QVariantMap defaults = defaultValues();
    QMutexLocker lock(&registeredMutex());
    registered() = std::move(defaults);
}

QVariantMap Settings::registeredDefaults()
{
    QMutexLocker lock(&registeredMutex());
    return registered();
}

QVariant Settings::value(const QString& key) const
{
    QVariant fallback;
    {
        QMutexLocker lock(&registeredMutex());
        fallback = registered().value(key);
    }
    QVariant stored;
    {
        QMutexLocker lock(&m_mutex);
        if (!m_store->contains(key))
            return fallback;
        stored = m_store->value(key);
    }
    return fallback.isValid() ? inTypeOf(stored, fallback) : stored;
}

void Settings::setValue(const QString& key, const QVariant& value)
{
    QMutexLocker lock(&m_mutex);
    m_store->setValue(key, value);
}

void Settings::remove(const QString& key)
{
    QMutexLocker lock(&m_mutex);
    m_store->remove(key);
}

bool Settings::contains(const QString& key) const
{
    QMutexLocker lock(&m_mutex);
    return m_store->contains(key);
}

void Settings::synchronize()
{
    QMutexLocker lock(&m_mutex);
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

QString Settings::appVersion() const
{
    return value(kAppVersion).toString();
}

QString Settings::phoneNumber() const
{
    return value(kPhoneNumber).toString();
}

QStringList Settings::excludedFolders() const
{
    return value(kExcludedFolders).toStringList();
}

void Settings::setExcludedFolders(const QStringList& folders)
{
    // Stored as a list even when empty, so an emptied list stays empty over the defaults.
    QMutexLocker lock(&m_mutex);
    m_store->setValue(kExcludedFolders, QVariant::fromValue(folders));
}

quint64 Settings::minimumFileSizeInBytes() const
{
    quint64 bytes = quint64(qMax<qint64>(0, minimumFileSize())) << 10;
    if (fileSizeUnit() == 1)
        bytes <<= 10;
    return bytes;
}
