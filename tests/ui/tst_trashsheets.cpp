#include "app/Settings.h"
#include "review/NotTrashedSheet.h"
#include "review/NotTrashedTableModel.h"
#include "review/PhotosInstructionSheet.h"
#include "review/ReviewModel.h"
#include "review/TrashConfirmationSheet.h"
#include "review/TrashProgressSheet.h"
#include "review/TrashSheetsController.h"
#include "review/TrashSummarySheet.h"
#include "support/FolderTrash.h"
#include "support/RecordingFileViewer.h"
#include "support/ScanGroups.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QTextDocumentFragment>
#include <QtWidgets>
#include <unistd.h>

namespace {

// A results window with groups of two equal files ("<i>a", "<i>b"), the second of each marked;
// start() presses the trash button.
struct Sheets
{
    TestSupport::TestTree tree;
    ScanResult scan;
    ScriptedAlertPresenter alerts;
    RecordingFileViewer viewer;
    FolderTrash trash{tree.dir("trash")};
    RecordingAlbum album;
    ReviewModel model{tree.settings(), alerts};
    QWidget window;
    TrashSheetsController controller{model, tree.settings(), trash, album, viewer, alerts};

    void start(int count, bool photosItem = false, bool skipConfirmation = true)
    {
        tree.settings().setDoNotShowConfirmationDialogOnTrash(skipConfirmation);
        for (int i = 0; i < count; ++i) {
            const QByteArray n = QByteArray::number(i);
            DuplicateGroup* g = TestSupport::addGroup(
                scan, {tree.file(n + "a", "copy " + n), tree.file(n + "b", "copy " + n)});
            if (photosItem && i == 0)
                TestSupport::addPhotosItem(scan, g, QStringLiteral("x"));
        }
        model.setArrMainGroup(scan.arrMainGroup);
        model.updateUIComponentsDetailView();
        for (DuplicateGroup* g : model.arrGroups())
            model.updateNodeState(g->filteredChildren.back(), true);
        window.show();
        controller.removeSelectedItems(&window);
    }
    QString sheetName() const
    {
        QDialog* d = controller.currentSheet();
        return d && d->isVisible() ? d->objectName() : QString();
    }
    template <typename T> T* sheet() const { return qobject_cast<T*>(controller.currentSheet()); }
    QString summaryText() const
    {
        auto* summary = sheet<TrashSummarySheet>();
        return summary && summary->isVisible()
                   ? QTextDocumentFragment::fromHtml(summary->lblDupCleaned()->text()).toPlainText()
                   : QString();
    }
};

} // namespace

class TestTrashSheets : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Which sheet the trash button opens; "do not ask again" is ticked but stored only on proceed.
    void confirmation_data()
    {
        QTest::addColumn<bool>("skip");
        QTest::addColumn<bool>("photos");
        QTest::addColumn<QString>("next");
        QTest::newRow("asks, review files") << false << false << QString();
        QTest::newRow("asks, then Photos instructions") << false << true << "windowPhotosAppInstruction";
        QTest::newRow("skips, plain files") << true << false << "windowTrash";
    }
    void confirmation()
    {
        QFETCH(bool, skip);
        QFETCH(bool, photos);
        QFETCH(QString, next);
        Sheets s;
        s.start(2, photos, skip);
        if (!skip) {
            auto* sheet = s.sheet<TrashConfirmationSheet>();
            QVERIFY(sheet && sheet->isVisible());
            saveScreen(sheet, QStringLiteral("trash-confirmation"));
            sheet->doNotShowAgain()->click();
            (!next.isEmpty() ? sheet->proceedButton() : sheet->reviewButton())->click();
        }
        QTRY_COMPARE(s.sheetName(), next);
        QCOMPARE(s.tree.storedValue(Settings::kDoNotShowConfirmationDialogOnTrash).toBool(), !next.isEmpty());
        if (!photos)
            return;
        // Continue does nothing until the library has been opened; then the item goes to the album.
        auto* sheet = s.sheet<PhotosInstructionSheet>();
        QTest::mouseClick(sheet->btnContinuePhotosLibrary(), Qt::LeftButton);
        QVERIFY(!s.controller.trashRun().isRunning());
        sheet->openButton()->click();
        QTRY_VERIFY(sheet->btnContinuePhotosLibrary()->isEnabled());
        sheet->btnContinuePhotosLibrary()->click();
        QTRY_COMPARE(s.summaryText(), QStringLiteral("Items Trashed : 2"));
        QCOMPARE(s.album.batches, QList<int>{1});
    }

    // Stop ends the run part-way with a summary; Put Back returns the moved files unmarked.
    void progressStopAndPutBack()
    {
        constexpr int kGroups = 300;
        Sheets s;
        s.trash.delayMs = 3;
        s.start(kGroups);
        auto* progress = s.sheet<TrashProgressSheet>();
        QTRY_VERIFY(progress->progressBarTrashWindow()->value() >= 20);
        progress->btnStopTrashing()->click();

        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowAfterClean"));
        const int moved = s.controller.trashRun().countTrashed();
        QVERIFY(moved > 0 && moved < kGroups);
        QCOMPARE(s.summaryText(), QStringLiteral("Items Trashed : %1").arg(moved));
        saveScreen(s.sheet<TrashSummarySheet>(), QStringLiteral("trash-summary"));

        s.sheet<TrashSummarySheet>()->putBackButton()->click();
        // Put Back returns every moved file, unmarked; the rest stay marked.
        QTRY_COMPARE(int(std::ranges::count_if(s.scan.arrFileNodes, [](auto* n) { return n->state == 1; })),
                     kGroups - moved);
        for (const FileInfoNode* n : s.scan.arrFileNodes)
            QVERIFY(::access(n->filePath.constData(), F_OK) == 0);
    }
    // A file the Trash refused is listed and can be revealed; the others are reported trashed.
    void notMovedList()
    {
        Sheets s;
        s.trash.refused = {s.tree.path("1b")};
        s.start(3);
        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowFileNotDeletedList"));
        auto* list = s.sheet<NotTrashedSheet>();
        QTableView* table = list->tvFileNotDeletedList();
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {},
                          table->visualRect(list->model()->index(0, NotTrashedTableModel::Reveal)).center());
        QCOMPARE(s.viewer.shown, s.trash.refused);
        list->okButton()->click();
        QTRY_COMPARE(s.summaryText(), QStringLiteral("Items Trashed : 2"));
    }
};

QUILLON_GUI_TEST_MAIN(TestTrashSheets)
#include "tst_trashsheets.moc"
