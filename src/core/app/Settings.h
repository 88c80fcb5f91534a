#pragma once

#include <QMutex>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

// The user's settings over an injected QSettings, with the registered defaults layered under
// the stored values: a stored value always wins, also an empty list.
class Settings
{
public:
    // Keys, exactly as stored.
    static inline const QString kDoNotShowConfirmationDialogOnTrash =
        QStringLiteral("doNotShowConfirmationDialogOnTrash");
    static inline const QString kAutoMarkPhotos = QStringLiteral("autoMarkPhotos");
    static inline const QString kDoNotShowAutoMarkDialog = QStringLiteral("doNotShowAutoMarkDialog");
    static inline const QString kAutoSelectOption = QStringLiteral("autoSelectOption");
    static inline const QString kMinimumFileSize = QStringLiteral("minimumFileSize");
    static inline const QString kFileSizeUnit = QStringLiteral("fileSizeUnit");
    static inline const QString kAppVersion = QStringLiteral("appVersion");
    static inline const QString kPhoneNumber = QStringLiteral("phonenumber");
    static inline const QString kExcludedFolders = QStringLiteral("excludedFolders");
    static inline const QString kSavedPaths = QStringLiteral("savedPaths");
    static inline const QString kIsShowExcludePrompt = QStringLiteral("isShowExcludePrompt");
    static inline const QString kIncludeEditedCopies = QStringLiteral("IncludeEditedCopies");
    static inline const QString kSelectedPreferencesItem =
        QStringLiteral("TamPreferencesWindowControllerSelectedItemIdentifier");
    static inline const QString kTrackedForAppStore = QStringLiteral("trackedForAppStore");

    // The store is not owned and must outlive this object.
    explicit Settings(QSettings* store);

    // QSettings("Quillon", "Quillon") in the user's configuration folder (XDG on Linux).
    static QSettings* standardStore();
    // One process-wide Settings over standardStore(), made on first use.
    static Settings& standard();

    // Registers the defaults of every key (process-wide; registered values are never stored).
    static void registereUserDefaults();
    static QVariantMap registeredDefaults();
    // A new list with the platform's default exclusions.
    static QStringList getExcludedFolders();

    // The stored value, else the registered default. When the key has a default, the stored
    // value comes back in the default's type (an INI file gives text for numbers and flags,
    // a single text for a one-entry list, and nothing at all for an emptied list).
    QVariant value(const QString& key) const;
    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);
    bool contains(const QString& key) const; // stored (not registered)
    void synchronize();

    bool doNotShowConfirmationDialogOnTrash() const;
    bool autoMarkPhotos() const;
    bool doNotShowAutoMarkDialog() const;
    int autoSelectOption() const;
    qint64 minimumFileSize() const;
    int fileSizeUnit() const;
    QString appVersion() const;
    QString phoneNumber() const;
    QStringList excludedFolders() const; // a stored empty list stays empty
    void setExcludedFolders(const QStringList& folders);

    void setDoNotShowConfirmationDialogOnTrash(bool on) { setValue(kDoNotShowConfirmationDialogOnTrash, on); }
    void setAutoMarkPhotos(bool on) { setValue(kAutoMarkPhotos, on); }
    void setDoNotShowAutoMarkDialog(bool on) { setValue(kDoNotShowAutoMarkDialog, on); }
    void setAutoSelectOption(int option) { setValue(kAutoSelectOption, option); }
    void setMinimumFileSize(qint64 size) { setValue(kMinimumFileSize, size); }
    void setFileSizeUnit(int unit) { setValue(kFileSizeUnit, unit); }
    void setAppVersion(const QString& version) { setValue(kAppVersion, version); }

    // The minimum size in bytes: minimumFileSize << 10, once more when fileSizeUnit is 1
    // (any other unit counts as KB). A negative size counts as 0.
    quint64 minimumFileSizeInBytes() const;

    QSettings* store() const { return m_store; }

private:
    QSettings* m_store;
    // One Settings may be read by the scan's worker while the window writes to it.
    mutable QMutex m_mutex;
};
