#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <memory>
#include <optional>
#include <vector>

class DataFiller;
struct DuplicateGroup;
struct FileAttributes;
struct iPhotoNode;
struct PhotosNode;

// Category codes of fileCategory.
enum FileCategory : qint32 {
    CategoryDocuments = 0,
    CategoryImages = 1,
    CategoryMusic = 2,
    CategoryVideos = 3,
    CategoryArchives = 4,
    CategoryOthers = 5,
};

// One scanned item: a file, a folder package, or a photo of a library. Owned by the scan
// result; groups and the review hold plain pointers to it.
struct FileInfoNode
{
    QString fileType;      // the file-type attribute text; iPhoto items only
    QByteArray filePath;   // exact path bytes
    double modDate = 0;    // seconds since 1970 (sub-second part kept); 0 = none
    double createDate = 0; // likewise
    quint64 fileSize = 0;  // bytes; for a package the recursive size
    QByteArray md5;        // 32 lower-case hex digits; a package's is the concatenation
    bool isMd5Calucaluted = false;
    int state = 0; // review mark state
    DuplicateGroup* parent = nullptr;
    bool isiPhotoNode = false;
    bool isPhotosNode = false;
    std::unique_ptr<iPhotoNode> iPhotoInfo;
    DataFiller* obj_iPhoto = nullptr; // the loader that produced the item (owned by the scan result)
    std::unique_ptr<PhotosNode> photosInfo;
    bool isMoveToTrash = false;
    QByteArray libraryPath; // Photos items: the library package
    qint32 fileCategory = CategoryOthers;
    bool isDirectory = false;
    std::vector<QByteArray> arrForSubPathMd5; // created empty; nothing fills it
    // Identity and exact times as the scan saw them: the removal proof and change detection
    // compare these with the file system. Zero for items that were never examined.
    quint64 device = 0;
    quint64 inode = 0;
    qint64 modTimeNs = 0;
    qint64 changeTimeNs = 0;

    FileInfoNode();
    ~FileInfoNode();
    FileInfoNode(FileInfoNode&&) noexcept;
    FileInfoNode& operator=(FileInfoNode&&) noexcept;

    // Last path component of filePath.
    QByteArray fileName() const;

    // The record for a file or folder package found by a scan; nothing when the item is
    // smaller than the process-wide minAllowedFileSize (an item of exactly that size is kept).
    // The second argument is accepted and ignored.
    static std::optional<FileInfoNode> initWithPathForFile(const QByteArray& path,
                                                           const QVariant& attribute = {});
    // The same from attributes already read (the scan walk reads them with the directory).
    static std::optional<FileInfoNode> initWithPathForFile(const QByteArray& path,
                                                           const FileAttributes& attributes);

    // The record for one iPhoto photo; same minimum-size rule, archives count as "other".
    static std::optional<FileInfoNode> initWithiPhotoOriginalPath(const QByteArray& originalPath,
                                                                  const QByteArray& thumbPath,
                                                                  const QByteArray& imagePath, qint32 index,
                                                                  const QString& event);
    void commonInit() {}

    // The category code of a path by its lower-cased extension; archives only when asked.
    static qint32 categoryForPath(const QByteArray& path, bool includeArchives);
};

// Recursive size of a folder: every entry by lstat, a link counting as itself. Errors go to
// stderr as "could not stat '%s': %d/%s" and "could not open directory '%s'".
qint64 sizeForFolderStat(const char* path);
