#pragma once

#include "model/HexDigest.h"

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

// The fields only photo-library items use, kept in one side allocation that plain files
// never make.
struct LibraryItemFields
{
    QString fileType; // the file-type attribute text; iPhoto items only
    std::unique_ptr<iPhotoNode> iPhotoInfo;
    DataFiller* obj_iPhoto = nullptr; // the loader that produced the item (owned by the scan result)
    std::unique_ptr<PhotosNode> photosInfo;
    QByteArray libraryPath;                   // Photos items: the library package
    std::vector<QByteArray> arrForSubPathMd5; // created empty; nothing fills it

    LibraryItemFields();
    ~LibraryItemFields();
};

// One scanned item: a file, a folder package, or a photo of a library. Owned by the scan
// result; groups and the review hold plain pointers to it. A scan keeps one per file, so
// the layout is compact: library-only fields live in LibraryItemFields, reached through
// accessors of the same names (the non-const ones make the side allocation on first use).
struct FileInfoNode
{
    QByteArray filePath;   // exact path bytes
    double modDate = 0;    // seconds since 1970 (sub-second part kept); 0 = none
    double createDate = 0; // likewise
    quint64 fileSize = 0;  // bytes; for a package the recursive size
    DuplicateGroup* parent = nullptr;
    // Identity and exact times as the scan saw them: the removal proof and change detection
    // compare these with the file system. Zero for items that were never examined.
    quint64 device = 0;
    quint64 inode = 0;
    qint64 modTimeNs = 0;
    qint64 changeTimeNs = 0;
    int state = 0; // review mark state
    qint32 fileCategory = CategoryOthers;
    HexDigest md5; // 32 lower-case hex digits; a package's is the concatenation
    bool isMd5Calucaluted = false;
    bool isiPhotoNode = false;
    bool isPhotosNode = false;
    bool isMoveToTrash = false;
    bool isDirectory = false;

    QString& fileType() { return library().fileType; }
    const QString& fileType() const { return libraryOrEmpty().fileType; }
    std::unique_ptr<iPhotoNode>& iPhotoInfo() { return library().iPhotoInfo; }
    const std::unique_ptr<iPhotoNode>& iPhotoInfo() const { return libraryOrEmpty().iPhotoInfo; }
    DataFiller*& obj_iPhoto() { return library().obj_iPhoto; }
    DataFiller* obj_iPhoto() const { return libraryOrEmpty().obj_iPhoto; }
    std::unique_ptr<PhotosNode>& photosInfo() { return library().photosInfo; }
    const std::unique_ptr<PhotosNode>& photosInfo() const { return libraryOrEmpty().photosInfo; }
    QByteArray& libraryPath() { return library().libraryPath; }
    const QByteArray& libraryPath() const { return libraryOrEmpty().libraryPath; }
    std::vector<QByteArray>& arrForSubPathMd5() { return library().arrForSubPathMd5; }
    const std::vector<QByteArray>& arrForSubPathMd5() const { return libraryOrEmpty().arrForSubPathMd5; }

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

private:
    LibraryItemFields& library();
    const LibraryItemFields& libraryOrEmpty() const;

    std::unique_ptr<LibraryItemFields> m_library;
};

// Recursive size of a folder: every entry by lstat, a link counting as itself. Errors go to
// stderr as "could not stat '%s': %d/%s" and "could not open directory '%s'".
qint64 sizeForFolderStat(const char* path);
