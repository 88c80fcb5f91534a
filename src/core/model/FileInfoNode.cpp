#include "model/FileInfoNode.h"

#include "app/AppGlobals.h"
#include "libraries/PhotosNode.h"
#include "libraries/iPhotoNode.h"
#include "platform/FileAttributes.h"
#include "util/PathUtils.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unordered_map>

LibraryItemFields::LibraryItemFields() = default;
LibraryItemFields::~LibraryItemFields() = default;

FileInfoNode::FileInfoNode() = default;
FileInfoNode::~FileInfoNode() = default;
FileInfoNode::FileInfoNode(FileInfoNode&&) noexcept = default;
FileInfoNode& FileInfoNode::operator=(FileInfoNode&&) noexcept = default;

LibraryItemFields& FileInfoNode::library()
{
    if (!m_library)
        m_library = std::make_unique<LibraryItemFields>();
    return *m_library;
}

const LibraryItemFields& FileInfoNode::libraryOrEmpty() const
{
    static const LibraryItemFields none;
    return m_library ? *m_library : none;
}

QByteArray FileInfoNode::fileName() const
{
    return PathUtils::lastPathComponent(filePath);
}

namespace {

struct StringHash
{
    using is_transparent = void;
    size_t operator()(std::string_view s) const noexcept { return std::hash<std::string_view>{}(s); }
};

// Lower-cased extension (UTF-8) -> category code, first list wins in the order video,
// picture, document, music, archive. Built once; the lookup runs for every scanned file.
using CategoryTable = std::unordered_map<std::string, qint32, StringHash, std::equal_to<>>;

const CategoryTable& categoryTable()
{
    static const CategoryTable table = [] {
        CategoryTable t;
        const std::pair<const QStringList*, qint32> lists[] = {
            {&AppGlobals::arrVideoExt(), CategoryVideos},
            {&AppGlobals::arrPictureExt(), CategoryImages},
            {&AppGlobals::arrDocumentExt(), CategoryDocuments},
            {&AppGlobals::arrMuiscExt(), CategoryMusic},
            {&AppGlobals::arrArchiveExt(), CategoryArchives}};
        for (const auto& [list, code] : lists) {
            for (const QString& ext : *list)
                t.emplace(ext.toStdString(), code); // emplace keeps the first hit
        }
        return t;
    }();
    return table;
}

// The code of an already lower-cased extension. An extension with a blank is no extension
// to the platform, so list entries such as "audio cd" never match.
qint32 categoryForLowerExtension(std::string_view ext, bool includeArchives)
{
    if (ext.empty() || ext.find(' ') != std::string_view::npos)
        return CategoryOthers;
    const CategoryTable& table = categoryTable();
    const auto it = table.find(ext);
    if (it == table.end())
        return CategoryOthers;
    if (it->second == CategoryArchives && !includeArchives)
        return CategoryOthers;
    return it->second;
}

} // namespace

qint32 FileInfoNode::categoryForPath(const QByteArray& path, bool includeArchives)
{
    // The extension of the last component (trailing slashes ignored; a leading dot does not
    // start one), found in place: this runs for every scanned file.
    const char* data = path.constData();
    qsizetype end = path.size();
    while (end > 1 && data[end - 1] == '/')
        --end;
    qsizetype nameStart = end;
    while (nameStart > 0 && data[nameStart - 1] != '/')
        --nameStart;
    qsizetype dot = end;
    while (dot > nameStart && data[dot - 1] != '.')
        --dot;
    if (dot <= nameStart + 1) // no dot, or only a leading one
        return CategoryOthers;
    const std::string_view ext(data + dot, size_t(end - dot));
    if (ext.empty())
        return CategoryOthers;

    // Every list entry is short ASCII: lower-case ASCII extensions on the stack; anything
    // else goes through full Unicode lower-casing.
    char buffer[32];
    bool ascii = true;
    for (const char ch : ext) {
        if (static_cast<unsigned char>(ch) >= 0x80) {
            ascii = false;
            break;
        }
    }
    if (ascii) {
        if (ext.size() > sizeof buffer)
            return CategoryOthers; // longer than every entry
        for (size_t i = 0; i < ext.size(); ++i) {
            const char c = ext[i];
            buffer[i] = (c >= 'A' && c <= 'Z') ? char(c + ('a' - 'A')) : c;
        }
        return categoryForLowerExtension(std::string_view(buffer, ext.size()), includeArchives);
    }
    const QByteArray lower = QString::fromUtf8(ext.data(), qsizetype(ext.size())).toLower().toUtf8();
    return categoryForLowerExtension(std::string_view(lower.constData(), size_t(lower.size())),
                                     includeArchives);
}

