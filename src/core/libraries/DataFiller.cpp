#include "libraries/DataFiller.h"

#include "app/Settings.h"
#include "libraries/LibraryConnection.h"
#include "libraries/PropertyList.h"
#include "util/AlertPresenter.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <QOperatingSystemVersion>

namespace {

const QString kRKVersion = QStringLiteral("RKVersion");
const QString kRKMaster = QStringLiteral("RKMaster");
const QString kRKFolder = QStringLiteral("RKFolder");

const QString kModelId = QStringLiteral("modelId");
const QString kUuid = QStringLiteral("uuid");
const QString kMasterUuid = QStringLiteral("masterUuid");
const QString kProjectUuid = QStringLiteral("projectUuid");

// The installed iPhoto application's bundle version, logged for support; only where such an
// application can exist.
void logIPhotoBundleVersion()
{
    if (QOperatingSystemVersion::currentType() != QOperatingSystemVersion::MacOS)
        return;
    const QByteArray infoPlist("/Applications/iPhoto.app/Contents/Info.plist");
    if (!PathUtils::exists(infoPlist))
        return;
    if (const auto info = PropertyList::readDictionary(infoPlist))
        quillonLog(QStringLiteral("com.apple.iPhoto bundleVersion=%1")
                       .arg(info->value(QStringLiteral("CFBundleVersion")).toString()));
}

} // namespace

DataFiller::DataFiller(AlertPresenter* alerts, Settings* settings) : m_alerts(alerts), m_settings(settings)
{
    const QOperatingSystemVersion os = QOperatingSystemVersion::current();
    if (os.type() == QOperatingSystemVersion::MacOS) {
        isOSX_10_5 = os < QOperatingSystemVersion(QOperatingSystemVersion::MacOS, 10, 6);
        isOSX_Less_Then_10_7 = os < QOperatingSystemVersion(QOperatingSystemVersion::MacOS, 10, 7);
    }
    // Kept in this order; "3PP2" stands as written.
    videoArr = {"MPEG", "MP4", "DIVX", "MOV",  "XVID",   "MPG",    "AVI", "WEBM", "DV",
                "3GP",  "M4V", "3GPP", "3PP2", "MPEG-2", "MPEG-1", "MPA", "FLV",  "WMX"};
    logIPhotoBundleVersion();
}

DataFiller::~DataFiller() = default;

void DataFiller::showAlert(const QString& message, const QString& informative)
{
    if (m_alerts)
        m_alerts->runModal(Alert{message, informative, {QStringLiteral("OK")}});
    else
        quillonLog(QStringLiteral("%1 %2").arg(message, informative));
}

bool DataFiller::checkValidLibAndUpdateIfAperture(const QByteArray& path)
{
    for (const char* name : {"AlbumData.xml", "ApertureData.xml"}) {
        if (const auto found = PathUtils::resolveIgnoringCase(path, name)) {
            xmlFile = *found;
            return true;
        }
    }
    return false;
}

bool DataFiller::checkIfLibrary9X(const QByteArray& path)
{
    const auto found = PathUtils::resolveIgnoringCase(path, "Database/apdb/Library.apdb");
    if (!found)
        return false;
    quillonLog(QStringLiteral("is9X"));
    dbPath = *found;
    return true;
}

bool DataFiller::isVideoFile(const QByteArray& path) const
{
    // A suffix test on the whole path without a dot: "xdv" ends in "DV" and counts.
    const QByteArray upper = path.toUpper();
    for (const QByteArray& suffix : videoArr) {
        if (upper.endsWith(suffix))
            return true;
    }
    return false;
}

