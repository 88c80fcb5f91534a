#pragma once

#include <QByteArray>

// One entry of the scan list: a folder, file or photo library that the user added.
struct FilePathNode
{
    QByteArray filePath;      // absolute path, exact bytes
    int state = 1;            // 1 ticked for scanning, 0 unticked
    bool isDir = false;       // kept with the record; nothing sets or reads it
    bool isiPhoto = false;    // likewise
    bool isDirParsed = false; // likewise
    qint32 nodetype = 0;      // likewise

    FilePathNode() = default;
    // A ticked entry for the path.
    static FilePathNode initWithPathForFile(const QByteArray& path);
};
