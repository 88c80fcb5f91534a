#pragma once

#include "libraries/DBOperations.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <memory>

class AlertPresenter;
class LibraryWriteSession;
class Settings;

// Reads one iPhoto (or Aperture) library: the photos the library itself shows, three paths
// per photo (original, image, thumbnail) in parallel arrays, and removes photos through the
// library's database.
class DataFiller
{
public:
    // Alerts go to the presenter (none: logged only); "IncludeEditedCopies" is read from the
    // settings (none: the standard settings).
    explicit DataFiller(AlertPresenter* alerts = nullptr, Settings* settings = nullptr);
    ~DataFiller();

    void setLibPath(const QByteArray& path) { libPath = path; }
    void fetchImagesFromLib(const QByteArray& path);
    bool checkValidLibAndUpdateIfAperture(const QByteArray& path);
    bool checkIfLibrary9X(const QByteArray& path);
    bool isVideoFile(const QByteArray& path) const;
    QList<QVariantMap> makeMastersListFor(const QList<QVariantMap>& versions, QList<QByteArray>& arrOP,
                                          QList<QByteArray>& arrIP, QList<QByteArray>& arrTP,
                                          const QVariantMap& xmlDict);
    // The first removal opens one connection (and transaction) to the library database that
    // lasts until finalizeTrashOperation commits it.
    void moveNodeToiPhotoTrash(int index);
    bool removePhoto(const QVariantMap& version, int index);
    void finalizeTrashOperation();

    int lastScannedPhotosCount = 0;
    bool isApertureLibrary = false;
    bool myDebugging = false;
    bool allowScanEditedCopies = false;
    bool iPhotoLibraryChanged = false;
    bool abortedDuplicates = false;
    bool isOSX_10_5 = false;
    bool isOSX_Less_Then_10_7 = false;
    QByteArray libPath;
    QByteArray dbPath;
    QByteArray xmlFile;
    QList<QVariantMap> masterPhotos;
    QList<QByteArray> arrOriginalPaths;
    QList<QByteArray> arrImagePaths;
    QList<QByteArray> arrThumbnailPaths;
    QHash<QString, MasterInfo> dictMasterInfo;
    QHash<QString, FolderInfo> dictFolderInfo;
    QHash<QByteArray, int> dictIsVideo;

private:
    void showAlert(const QString& message, const QString& informative);

    AlertPresenter* m_alerts;
    Settings* m_settings;
    bool countDiffer = false;
    QList<QByteArray> videoArr; // upper-case suffixes
    QSet<int> m_removedIndexes; // photos already moved to the library's trash
    std::unique_ptr<LibraryWriteSession> m_trashSession;
};
