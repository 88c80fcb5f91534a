#pragma once

#include "model/FilePathNode.h"
#include "scan/PathExclusion.h"
#include "scan/RecordTable.h"
#include "scan/ScanOptions.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QPair>
#include <QSet>
#include <QStringList>
#include <limits>
#include <memory>
#include <vector>

class AlertPresenter;
class DataFiller;
class FolderLister;
class OpenFolder;
class ScanState;
class Settings;
struct FileAttributes;
struct FileInfoNode;
struct ScanResult;

// The pipeline of one scan, run on the engine's worker thread: enumeration of the ticked
// entries into records, then the cache steps and the grouping (DigestGrouper).
class ScanWorker
{
public:
    struct Config
    {
        std::vector<FilePathNode> arrPathNodes;
        QStringList excludedFolders;
        ScanOptions options;
        AlertPresenter* alerts = nullptr;
        Settings* settings = nullptr; // for the library readers; may be null
    };

    ScanWorker(Config config, ScanResult& result, ScanState& state);
    ~ScanWorker();

    // The whole pipeline; returns when the scan is done or aborted.
    void parseAllPath();

    // Enumeration.
    void parsePathForFilesAndFolders(const QByteArray& path);
    void createAndAddToArrayFileNodeForPath(const QByteArray& path, const FileAttributes& attributes);

    // Photo libraries.
    void addImagesForiPhotoPhotosLibrary(const QByteArray& path, bool isiPhotoLibrary);
    void checkAndMAkeiPhotoDataFillerObjectAndAddPhotos(const QByteArray& path);
    void checkAndMAkePhotoDataFillerObjectAndAddPhotos(const QByteArray& path);
    void createAndAddToArrayFileNodeForiPhotoNode(DataFiller* loader);
    void openAlertiPhotoRunningOnMainThread();

    // Cache traffic.
    void writeFilePathToTemp();
    void readFromHashFile();
    void writeHashToFile(const std::vector<FileInfoNode*>& batch);
    // After a scan that was not stopped: drops the cache rows of vanished files below the
    // scanned folders.
    // Rows above lastOldRow (fileID) were written by this scan and are kept.
    void removeRowsOfMissingFiles(qint64 lastOldRow = std::numeric_limits<qint64>::max());

    // Folder descriptors a walk keeps open at most (the upper levels); the folder lister keeps
    // at most FolderLister::kDescriptors more.
    static constexpr int kOpenLevels = 24;

private:
    void parseItem(const std::shared_ptr<OpenFolder>& parent, const char* name, const QByteArray& path,
                   const FileAttributes& attributes);
    void parseDirectory(const std::shared_ptr<OpenFolder>& parent, const char* name, const QByteArray& path);
    void skip(const QByteArray& path, int error);
    // Counts the record in the progress totals and hands it to the result.
    void addScannedNode(FileInfoNode&& node);

    Config m_config;
    ScanResult& m_result;
    ScanState& m_state;
    PathExclusion m_exclusion;
    // Whether a record of the path (compared as Platform::comparablePath) exists.
    bool hasRecordOfPath(const QByteArray& key, size_t hash) const;
    // Enters the newest record under its path (and its (device, inode) when it has one).
    void enterLastRecord(size_t pathHash);

    RecordTable dictAllFilePath;           // records made, by comparable path
    RecordTable m_inodes;                  // records made from a file with an inode, by (device, inode)
    QHash<quint32, qsizetype> m_sameIndex; // record -> its entry in the result's sameFileAgain
    QList<QPair<quint64, quint64>> m_openFolders; // the folders being walked, outermost first
    bool isPhotosScanned = false;
    bool skipiPhotoFromScan = false;
    FolderLister* m_lister = nullptr; // reads folders ahead while one item is walked
};
