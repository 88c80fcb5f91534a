#pragma once

#include "platform/Trash.h"
#include "review/PhotosAlbum.h"

#include <QSet>
#include <QThread>
#include <cstdio>
#include <functional>

// A Trash that renames items into a folder of the test and records what it was asked to move;
// it refuses the paths it is told to, can sleep before and run a hook after each move.
class FolderTrash : public TrashInterface
{
public:
    explicit FolderTrash(QByteArray dir) : m_dir(std::move(dir)) {}
    TrashOutcome moveToTrash(const QByteArray& path) override
    {
        TrashOutcome outcome;
        if (refused.contains(path)) {
            outcome.errorText = QStringLiteral("refused");
            return outcome;
        }
        QThread::msleep(delayMs);
        outcome.trashedPath = m_dir + '/' + QByteArray::number(moved.size());
        outcome.moved = ::rename(path.constData(), outcome.trashedPath.constData()) == 0;
        moved.append(path);
        if (afterMove)
            afterMove();
        return outcome;
    }
    QByteArrayList refused, moved; // moved is written by the worker: read it after the run
    unsigned long delayMs = 0;
    std::function<void()> afterMove;

private:
    QByteArray m_dir;
};

// An album that knows every item but "unknown" and records the batches added and the
// libraries it was asked to open.
class RecordingAlbum : public PhotosAlbumInterface
{
public:
    bool isAlbumCreated() override { return true; }
    bool createDuplicatesMarkedForTrashAlbum() override { return true; }
    QSet<QString> knownMediaItems(const QStringList& uuids) override
    {
        QSet<QString> known(uuids.begin(), uuids.end());
        known.remove(QStringLiteral("unknown"));
        return known;
    }
    void addToAlbum(const QStringList& uuids) override { batches.append(int(uuids.size())); }
    bool quitAndopenNewPhotosLibrary(const QByteArray& libraryPath) override
    {
        opened.append(libraryPath);
        return true;
    }
    QList<int> batches;
    QByteArrayList opened;
};
