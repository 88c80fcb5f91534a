#include "scan/ScanWorker.h"

#include "app/AppGlobals.h"
#include "cache/SqliteDBOperations.h"
#include "libraries/DBOperations.h"
#include "libraries/DataFiller.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "platform/FileAttributes.h"
#include "platform/Platform.h"
#include "scan/DigestGrouper.h"
#include "scan/ScanState.h"
#include "util/AlertPresenter.h"
#include "util/CommonFuncs.h"
#include "util/Log.h"
#include "util/PathUtils.h"

#include <cerrno>
#include <chrono>
#include <dirent.h>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

namespace {

const QString kPhotosBundle = QStringLiteral("com.apple.Photos");
const QString kiPhotoBundle = QStringLiteral("com.apple.iPhoto");

bool isSkippedName(const QByteArray& name)
{
    // ".DS_Store", ".localized" and every other hidden name begin with a dot.
    return name.startsWith('.');
}

} // namespace

ScanWorker::ScanWorker(Config config, ScanResult& result, ScanState& state)
    : m_config(std::move(config)), m_result(result), m_state(state)
{}

ScanWorker::~ScanWorker() = default;

void ScanWorker::parseAllPath()
{
    m_exclusion.makeRegExDirPath(m_config.excludedFolders);

    for (const FilePathNode& entry : m_config.arrPathNodes) {
        if (entry.state == 0)
            continue;
        if (m_state.aborted())
            break;
        if (m_exclusion.isPathExcluded(entry.filePath) || entry.filePath.startsWith('.'))
            continue;
        parsePathForFilesAndFolders(entry.filePath);
    }
    dictAllFilePath.clear();
    dictAllFilePath.squeeze();

    AppGlobals::dictDataBaseFilesMd5.clear();
    if (m_config.options.useCache) {
        writeFilePathToTemp();
        readFromHashFile();
    }

    DigestGrouper grouper(m_result, m_state, m_config.options,
                          [this](const std::vector<FileInfoNode*>& batch) {
                              if (m_config.options.useCache)
                                  writeHashToFile(batch);
                          });
    grouper.filterNodesWithSizeAndMd5();
    m_result.aborted = m_state.aborted();
}

void ScanWorker::parsePathForFilesAndFolders(const QByteArray& path)
{
    if (m_state.aborted())
        return;
    const auto attributes = FileAttributes::ofItem(path);
    if (!attributes)
        return;
    parseItem(AT_FDCWD, path.constData(), path, *attributes);
}

void ScanWorker::parseSubDirectoryForPath(const QByteArray& path)
{
    parseDirectory(AT_FDCWD, path.constData(), path);
}

// One item of the walk, its attributes read without following a link: a folder is
// descended unless it is a package; a package is one item or a photo library; a regular
// file is one item. Links, FIFOs, sockets and devices are neither read nor descended.
void ScanWorker::parseItem(int dirfd, const char* name, const QByteArray& path,
                           const FileAttributes& attributes)
{
    if (attributes.isDirectory()) {
        const QString ext = PathUtils::lowerExtension(path);
        if (ext.isEmpty() || !Platform::isPackageExtension(ext)) {
            parseDirectory(dirfd, name, path);
            return;
        }
        if (ext == QLatin1String("photoslibrary")) {
            if (!isPhotosScanned)
                addImagesForiPhotoPhotosLibrary(path, false);
            return;
        }
        if (ext == QLatin1String("photolibrary")) {
            addImagesForiPhotoPhotosLibrary(path, true);
            return;
        }
        if (ext == QLatin1String("migratedphotolibrary"))
            return;
        createAndAddToArrayFileNodeForPath(path, attributes);
        return;
    }
    if (attributes.isRegular())
        createAndAddToArrayFileNodeForPath(path, attributes);
}

void ScanWorker::parseDirectory(int dirfd, const char* name, const QByteArray& path)
{
    const int fd = ::openat(dirfd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return;
    const std::vector<PathUtils::DirEntry> entries = PathUtils::sortedEntries(::dup(fd));
    for (const PathUtils::DirEntry& entry : entries) {
        if (isSkippedName(entry.name))
            continue;
        if (m_state.aborted())
            break;
        const QByteArray child = PathUtils::join(path, entry.name);
        if (m_exclusion.isPathExcluded(child))
            continue;
        switch (entry.type) {
        case DT_LNK:
        case DT_FIFO:
        case DT_SOCK:
        case DT_CHR:
        case DT_BLK:
            continue; // never read, never descended
        case DT_DIR:
            if (!entry.name.contains('.')) {
                // A plain folder: no package extension, so no attributes needed.
                parseDirectory(fd, entry.name.constData(), child);
                continue;
            }
            break;
        default:
            break;
        }
        const auto attributes = FileAttributes::ofEntry(fd, entry.name.constData());
        if (attributes)
            parseItem(fd, entry.name.constData(), child, *attributes);
    }
    ::close(fd);
}

void ScanWorker::createAndAddToArrayFileNodeForPath(const QByteArray& path, const FileAttributes& attributes)
{
    const QByteArray key = Platform::comparablePath(path);
    if (dictAllFilePath.contains(key))
        return;
    std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(path, attributes);
    if (!node)
        return;
    m_state.setCurrentFile(path);
    dictAllFilePath.insert(key);
    addScannedNode(std::move(*node));
}

void ScanWorker::addScannedNode(FileInfoNode&& node)
{
    m_state.countScanned.fetch_add(1, std::memory_order_relaxed);
    m_state.totSizeScanned.fetch_add(node.fileSize, std::memory_order_relaxed);
    m_result.addNode(std::move(node));
}

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
        if (dictAllFilePath.contains(key))
            continue;
        const QByteArray thumb =
            i < loader->arrThumbnailPaths.size() ? loader->arrThumbnailPaths.at(i) : QByteArray();
        const QByteArray image =
            i < loader->arrImagePaths.size() ? loader->arrImagePaths.at(i) : QByteArray();
        std::optional<FileInfoNode> node =
            FileInfoNode::initWithiPhotoOriginalPath(original, thumb, image, qint32(i), QString());
        if (!node)
            continue;
        dictAllFilePath.insert(key);
        node->obj_iPhoto = loader;
        addScannedNode(std::move(*node));
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
        node->libraryPath = path;
        node->photosInfo = std::make_unique<PhotosNode>(PhotosNode::initWithPhotosOriginalPath(
            row.imagePath, QByteArray(), row.originalFileName, row.fileSize, row.uuid, row.modelId,
            row.uuidRKVersion, path));
        addScannedNode(std::move(*node));
    }
}

void ScanWorker::writeFilePathToTemp()
{
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (!PathUtils::exists(db))
        return;
    SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), db);
    SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, m_result.arrFileNodes);
}

void ScanWorker::readFromHashFile()
{
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (!PathUtils::exists(db))
        return;
    SqliteDBOperations::fetchHashInfoFromDbPath(db, m_result.arrFileNodes);
}

void ScanWorker::writeHashToFile(const std::vector<FileInfoNode*>& batch)
{
    if (!SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource()))
        return;
    SqliteDBOperations::insertDataInTable(QStringLiteral("hashTable"),
                                          SqliteDBOperations::getDbPathInLibrary(), batch);
}
