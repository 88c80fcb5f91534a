#pragma once

#include "platform/FileViewer.h"

#include <QList>

// A file viewer that only remembers what it was asked to show.
class RecordingFileViewer : public FileViewer
{
public:
    bool showItems(const QList<QByteArray>& paths) override
    {
        shown += paths;
        return true;
    }
    QList<QByteArray> shown;
};
