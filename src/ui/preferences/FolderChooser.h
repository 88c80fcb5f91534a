#pragma once

#include <QString>
#include <QStringList>
#include <functional>

class QWidget;

// Asks the user for folders, window-modal, and answers through a callback: the chosen folders
// in the dialog's order, or an empty list when the user cancelled. Tests put a scripted
// chooser in its place.
class FolderChooser
{
public:
    virtual ~FolderChooser() = default;
    virtual void chooseFolders(QWidget* parent, const QString& prompt,
                               std::function<void(const QStringList&)> done) = 0;
};

// The file dialog: folders only (a package is a folder like any other), several at once, the
// accept button titled with the prompt. The callback never outlives the parent widget.
class DialogFolderChooser : public FolderChooser
{
public:
    void chooseFolders(QWidget* parent, const QString& prompt,
                       std::function<void(const QStringList&)> done) override;
};
