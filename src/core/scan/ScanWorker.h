#pragma once

#include "model/FilePathNode.h"
#include "scan/PathExclusion.h"
#include "scan/ScanOptions.h"

#include <QByteArray>
#include <QSet>
#include <QStringList>
#include <vector>

class AlertPresenter;
class DataFiller;
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
    void parseSubDirectoryForPath(const QByteArray& path);
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

    const PathExclusion& exclusion() const { return m_exclusion; }

private:
    void parseItem(int dirfd, const char* name, const QByteArray& path, const FileAttributes& attributes);
    void parseDirectory(int dirfd, const char* name, const QByteArray& path);
    // Counts the record in the progress totals and hands it to the result.
    void addScannedNode(FileInfoNode&& node);

    Config m_config;
    ScanResult& m_result;
    ScanState& m_state;
    PathExclusion m_exclusion;
    QSet<QByteArray> dictAllFilePath; // comparable path of every record made
    bool isPhotosScanned = false;
    bool skipiPhotoFromScan = false;
};
