#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

// Shows items selected in the desktop's file viewer. Tests replace it.
class FileViewer
{
public:
    virtual ~FileViewer() = default;
    // False when the request could not be made at all (nothing to show, no viewer to run).
    virtual bool showItems(const QList<QByteArray>& paths) = 0;
    // The same, and onFailure runs (perhaps later, on this thread) when the items could not be
    // shown by any means, so the user can be told instead of seeing nothing happen.
    virtual bool showItemsReportingFailure(const QList<QByteArray>& paths, std::function<void()> onFailure)
    {
        const bool started = showItems(paths);
        if (!started && onFailure)
            onFailure();
        return started;
    }
};

// Opens each item's containing folder with xdg-open (macOS: "open -R" selects the items).
// The process is started detached, so a slow file manager never holds up the caller.
class XdgOpenFileViewer : public FileViewer
{
public:
    // Starts program with arguments detached; true when it started.
    using Launcher = std::function<bool(const QString& program, const QStringList& arguments)>;

    XdgOpenFileViewer();
    explicit XdgOpenFileViewer(Launcher launcher);

    bool showItems(const QList<QByteArray>& paths) override;

    // How a folder is handed to xdg-open: the path as text when it is valid UTF-8, else a
    // percent-encoded file URI so that no byte is lost on the way.
    static QString folderArgument(const QByteArray& folder);

private:
    Launcher m_launcher;
};
