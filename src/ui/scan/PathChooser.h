#pragma once

#include <QByteArray>
#include <QList>

class QWidget;

// The open dialog of the scan list, behind an interface so that tests answer it without a
// modal window. An empty answer means the user cancelled.
class PathChooser
{
public:
    enum class Kind { Folders, Files };

    virtual ~PathChooser() = default;
    virtual QList<QByteArray> choosePaths(QWidget* parent, Kind kind) = 0;
};

// A Qt file dialog with the prompt "Add" that takes several folders (photo libraries
// included) or several files at once.
class FileDialogPathChooser : public PathChooser
{
public:
    QList<QByteArray> choosePaths(QWidget* parent, Kind kind) override;
};
