#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <memory>
#include <optional>

// What became of one item sent to the Trash.
struct TrashOutcome
{
    bool moved = false;
    QByteArray trashedPath; // where the item now is (the Trash's files/ entry); empty when not moved
    QByteArray infoPath;    // its .trashinfo; empty when not moved or when the platform keeps none
    QString errorText;      // why it was not moved; empty when moved
};

// What became of one item that Put Back was asked to return.
struct PutBackOutcome
{
    bool restored = false;
    QString errorText; // why it stays in the Trash; empty when restored
};

// Moves items to the Trash. An item that cannot go to a Trash is never deleted: it stays where
// it is and the outcome says so. Implementations may be called from a worker thread.
class TrashInterface
{
public:
    virtual ~TrashInterface() = default;
    virtual TrashOutcome moveToTrash(const QByteArray& path) = 0;
    // Returns a moved item to `originalPath` when that place is free (one rename, never over
    // another item) and removes its .trashinfo; otherwise it stays in the Trash.
    virtual PutBackOutcome putBack(const TrashOutcome& item, const QByteArray& originalPath);
};

// The freedesktop.org Trash: the home trash under $XDG_DATA_HOME/Trash for items on its volume,
// else $topdir/.Trash/$uid (when $topdir/.Trash is a sticky directory and not a link) or
// $topdir/.Trash-$uid on the item's own volume. An item on a bind mount of the home volume
// (the rename answers EXDEV) uses the trash of its own mount. The .trashinfo is on disk before
// one rename(2) moves the item; nothing is ever copied across volumes.
class FreedesktopTrash : public TrashInterface
{
public:
    TrashOutcome moveToTrash(const QByteArray& path) override;

    // $XDG_DATA_HOME/Trash (default ~/.local/share/Trash).
    static QByteArray homeTrashPath();

    // The top directory of the volume that holds `path` (an absolute, existing path whose
    // symbolic links are resolved): walks up while the parent is on `device`.
    static QByteArray topDirectory(const QByteArray& path, quint64 device);

    // The trash folder to use on the volume whose top directory is `topdir`, made if needed:
    // $topdir/.Trash/$uid when $topdir/.Trash is a real sticky directory, else $topdir/.Trash-$uid.
    // Each must be a real directory owned by uid. Nothing when neither can be used.
    static std::optional<QByteArray> volumeTrashDirectory(const QByteArray& topdir, uint uid,
                                                          QString* error = nullptr);

    // The .trashinfo text for the Path= value (absolute, or relative to the volume's top
    // directory) and the deletion time, written in local time.
    static QByteArray trashInfo(const QByteArray& pathValue, const QDateTime& deletionDate);

    // The name an item gets in the Trash before clash numbering: its own name, shortened when
    // the name plus ".trashinfo" would not fit in one directory entry.
    static QByteArray baseTrashName(const QByteArray& itemName);

private:
    // `renameError` receives the rename's errno when that step failed.
    static TrashOutcome moveInto(const QByteArray& trashDir, const QByteArray& itemPath,
                                 const QByteArray& pathValue, int* renameError = nullptr);
    // The trash of the mount that holds the item, for a rename that crossed mounts.
    static TrashOutcome moveIntoOwnMount(const QByteArray& itemPath);
};

// The Trash of the running platform: FreedesktopTrash on Linux, Qt's on macOS.
std::unique_ptr<TrashInterface> createSystemTrash();
