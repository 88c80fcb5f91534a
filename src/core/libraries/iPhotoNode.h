#pragma once

#include <QByteArray>
#include <QString>

// One photo of an iPhoto or Aperture library.
struct iPhotoNode
{
    QByteArray oPath; // original
    QByteArray tPath; // thumbnail
    QByteArray iPath; // image
    QString eventName;
    qint32 index = 0; // index in the DataFiller's arrays

    static iPhotoNode initWithiOPath(const QByteArray& oPath, const QByteArray& thumbPath,
                                     const QByteArray& imagePath, qint32 index, const QString& event)
    {
        return iPhotoNode{oPath, thumbPath, imagePath, event, index};
    }
};
