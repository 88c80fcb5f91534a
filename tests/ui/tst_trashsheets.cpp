#include <QApplication>

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

#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTextDocumentFragment>
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
        QDialog* sheet = controller.currentSheet();
        return sheet && sheet->isVisible() ? sheet->objectName() : QString();
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
    // Which sheet the trash button opens, and what the confirmation's answers do; the
    // "do not ask again" box is ticked each time but stored only on proceed.
    void confirmation_data()
    {
        QTest::addColumn<bool>("skip");
        QTest::addColumn<bool>("photos");
        QTest::addColumn<bool>("proceed");
        QTest::addColumn<QString>("next");
        const auto row = [](const char* tag, bool skip, bool photos, bool proceed, const char* next) {
            QTest::newRow(tag) << skip << photos << proceed << QString(next);
        };
        row("asks, proceed", false, false, true, "windowTrash");
        row("asks, review files", false, false, false, "");
        row("asks, then Photos instructions", false, true, true, "windowPhotosAppInstruction");
        row("skips, plain files", true, false, true, "windowTrash");
        row("skips, a Photos item", true, true, true, "windowPhotosAppInstruction");
    }
    void confirmation()
    {
        QFETCH(bool, skip);
        QFETCH(bool, photos);
        QFETCH(bool, proceed);
        QFETCH(QString, next);
        Sheets s;
        s.start(2, photos, skip);
        if (!skip) {
            auto* sheet = s.sheet<TrashConfirmationSheet>();
            QVERIFY(sheet && sheet->isVisible());
            saveScreen(sheet, QStringLiteral("trash-confirmation"));
            sheet->doNotShowAgain()->click();
            (proceed ? sheet->proceedButton() : sheet->reviewButton())->click();
        }
        QTRY_COMPARE(s.sheetName(), next);
        QCOMPARE(s.tree.storedValue(Settings::kDoNotShowConfirmationDialogOnTrash).toBool(), proceed);
        QCOMPARE(s.controller.trashRun().isRunning() || s.controller.trashRun().countTrashed() > 0,
                 next == "windowTrash");
        if (!photos)
            return;
        // Continue does nothing until the library has been opened; then the item goes to the album.
        auto* sheet = s.sheet<PhotosInstructionSheet>();
        saveScreen(sheet, QStringLiteral("trash-photos-instructions"));
        QTest::mouseClick(sheet->btnContinuePhotosLibrary(), Qt::LeftButton);
        QVERIFY(!s.controller.trashRun().isRunning());
        sheet->openButton()->click();
        QTRY_VERIFY(sheet->btnContinuePhotosLibrary()->isEnabled());
        QCOMPARE(s.album.opened, QByteArrayList{"/lib.photoslibrary"});
        sheet->btnContinuePhotosLibrary()->click();
        QTRY_COMPARE(s.summaryText(), QStringLiteral("Items Trashed : 2"));
        QCOMPARE(s.album.batches, QList<int>{1});
    }

    // The numbers move while the worker runs; Stop ends it with a summary; Put Back returns all.
    void progressStopAndPutBack()
    {
        constexpr int kGroups = 300;
        Sheets s;
        s.trash.delayMs = 3;
        s.start(kGroups);
        auto* progress = s.sheet<TrashProgressSheet>();
        QVERIFY(progress);
        QTRY_VERIFY(progress->progressBarTrashWindow()->value() >= 20);
        QVERIFY(!progress->lblFileCountTrash()->text().startsWith(QLatin1String("0 items moved")));
        QVERIFY(!progress->lblBytesCompared()->text().startsWith(QLatin1String("0 bytes")));
        progress->btnStopTrashing()->click();
        QVERIFY(!progress->btnStopTrashing()->isEnabled() && progress->indicatorStop()->isVisible());
        saveScreen(progress, QStringLiteral("trash-progress-stopping"));

        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowAfterClean"));
        const int moved = s.controller.trashRun().countTrashed();
        QVERIFY(moved > 0 && moved < kGroups);
        QCOMPARE(s.summaryText(), QStringLiteral("Items Trashed : %1").arg(moved));
        saveScreen(s.sheet<TrashSummarySheet>(), QStringLiteral("trash-summary"));
        QCOMPARE(int(s.model.arrGroups().size()), kGroups - moved);

        s.sheet<TrashSummarySheet>()->putBackButton()->click();
        QTRY_COMPARE(s.sheetName(), QString());
        QCOMPARE(int(s.model.arrGroups().size()), kGroups);
        QCOMPARE(s.model.countMarked(), kGroups - moved);
        for (const FileInfoNode* n : s.scan.arrFileNodes)
            QVERIFY(::access(n->filePath.constData(), F_OK) == 0);
    }

    void notMovedList()
    {
        Sheets s;
        const QByteArray refused = s.tree.path("1b");
        s.trash.refused.append(refused);
        s.start(3);
        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowFileNotDeletedList"));
        auto* sheet = s.sheet<NotTrashedSheet>();
        QCOMPARE(sheet->model()->rowCount(), 1);
        QCOMPARE(sheet->model()->index(0, NotTrashedTableModel::Reason).data().toString(), "refused");
        saveScreen(sheet, QStringLiteral("trash-not-moved"));

        QTableView* table = sheet->tvFileNotDeletedList();
        const QRect cell = table->visualRect(sheet->model()->index(0, NotTrashedTableModel::Reveal));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(s.viewer.shown, QList<QByteArray>{refused});

        sheet->okButton()->click();
        QTRY_COMPARE(s.summaryText(), QStringLiteral("Items Trashed : 2"));
        // The refused file's group stays, still marked.
        QCOMPARE(s.model.arrGroups().size(), size_t(1));
        QCOMPARE(s.model.countMarked(), 1);
    }
};

QUILLON_GUI_TEST_MAIN(TestTrashSheets)
#include "tst_trashsheets.moc"
