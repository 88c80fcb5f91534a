#pragma once

#include <QByteArray>
#include <QString>

// One item of a Photos library.
struct PhotosNode
{
    QByteArray oPath;
    QByteArray tPath; // always empty: Photos items have no thumbnail path
    QString fileName;
    qint64 fileSize = 0;
    QString uuid; // master uuid
    QString modelId;
    QString uuIDRkVersion; // version uuid
    QByteArray librarypath;
    bool hasDescriptionForPhotosDup = false;
    QString photoNodeDesc;
    bool isMovedToTrashAlbum = false;

    static PhotosNode initWithPhotosOriginalPath(const QByteArray& oPath, const QByteArray& thumbPath,
                                                 const QString& originalFileName, qint64 fileSize,
                                                 const QString& uuid, const QString& modelId,
                                                 const QString& uuIDRkVersion, const QByteArray& libraryPath)
    {
        Q_UNUSED(thumbPath);
        PhotosNode n;
        n.oPath = oPath;
        n.fileName = originalFileName;
        n.fileSize = fileSize;
        n.uuid = uuid;
        n.modelId = modelId;
        n.uuIDRkVersion = uuIDRkVersion;
        n.librarypath = libraryPath;
        return n;
    }
};
