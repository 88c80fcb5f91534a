#pragma once

#include "review/ReviewMarking.h"

#include <QString>
#include <atomic>
#include <functional>
#include <unordered_map>
#include <vector>

class PhotosAlbumInterface;
class TrashInterface;
class TrashRun;
struct DuplicateGroup;
struct FileInfoNode;

// What became of one member of a group under --keep.
struct FileOutcome
{
    enum class Kind { Kept, WouldMove, Moved, InAlbum, NotMoved };
    Kind kind = Kind::Kept;
    QString reason; // why a NotMoved file stayed
};

// --keep and --trash: marks all but one member of every group by the keep rule, then (unless it
// is a dry run) moves the marked files through the application's Trash run, whose proof
// re-checks and compares each file with the copy that stays.
class TrashCommand
{
public:
    TrashCommand(KeepRule keep, bool autoMarkPhotos) : m_keep(keep), m_autoMarkPhotos(autoMarkPhotos) {}

    // Marks the groups; every marked file "would move" until move() runs.
    void mark(const std::vector<DuplicateGroup*>& groups);

    // Moves the marked files and waits for the run in a local event loop. `poll` is called
    // about ten times a second with the run (progress display); when `interrupted` turns true
    // the run is told to stop after the current file.
    void move(TrashInterface& trash, PhotosAlbumInterface& album, const std::atomic<bool>& interrupted,
              const std::function<void(const TrashRun&)>& poll);

    KeepRule keep() const { return m_keep; }
    bool isDryRun() const { return !m_moveRan; }
    FileOutcome outcome(const FileInfoNode* node) const;

    int countMarked() const { return m_countMarked; }
    quint64 sizeOfMarkedFiles() const { return m_sizeOfMarkedFiles; }
    int countMoved() const { return m_countMoved; }
    quint64 sizeMoved() const { return m_sizeMoved; }
    // The reason of the marked files that a stopped run did not reach.
    static inline const QString kStoppedReason = QStringLiteral("stopped before it was moved");
    // The marked files that stayed, in the order the run met them.
    const std::vector<std::pair<const FileInfoNode*, QString>>& notMoved() const { return m_notMoved; }
    int countStopped() const { return m_countStopped; }

private:
    KeepRule m_keep;
    bool m_autoMarkPhotos;
    bool m_moveRan = false;
    std::vector<DuplicateGroup*> m_groups;
    std::unordered_map<const FileInfoNode*, FileOutcome> m_outcomes; // marked files only
    int m_countMarked = 0;
    quint64 m_sizeOfMarkedFiles = 0;
    int m_countMoved = 0;
    quint64 m_sizeMoved = 0;
    int m_countStopped = 0;
    std::vector<std::pair<const FileInfoNode*, QString>> m_notMoved;
};
