#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>

class AlertPresenter;
class Settings;

// The working copy of the exclusion list ("excludedFolders") and the rules for changing it:
// which chosen folders may be added, the alerts that explain a refusal, and removal. After every
// change the whole list is written back and the settings synchronized.
class ExclusionList : public QObject
{
    Q_OBJECT
public:
    // The paths of the scan list's entries, in list order.
    using ScanListProvider = std::function<QList<QByteArray>()>;

    static inline const QString kCannotExcludeBothTitle =
        QStringLiteral("One or more items cannot be excluded");
    static inline const QString kCannotExcludeTitle = QStringLiteral("Folder cannot be excluded");
    static inline const QString kInScanListText =
        QStringLiteral("Either Folder or its contents are already present in scan list");
    static inline const QString kAlreadyListedTitle =
        QStringLiteral("Folder cannot be added to Exclusion List");
    static inline const QString kAlreadyListedText =
        QStringLiteral("Folder with same name already exists. Please try to add another folder");

    // Settings and alerts are not owned and must outlive the list. Fills the working copy at once
    // and follows every "PreferencesResetToDefaults" from then on.
    ExclusionList(Settings& settings, AlertPresenter& alerts, ScanListProvider scanList,
                  QObject* parent = nullptr);

    const QStringList& arrExclude() const { return m_arrExclude; }

    // Reloads the working copy from the settings (empty when the key is absent).
    void updateArrayFromUserDefaults();

    // Whether excluding the path would cover a scan-list entry: the path, compared without
    // regard to case, is a textual prefix of an entry followed by "/". A folder inside a scanned
    // folder may be excluded; the folder itself, an ancestor, or a mere name prefix may not.
    bool isPathAddedToScanList(const QString& path) const;

    // Adds folders the user chose, in the order given. A selection whose first item lies in the
    // user's Trash adds nothing and shows an empty alert. Otherwise each folder that neither
    // covers a scan-list entry nor is already listed (exact, case-sensitive text) is appended;
    // the summary alert follows and the list is written afterwards, also when nothing was added.
    // Returns the number of folders added.
    int addFolderToExclude(const QStringList& selection);

    // The alert that explains an addition; none when nothing was refused.
    void checkAndShowPrompt(bool isInScanList, bool isAlreadyInExclusionList, qint32 numberOfPathAdded);

    // Removes the entry at the selected row and writes the list; a row outside the list (no
    // selection) changes and writes nothing. Returns whether an entry was removed.
    bool deleteFolderPath(int selectedRow);

Q_SIGNALS:
    // Around every change of arrExclude, so a model can reset itself.
    void listAboutToChange();
    void listChanged();

private:
    void writeToUserDefaults();

    Settings& m_settings;
    AlertPresenter& m_alerts;
    ScanListProvider m_scanList;
    QStringList m_arrExclude;
};