std::optional<FileInfoNode> FileInfoNode::initWithPathForFile(const QByteArray& path,
                                                              const QVariant& attribute)
{
    Q_UNUSED(attribute);
    // An item that cannot be examined is treated as an empty one; the size rule decides.
    const FileAttributes attributes = FileAttributes::ofItem(path).value_or(FileAttributes{});
    return initWithPathForFile(path, attributes);
}

std::optional<FileInfoNode> FileInfoNode::initWithPathForFile(const QByteArray& path,
                                                              const FileAttributes& attributes)
{
    const bool directory = attributes.isDirectory();
    const quint64 size =
        directory ? quint64(qMax<qint64>(0, sizeForFolderStat(path.constData()))) : attributes.size;
    // Strict: an item of exactly the minimum size is kept.
    if (size < AppGlobals::minAllowedFileSize.load(std::memory_order_relaxed))
        return std::nullopt;

    std::optional<FileInfoNode> node(std::in_place);
    node->isMd5Calucaluted = false;
    node->filePath = path;
    node->isDirectory = directory;
    node->fileSize = size;
    node->modDate = attributes.modDate;
    node->createDate = attributes.createDate;
    node->device = attributes.device;
    node->inode = attributes.inode;
    node->modTimeNs = attributes.modTimeNs;
    node->changeTimeNs = attributes.changeTimeNs;
    node->state = 0;
    node->fileCategory = categoryForPath(path, true);
    return node;
}

std::optional<FileInfoNode> FileInfoNode::initWithiPhotoOriginalPath(const QByteArray& originalPath,
                                                                     const QByteArray& thumbPath,
                                                                     const QByteArray& imagePath,
                                                                     qint32 index, const QString& event)
{
    const std::optional<FileAttributes> attributes = FileAttributes::ofItem(originalPath);
    // No folder recursion here: the item's own size.
    const quint64 size = attributes ? attributes->size : 0;
    if (size < AppGlobals::minAllowedFileSize.load(std::memory_order_relaxed))
        return std::nullopt;

    std::optional<FileInfoNode> node(std::in_place);
    node->commonInit();
    node->isiPhotoNode = true;
    node->iPhotoInfo() = std::make_unique<iPhotoNode>(
        iPhotoNode::initWithiOPath(originalPath, thumbPath, imagePath, index, event));
    node->filePath = originalPath;
    node->fileSize = size;
    if (attributes) {
        node->modDate = attributes->modDate;
        node->createDate = attributes->createDate;
        node->fileType() = attributes->typeName();
    }
    // Library photos never count as archives.
    node->fileCategory = categoryForPath(originalPath, false);
    return node;
}

qint64 sizeForFolderStat(const char* path)
{
    DIR* dir = ::opendir(path);
    if (!dir) {
        const int err = errno;
        std::fprintf(stderr, "could not open directory '%s'\n", path);
        std::fprintf(stderr, "error is %d/%s\n", err, std::strerror(err));
        return 0;
    }
    qint64 total = 0;
    char entryPath[1024];
    while (const dirent* entry = ::readdir(dir)) {
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0)
            continue;
        // Longer paths are cut to fit the buffer.
        std::snprintf(entryPath, sizeof entryPath, "%s/%s", path, entry->d_name);
        struct stat st;
        if (::lstat(entryPath, &st) != 0) {
            const int err = errno;
            std::fprintf(stderr, "could not stat '%s': %d/%s\n", entry->d_name, err, std::strerror(err));
            continue;
        }
        if (S_ISDIR(st.st_mode))
            total += sizeForFolderStat(entryPath);
        else
            total += st.st_size; // a symbolic link counts as itself
    }
    ::closedir(dir);
    return total;
}
