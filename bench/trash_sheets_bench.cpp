// Whether the window answers during a Trash run of many files: the longest gap between two
// ticks of a 10 ms timer on the window's thread, from the trash button to the summary. The
// files are made in a temporary folder and "trashed" by renaming them into another one there;
// the settings are a temporary file. Run with QT_QPA_PLATFORM=offscreen without a display.
//
//   trash-sheets-bench [MARKED_FILES]

#include "app/Settings.h"
#include "model/ScanResult.h"
#include "platform/FileViewer.h"
#include "platform/Trash.h"
#include "review/PhotosAlbum.h"
#include "review/ReviewModel.h"
#include "review/TrashSheetsController.h"
#include "util/AlertPresenter.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>
#include <sys/stat.h>

namespace {

constexpr qint64 kTargetGapMs = 100;

class FolderTrash : public TrashInterface
{
public:
    explicit FolderTrash(QByteArray dir) : m_dir(std::move(dir)) {}
    TrashOutcome moveToTrash(const QByteArray& path) override
    {
        TrashOutcome outcome;
        outcome.trashedPath = m_dir + '/' + QByteArray::number(++m_count);
        outcome.moved = ::rename(path.constData(), outcome.trashedPath.constData()) == 0;
        return outcome;
    }

private:
    QByteArray m_dir;
    int m_count = 0;
};

class NoViewer : public FileViewer
{
public:
    bool showItems(const QList<QByteArray>&) override { return false; }
};

} // namespace

int main(int argc, char* argv[])
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int marked = argc > 1 ? QByteArray(argv[1]).toInt() : 10'000;
    QTemporaryDir dir;
    const QByteArray root = QFile::encodeName(dir.path());
    QSettings store(dir.filePath(QStringLiteral("settings.ini")), QSettings::IniFormat);
    Settings settings(&store);
    settings.setDoNotShowConfirmationDialogOnTrash(true);
    ScriptedAlertPresenter alerts;

    ScanResult scan;
    const QByteArray content(4096, 'q');
    ::mkdir((root + "/trash").constData(), 0700);
    for (int g = 0; g < marked; ++g) {
        DuplicateGroup* group = scan.addGroup();
        for (const char* side : {"keep", "copy"}) {
            const QByteArray path = root + '/' + QByteArray::number(g) + side;
            QFile f(QFile::decodeName(path));
            if (!f.open(QIODevice::WriteOnly) || f.write(content) != content.size())
                return 1;
            f.close();
            FileInfoNode* n = scan.addNode(*FileInfoNode::initWithPathForFile(path));
            n->parent = group;
            group->children.push_back(n);
            group->groupSize += n->fileSize;
        }
        group->filteredChildren = group->children;
    }
    ReviewModel model(settings, alerts);
    model.setArrMainGroup(scan.arrMainGroup);
    model.updateUIComponentsDetailView();
    model.autoMarkAll(KeepRule::Oldest, false);

    FolderTrash trash(root + "/trash");
    PhotosAlbum album(QStringLiteral("Duplicate Marked Photos"));
    NoViewer viewer;
    QWidget window;
    window.resize(990, 680);
    window.show();
    TrashSheetsController controller(model, settings, trash, album, viewer, alerts);

    QElapsedTimer clock, sinceTick;
    qint64 longestGap = 0;
    QTimer ticks;
    ticks.setInterval(10);
    QObject::connect(&ticks, &QTimer::timeout, [&] {
        longestGap = std::max(longestGap, sinceTick.restart());
        QDialog* sheet = controller.currentSheet();
        if (sheet && sheet->objectName() == QLatin1String("windowAfterClean") && sheet->isVisible())
            app.quit();
    });
    clock.start();
    sinceTick.start();
    ticks.start();
    controller.removeSelectedItems(&window);
    app.exec();

    const bool ok = controller.trashRun().countTrashed() == marked && longestGap <= kTargetGapMs;
    std::printf("%d files moved in %.2f s; longest gap between timer ticks %lld ms (target %lld) %s\n",
                controller.trashRun().countTrashed(), double(clock.elapsed()) / 1000, longestGap,
                kTargetGapMs, ok ? "PASS" : "FAIL");
    return ok ? 0 : 1;
}
