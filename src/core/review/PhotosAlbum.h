#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

// The album of the Photos application into which marked Photos items are collected (items of a
// Photos library cannot be deleted from outside). Called off the GUI thread: each call may wait
// on the application.
class PhotosAlbumInterface
{
public:
    virtual ~PhotosAlbumInterface() = default;
    // Whether the application has an album with the name (localised comparison).
    virtual bool isAlbumCreated() = 0;
    // Makes the album; false when the application does not run or the script gave nothing.
    virtual bool createDuplicatesMarkedForTrashAlbum() = 0;
    // The identifiers among `uuids` that the application knows as media items.
    virtual QSet<QString> knownMediaItems(const QStringList& uuids) = 0;
    // Adds one batch of media items to the album.
    virtual void addToAlbum(const QStringList& uuids) = 0;
    // Asks the application to open the library (the user then deletes the album's items there);
    // false when the request could not be made.
    virtual bool quitAndopenNewPhotosLibrary(const QByteArray& libraryPath) = 0;
};

// The Photos application through osascript (macOS). Elsewhere the application never runs, so
// the album cannot be made and the run keeps the items.
class PhotosAlbum : public PhotosAlbumInterface
{
public:
    explicit PhotosAlbum(const QString& albumName);
    bool isAlbumCreated() override;
    bool createDuplicatesMarkedForTrashAlbum() override;
    QSet<QString> knownMediaItems(const QStringList& uuids) override;
    void addToAlbum(const QStringList& uuids) override;
    bool quitAndopenNewPhotosLibrary(const QByteArray& libraryPath) override;

private:
    QString m_albumName;
};
