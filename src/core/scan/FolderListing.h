#pragma once

#include "platform/FileAttributes.h"
#include "scan/OpenFolder.h"

#include <QByteArray>
#include <atomic>
#include <memory>
#include <optional>
#include <vector>

// One folder read in one go: its identity, its entries sorted by name, and the attributes of
// every entry the walk may take (with the reason for those that could not be examined).
struct FolderListing
{
    struct Entry
    {
        quint32 nameAt = 0; // where the name starts in `names`
        quint32 nameSize = 0;
        unsigned char type = 0; // as readdir gives it (DT_UNKNOWN when the file system does not say)
        std::optional<FileAttributes> attributes;
        int error = 0; // errno when the attributes were needed but could not be read
    };
    // What the walk makes of an entry: nothing (hidden names, links, special files), a plain
    // folder to descend (no attributes needed), an item with attributes, or one that could not
    // be examined.
    enum class Kind { None, Folder, Item, Unreadable };

    bool opened = false;
    int openError = 0; // why the folder could not be opened or examined
    int listError = 0; // why the listing ended early (the entries read so far are kept)
    quint64 device = 0;
    quint64 inode = 0;
    std::vector<Entry> entries;         // sorted by name, byte for byte
    QByteArray names;                   // the entries' names, each ended by a NUL (one allocation)
    std::shared_ptr<OpenFolder> folder; // kept open to reach the subfolders; may be null

    // Opens `name` relative to parentFd, or `path` of any length when parentFd is -1, and reads
    // it. A set abortFlag ends the reading early. When keptFd is given it receives the open
    // descriptor of a folder that has subfolders (the caller closes it); else it is closed here.
    static FolderListing read(int parentFd, const char* name, const QByteArray& path,
                              const std::atomic<bool>* abortFlag, int* keptFd);

    const char* nameOf(const Entry& entry) const { return names.constData() + entry.nameAt; }
    // folder + "/" + the entry's name, without doubling a slash.
    QByteArray pathOf(const QByteArray& folder, const Entry& entry) const;
    Kind kindOf(const Entry& entry) const;
    // Whether an item with these attributes is a folder the walk descends (not a package).
    static bool isWalkedFolder(const QByteArray& path, const FileAttributes& attributes);
};