void DataFiller::fetchImagesFromLib(const QByteArray& path)
{
    if (!checkValidLibAndUpdateIfAperture(path)) {
        showAlert(QStringLiteral("Error in reading iPhoto library"),
                  QStringLiteral("Please select valid library"));
        return;
    }
    checkIfLibrary9X(path);
    iPhotoLibraryChanged = false;
    quillonLog(QStringLiteral("Into Fill Duplicates"));
    quillonLog(PathUtils::toDisplay(dbPath));

    // A second read starts afresh, so the arrays stay aligned with masterPhotos.
    masterPhotos.clear();
    arrOriginalPaths.clear();
    arrImagePaths.clear();
    arrThumbnailPaths.clear();
    dictMasterInfo.clear();
    dictFolderInfo.clear();
    dictIsVideo.clear();
    m_removedIndexes.clear();

    const QByteArray root = PathUtils::removingLastComponents(dbPath, 3);
    QByteArray masters;
    if (const auto found = PathUtils::resolveIgnoringCase(root, "Masters")) {
        masters = *found;
    } else {
        const auto originals = PathUtils::resolveIgnoringCase(root, "Originals");
        masters = originals ? *originals : PathUtils::join(root, "Originals");
        quillonLog(QStringLiteral("Masters NOT present. New: %1").arg(PathUtils::toDisplay(masters)));
    }

    const QList<QVariantMap> versions = DBOperations::getAllVersionPhotos(dbPath, kRKVersion);
    DBOperations::getAllMasterPhotos(dbPath, masters, kRKMaster, dictMasterInfo);
    DBOperations::getAllFolders(dbPath, kRKFolder, dictFolderInfo);

    const QVariantMap xml = PropertyList::readDictionary(xmlFile).value_or(QVariantMap());
    masterPhotos.append(
        makeMastersListFor(versions, arrOriginalPaths, arrImagePaths, arrThumbnailPaths, xml));

    lastScannedPhotosCount = int(masterPhotos.size());
    quillonLog(QStringLiteral("Total Photos in iPhoto %1").arg(lastScannedPhotosCount));
    quillonLog(QStringLiteral("Original count=%1").arg(arrOriginalPaths.size()));
    quillonLog(QStringLiteral("Thumbnail count%1").arg(arrThumbnailPaths.size()));
    quillonLog(QStringLiteral("Image count%1").arg(arrImagePaths.size()));
    countDiffer = false;

    Settings& settings = m_settings ? *m_settings : Settings::standard();
    allowScanEditedCopies = settings.value(Settings::kIncludeEditedCopies).toInt() == 1;
    quillonLog(allowScanEditedCopies ? QStringLiteral("Deep scan Enabled")
                                     : QStringLiteral("Deep scan Disabled"));
    const QList<QByteArray>& tested = allowScanEditedCopies ? arrOriginalPaths : arrImagePaths;

    for (int i = 0; i < lastScannedPhotosCount; ++i) {
        if (!PathUtils::exists(arrOriginalPaths[i])) {
            if (!PathUtils::exists(arrImagePaths[i]))
                continue;
            // An edited copy under Previews stands for its master when that file is there.
            QByteArray candidate = arrImagePaths[i];
            candidate.replace("/Previews/", "/Masters/");
            if (!PathUtils::exists(candidate))
                continue;
            arrOriginalPaths[i] = candidate;
        }
        if (PathUtils::exists(tested[i]) && isVideoFile(arrOriginalPaths[i]))
            dictIsVideo.insert(arrOriginalPaths[i], i);
    }
}

