#include "scan/ScanWorker.h"

#include "app/AppGlobals.h"
#include "cache/CacheUpkeep.h"
#include "cache/SqliteDBOperations.h"
#include "model/ScanResult.h"
#include "platform/FileAttributes.h"
#include "platform/Platform.h"
#include "scan/DigestGrouper.h"
#include "scan/FolderLister.h"
#include "scan/ScanState.h"
#include "util/PathUtils.h"

#include <QScopeGuard>
#include <cerrno>

namespace {

size_t inodeHash(quint64 device, quint64 inode)
{
    return qHashMulti(0, device, inode);
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
    m_inodes.clear();
    m_sameIndex = {};

    AppGlobals::dictDataBaseFilesMd5.clear();
    // After a stop the cache steps are skipped: nothing of them is needed for what was found.
    if (m_config.options.useCache && !m_state.aborted()) {
        writeFilePathToTemp();
        readFromHashFile();
    }

    // Rows written from here on come from files this scan found: the prune skips them.
    const qint64 lastOldRow = m_config.options.useCache && !m_state.aborted()
                                  ? CacheUpkeep::lastRowId(SqliteDBOperations::getDbPathInLibrary())
                                  : 0;
    DigestGrouper grouper(m_result, m_state, m_config.options,
                          [this](const std::vector<FileInfoNode*>& batch) {
                              if (m_config.options.useCache)
                                  writeHashToFile(batch);
                          });
    grouper.filterNodesWithSizeAndMd5();
    m_result.aborted = m_state.aborted();
    if (m_config.options.useCache && !m_result.aborted)
        removeRowsOfMissingFiles(lastOldRow);
}

void ScanWorker::parsePathForFilesAndFolders(const QByteArray& path)
{
    if (m_state.aborted())
        return;
    errno = 0;
    const auto attributes = FileAttributes::ofItem(path);
    if (!attributes) {
        skip(path, errno);
        return;
    }
    // The folders of this item are read ahead on a second thread that ends with the item.
    FolderLister lister(m_state.abortMe, m_config.options.listAhead);
    m_lister = &lister;
    const auto done = qScopeGuard([this] { m_lister = nullptr; });
    parseItem(nullptr, path.constData(), path, *attributes);
}

void ScanWorker::skip(const QByteArray& path, int error)
{
    m_result.addSkipped(path, qt_error_string(error ? error : EIO));
}

// One item of the walk, its attributes read without following a link: a folder is
// descended unless it is a package; a package is one item or a photo library; a regular
// file is one item. Links, FIFOs, sockets and devices are neither read nor descended.
void ScanWorker::parseItem(const std::shared_ptr<OpenFolder>& parent, const char* name,
                           const QByteArray& path, const FileAttributes& attributes)
{
    if (FolderListing::isWalkedFolder(path, attributes)) {
        parseDirectory(parent, name, path);
        return;
    }
    if (attributes.isDirectory()) {
        const QString ext = PathUtils::lowerExtension(path);
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

// Reads a folder relative to its parent's descriptor, or by its full path of any length when
// the parent has none, unless the lister has read it ahead. The upper levels keep their
// descriptor while their subfolders are walked; deeper ones let it go once read, so a walk
// holds at most kOpenLevels folder descriptors (and the lister a few) however deep the tree.
// Everything is recorded here, in walk order, whoever read the folder.
void ScanWorker::parseDirectory(const std::shared_ptr<OpenFolder>& parent, const char* name,
                                const QByteArray& path)
{
    std::optional<FolderListing> ahead = m_lister->take(path);
    FolderListing listing =
        ahead ? std::move(*ahead) : m_lister->read(parent, name, path, m_openFolders.size() < kOpenLevels);
    ahead.reset();
    if (!listing.opened) {
        skip(path, listing.openError);
        return;
    }
    // A folder inside itself (a bind mount of a parent) is walked once more, so that its files
    // count as reached again, but never further.
    const QPair<quint64, quint64> id(listing.device, listing.inode);
    if (m_openFolders.count(id) >= 2)
        return;
    if (m_config.options.folderEntered)
        m_config.options.folderEntered(path);
    if (listing.listError)
        skip(path, listing.listError);
    m_openFolders.append(id);
    const bool keepOpen = m_openFolders.size() <= kOpenLevels;
    if (!keepOpen)
        listing.folder.reset();

    // The entries to take, and the subfolders among them handed to the lister.
    struct Item
    {
        const FolderListing::Entry* entry;
        FolderListing::Kind kind;
        QByteArray child;
    };
    std::vector<Item> items;
    std::vector<FolderLister::Task> tasks;
    for (const FolderListing::Entry& entry : listing.entries) {
        if (m_state.aborted())
            break;
        const FolderListing::Kind kind = listing.kindOf(entry);
        if (kind == FolderListing::Kind::None)
            continue;
        QByteArray child = listing.pathOf(path, entry);
        if (m_exclusion.isPathExcluded(child))
            continue;
        if (kind == FolderListing::Kind::Folder ||
            (kind == FolderListing::Kind::Item && FolderListing::isWalkedFolder(child, *entry.attributes)))
            tasks.push_back({child, child.size() - qsizetype(entry.nameSize), listing.folder});
        items.push_back({&entry, kind, std::move(child)});
    }
    m_lister->prepend(std::move(tasks));
    // Deeper levels say what they could not examine before descending, as they always have.
    if (!keepOpen)
        for (const Item& item : items)
            if (item.kind == FolderListing::Kind::Unreadable)
                skip(item.child, item.entry->error);
    for (const Item& item : items) {
        if (m_state.aborted())
            break;
        const char* entryName = listing.nameOf(*item.entry);
        if (item.kind == FolderListing::Kind::Folder)
            parseDirectory(listing.folder, entryName, item.child);
        else if (item.kind == FolderListing::Kind::Item)
            parseItem(listing.folder, entryName, item.child, *item.entry->attributes);
        else if (keepOpen)
            skip(item.child, item.entry->error);
    }
    m_openFolders.removeLast();
}

void ScanWorker::createAndAddToArrayFileNodeForPath(const QByteArray& path, const FileAttributes& attributes)
{
    // A file is its (device, inode): a later path to it makes no record.
    if (attributes.inode != 0) {
        const std::vector<FileInfoNode*>& records = m_result.arrFileNodes;
        const qint64 seen = m_inodes.find(inodeHash(attributes.device, attributes.inode), [&](quint32 i) {
            return records[i]->inode == attributes.inode && records[i]->device == attributes.device;
        });
        if (seen >= 0) {
            auto it = m_sameIndex.find(quint32(seen));
            if (it == m_sameIndex.end()) {
                it = m_sameIndex.insert(quint32(seen), qsizetype(m_result.sameFileAgain.size()));
                m_result.sameFileAgain.push_back({records[size_t(seen)]->filePath, {}});
            }
            m_result.sameFileAgain[size_t(*it)].others.push_back(path);
            return;
        }
    }
    const QByteArray key = Platform::comparablePath(path);
    const size_t hash = qHash(key);
    if (hasRecordOfPath(key, hash))
        return;
    std::optional<FileInfoNode> node = FileInfoNode::initWithPathForFile(path, attributes);
    if (!node)
        return;
    m_state.setCurrentFile(path);
    addScannedNode(std::move(*node));
    enterLastRecord(hash);
}

bool ScanWorker::hasRecordOfPath(const QByteArray& key, size_t hash) const
{
    const std::vector<FileInfoNode*>& records = m_result.arrFileNodes;
    return dictAllFilePath.find(
               hash, [&](quint32 i) { return Platform::comparablePath(records[i]->filePath) == key; }) >= 0;
}

void ScanWorker::enterLastRecord(size_t pathHash)
{
    const std::vector<FileInfoNode*>& records = m_result.arrFileNodes;
    const quint32 index = quint32(records.size() - 1);
    dictAllFilePath.insert(index, pathHash,
                           [&](quint32 i) { return qHash(Platform::comparablePath(records[i]->filePath)); });
    const FileInfoNode& node = *records[index];
    if (node.inode != 0)
        m_inodes.insert(index, inodeHash(node.device, node.inode),
                        [&](quint32 i) { return inodeHash(records[i]->device, records[i]->inode); });
}

void ScanWorker::addScannedNode(FileInfoNode&& node)
{
    m_state.countScanned.fetch_add(1, std::memory_order_relaxed);
    m_state.totSizeScanned.fetch_add(node.fileSize, std::memory_order_relaxed);
    m_result.addNode(std::move(node));
}

void ScanWorker::writeFilePathToTemp()
{
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (!PathUtils::exists(db))
        return;
    SqliteDBOperations::deleteRecordsFromTable(QStringLiteral("tempTable"), db);
    SqliteDBOperations::insertDataInTempTable(QStringLiteral("tempTable"), db, m_result.arrFileNodes,
                                              &m_state.abortMe);
}

void ScanWorker::readFromHashFile()
{
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (!PathUtils::exists(db))
        return;
    SqliteDBOperations::fetchHashInfoFromDbPath(db, m_result.arrFileNodes);
}

void ScanWorker::removeRowsOfMissingFiles(qint64 lastOldRow)
{
    QList<QByteArray> folders;
    for (const FilePathNode& entry : m_config.arrPathNodes)
        if (entry.state != 0 && PathUtils::isDirectory(entry.filePath))
            folders << entry.filePath;
    const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
    if (!folders.isEmpty() && PathUtils::exists(db))
        CacheUpkeep::removeRowsOfMissingFiles(db, folders, &m_state.abortMe, lastOldRow,
                                              SqliteDBOperations::hasFreshTempTable(db));
}

void ScanWorker::writeHashToFile(const std::vector<FileInfoNode*>& batch)
{
    if (!SqliteDBOperations::copyDataBaseIfRequieredAtDestination(
            SqliteDBOperations::getCachePath(), SqliteDBOperations::shippedDatabaseResource()))
        return;
    SqliteDBOperations::insertDataInTable(QStringLiteral("hashTable"),
                                          SqliteDBOperations::getDbPathInLibrary(), batch);
}
