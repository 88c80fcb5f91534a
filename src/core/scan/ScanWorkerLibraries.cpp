#include "scan/ScanWorker.h"

#include "libraries/DBOperations.h"
#include "libraries/DataFiller.h"
#include "libraries/PhotosNode.h"
#include "model/FileInfoNode.h"
#include "model/ScanResult.h"
#include "platform/Platform.h"
#include "scan/ScanState.h"
#include "util/AlertPresenter.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"

#include <chrono>
#include <memory>
#include <thread>

// The scan's photo-library steps: a library package met by the walk is read through its
// database, once the application that owns it is closed.
namespace {

const QString kPhotosBundle = QStringLiteral("com.apple.Photos");
const QString kiPhotoBundle = QStringLiteral("com.apple.iPhoto");

} // namespace

void ScanWorker::addImagesForiPhotoPhotosLibrary(const QByteArray& path, bool isiPhotoLibrary)
{
    skipiPhotoFromScan = false;
    if (isiPhotoLibrary && !CommonFuncs::isPkgPhotoLib(path))
        return;
    const QString bundle = isiPhotoLibrary ? kiPhotoBundle : kPhotosBundle;
    const auto running = [this](const QString& id) {
        return m_config.options.applicationRunning ? m_config.options.applicationRunning(id)
                                                   : CommonFuncs::checkAppOpen(id);
    };
    while (running(bundle)) {
        if (m_state.aborted())
            return;
        openAlertiPhotoRunningOnMainThread();
        if (skipiPhotoFromScan)
            return;
    }
    m_state.setCurrentFile(path, true);
    if (isiPhotoLibrary) {
        checkAndMAkeiPhotoDataFillerObjectAndAddPhotos(path);
    } else {
        isPhotosScanned = true;
        checkAndMAkePhotoDataFillerObjectAndAddPhotos(path);
    }
}

void ScanWorker::openAlertiPhotoRunningOnMainThread()
{
    Alert alert;
    alert.messageText = QStringLiteral("Quit iPhoto/Photos Library and Continue");
    alert.informativeText = QStringLiteral("Quit iPhoto/Photos and click Retry");
    alert.buttons = {QStringLiteral("Quit & Retry"), QStringLiteral("Skip iPhoto/Photos Library")};
    // Without anyone to ask, the library is skipped rather than waited for.
    const int answer = m_config.alerts ? m_config.alerts->runModal(alert) : 1;
    if (answer != 0) {
        skipiPhotoFromScan = true;
        return;
    }
    // The quit request goes to Photos also while waiting for iPhoto, as it always has.
    Platform::requestApplicationQuit(kPhotosBundle);
    for (int i = 0; i < 10 && !m_state.aborted(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

void ScanWorker::checkAndMAkeiPhotoDataFillerObjectAndAddPhotos(const QByteArray& path)
{
    if (m_result.dictiPhotoFiller.count(path))
        return;
    auto loader = std::make_unique<DataFiller>(m_config.alerts, m_config.settings);
    loader->setLibPath(path);
    loader->fetchImagesFromLib(path);
    DataFiller* raw = loader.get();
    m_result.dictiPhotoFiller.emplace(path, std::move(loader));
    createAndAddToArrayFileNodeForiPhotoNode(raw);
}

void ScanWorker::createAndAddToArrayFileNodeForiPhotoNode(DataFiller* loader)
{
    const qsizetype count = loader->arrOriginalPaths.size();
    for (qsizetype i = 0; i < count; ++i) {
        if (m_state.aborted())
            return;
        const QByteArray& original = loader->arrOriginalPaths.at(i);
        const QByteArray key = Platform::comparablePath(original);
        const size_t hash = qHash(key);
        if (hasRecordOfPath(key, hash))
            continue;
        const QByteArray thumb =
            i < loader->arrThumbnailPaths.size() ? loader->arrThumbnailPaths.at(i) : QByteArray();
        const QByteArray image =
            i < loader->arrImagePaths.size() ? loader->arrImagePaths.at(i) : QByteArray();
        std::optional<FileInfoNode> node =
            FileInfoNode::initWithiPhotoOriginalPath(original, thumb, image, qint32(i), QString());
        if (!node)
            continue;
        node->obj_iPhoto() = loader;
        addScannedNode(std::move(*node));
        const std::vector<FileInfoNode*>& records = m_result.arrFileNodes;
        dictAllFilePath.insert(quint32(records.size() - 1), hash, [&](quint32 r) {
            return qHash(Platform::comparablePath(records[r]->filePath));
        });
    }
}

void ScanWorker::checkAndMAkePhotoDataFillerObjectAndAddPhotos(const QByteArray& path)
{
    const auto rows = DBOperations::getPhotoslibraryPath(path);
    if (!rows)
        return;
    for (const PhotoRecord& row : *rows) {
        if (m_state.aborted())
            return;
        std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(row.imagePath);
        if (!node)
            continue;
        node->isPhotosNode = true;
        node->libraryPath() = path;
        node->photosInfo() = std::make_unique<PhotosNode>(PhotosNode::initWithPhotosOriginalPath(
            row.imagePath, QByteArray(), row.originalFileName, row.fileSize, row.uuid, row.modelId,
            row.uuidRKVersion, path));
        addScannedNode(std::move(*node));
    }
}