QList<QVariantMap> DataFiller::makeMastersListFor(const QList<QVariantMap>& versions,
                                                  QList<QByteArray>& arrOP, QList<QByteArray>& arrIP,
                                                  QList<QByteArray>& arrTP, const QVariantMap& xmlDict)
{
    const QVariantMap imageList = xmlDict.value(QStringLiteral("Master Image List")).toMap();
    const QString keyName = isApertureLibrary ? kUuid : kModelId;
    const QByteArray root = PathUtils::removingLastComponents(dbPath, 3);

    // Paths in the XML name the place where the library was when the XML was written.
    QByteArray archive;
    bool rewrite = false;
    const auto archiveValue = xmlDict.constFind(QStringLiteral("Archive Path"));
    if (archiveValue != xmlDict.constEnd()) {
        const QString archiveText = archiveValue->toString();
        archive = archiveText.toUtf8();
        rewrite = !archive.isEmpty() && archiveText.toUpper() != QString::fromUtf8(root).toUpper();
    } else {
        quillonLog(QStringLiteral("Archive is nil"));
        showAlert(QStringLiteral("Please report to the developer should not happen"),
                  QStringLiteral("Send Feedback with logs now."));
    }
    const auto relocated = [&](const QString& xmlPath) {
        QByteArray path = xmlPath.toUtf8();
        if (rewrite)
            path.replace(archive, root);
        return path;
    };

    QList<QVariantMap> kept;
    for (QVariantMap version : versions) {
        const QString masterUuid = version.value(kMasterUuid).toString();
        if (masterUuid.isEmpty())
            continue;
        const auto master = dictMasterInfo.find(masterUuid);
        if (master == dictMasterInfo.end())
            continue;
        const auto folder = dictFolderInfo.find(version.value(kProjectUuid).toString());
        if (folder == dictFolderInfo.end())
            continue;

        arrOP.append(master->OriginalPath);
        master->MasterCount += 1;
        folder->VersionCount += 1;

        QByteArray imagePath = master->OriginalPath;
        QByteArray thumbPath = master->OriginalPath;
        const auto entry = imageList.constFind(version.value(keyName).toString());
        if (entry != imageList.constEnd()) {
            const QVariantMap info = entry->toMap();
            const auto image = info.constFind(QStringLiteral("ImagePath"));
            if (image != info.constEnd())
                imagePath = relocated(image->toString());
            else
                version.insert(QStringLiteral("iPath"), true);
            const auto thumb = info.constFind(QStringLiteral("ThumbPath"));
            if (thumb != info.constEnd())
                thumbPath = relocated(thumb->toString());
            else
                version.insert(QStringLiteral("tPath"), true);
        } else {
            version.insert(QStringLiteral("iPath"), true);
            version.insert(QStringLiteral("tPath"), true);
        }
        arrIP.append(imagePath);
        arrTP.append(thumbPath);
        kept.append(version);
    }
    return kept;
}

void DataFiller::moveNodeToiPhotoTrash(int index)
{
    if (index < 0 || index >= masterPhotos.size())
        return;
    // A photo leaves the library once; a repeated request must not lower the counts again.
    if (m_removedIndexes.contains(index))
        return;
    m_removedIndexes.insert(index);
    if (!m_trashSession)
        m_trashSession = std::make_unique<LibraryWriteSession>(dbPath);
    removePhoto(masterPhotos[index], index);
}

bool DataFiller::removePhoto(const QVariantMap& version, int index)
{
    Q_UNUSED(index);
    const QString projectUuid = version.value(kProjectUuid).toString();
    const auto folder = dictFolderInfo.find(projectUuid);
    const int newCount = (folder != dictFolderInfo.end() ? folder->VersionCount : 0) - 1;
    if (DBOperations::markInTrashForVersion(dbPath, kRKVersion, version.value(kUuid).toString(), projectUuid,
                                            newCount) &&
        folder != dictFolderInfo.end())
        folder->VersionCount = newCount;

    const QString masterUuid = version.value(kMasterUuid).toString();
    const auto master = dictMasterInfo.find(masterUuid);
    if (master == dictMasterInfo.end())
        return true;
    master->MasterCount -= 1;
    if (master->MasterCount != 0)
        return true;
    // The master's last version is gone: the master goes too.
    DBOperations::markInTrashForMaster(dbPath, kRKMaster, masterUuid);
    return true;
}

void DataFiller::finalizeTrashOperation()
{
    // Emptied so that the library rebuilds its indexes.
    DBOperations::tableEmptyData(dbPath, QStringLiteral("RKVersion_RidIndexes"));
    DBOperations::tableEmptyData(dbPath, QStringLiteral("RKMaster_RidIndexes"));
    m_trashSession.reset();
}
