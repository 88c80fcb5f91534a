#include <QApplication>

#include "app/Settings.h"
#include "libraries/PhotosNode.h"
#include "model/ScanResult.h"
#include "platform/Trash.h"
#include "review/NotTrashedSheet.h"
#include "review/NotTrashedTableModel.h"
#include "review/PhotosAlbum.h"
#include "review/PhotosInstructionSheet.h"
#include "review/ReviewModel.h"
#include "review/TrashConfirmationSheet.h"
#include "review/TrashProgressSheet.h"
#include "review/TrashSheetsController.h"
#include "review/TrashSummarySheet.h"
#include "support/RecordingFileViewer.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTableView>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QThread>
#include <unistd.h>

namespace {

// Renames items into a folder of the test, slowly when asked, refusing the paths it is told to.
class FolderTrash : public TrashInterface
{
public:
    explicit FolderTrash(QByteArray dir) : m_dir(std::move(dir)) {}
    TrashOutcome moveToTrash(const QByteArray& path) override
    {
        TrashOutcome outcome;
        if (refused.contains(path)) {
            outcome.errorText = QStringLiteral("refused");
            return outcome;
        }
        QThread::msleep(delayMs);
        outcome.trashedPath = m_dir + '/' + QByteArray::number(++m_count);
        outcome.moved = ::rename(path.constData(), outcome.trashedPath.constData()) == 0;
        return outcome;
    }
    QByteArrayList refused;
    unsigned long delayMs = 0;

private:
    QByteArray m_dir;
    int m_count = 0; // only the worker moves
};

class OpeningAlbum : public PhotosAlbumInterface
{
public:
    bool isAlbumCreated() override { return true; }
    bool createDuplicatesMarkedForTrashAlbum() override { return true; }
    QSet<QString> knownMediaItems(const QStringList& uuids) override { return {uuids.begin(), uuids.end()}; }
    void addToAlbum(const QStringList&) override {}
    bool quitAndopenNewPhotosLibrary(const QByteArray& libraryPath) override
    {
        opened.append(libraryPath);
        return true;
    }
    QByteArrayList opened; // read after the open task has ended
};

// A results window with groups of two equal files, the second of each marked.
struct Sheets
{
    TestSupport::TestTree tree;
    ScanResult scan;
    ScriptedAlertPresenter alerts;
    RecordingFileViewer viewer;
    FolderTrash trash{tree.dir("trash")};
    OpeningAlbum album;
    ReviewModel model{tree.settings(), alerts};
    QWidget window;
    TrashSheetsController controller{model, tree.settings(), trash, album, viewer, alerts};

    void groups(int count, bool photosItem = false)
    {
        for (int i = 0; i < count; ++i) {
            DuplicateGroup* g = scan.addGroup();
            for (const char* side : {"a", "b"}) {
                FileInfoNode* n = scan.addNode(*FileInfoNode::initWithPathForFile(
                    tree.file(QByteArray::number(i) + side, "copy " + QByteArray::number(i))));
                n->parent = g;
                g->children.push_back(n);
                g->groupSize += n->fileSize;
            }
            if (photosItem && i == 0) {
                FileInfoNode p;
                p.filePath = "/lib.photoslibrary/Masters/x";
                p.libraryPath = "/lib.photoslibrary";
                p.isPhotosNode = true;
                p.photosInfo = std::make_unique<PhotosNode>();
                FileInfoNode* n = scan.addNode(std::move(p));
                n->parent = g;
                g->children.push_back(n);
            }
            g->filteredChildren = g->children;
        }
        model.setArrMainGroup(scan.arrMainGroup);
        model.updateUIComponentsDetailView();
        for (DuplicateGroup* g : model.arrGroups())
            model.updateNodeState(g->filteredChildren.back(), true);
        window.resize(990, 680);
        window.show();
    }
    QString sheetName() const
    {
        QDialog* sheet = controller.currentSheet();
        return sheet && sheet->isVisible() ? sheet->objectName() : QString();
    }
    template <typename T> T* sheet() const { return qobject_cast<T*>(controller.currentSheet()); }
};

} // namespace

class TestTrashSheets : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // Which sheet the trash button opens, and what the confirmation's answers do.
    void confirmation_data()
    {
        QTest::addColumn<bool>("skip");
        QTest::addColumn<bool>("photos");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("next");
        QTest::addColumn<bool>("storedSkip");
        QTest::newRow("asks, proceed, do not ask again") << false << false << "proceed"
                                                         << "windowTrash" << true;
        QTest::newRow("asks, review files") << false << false << "review"
                                            << "" << false;
        QTest::newRow("asks, then Photos instructions") << false << true << "proceed"
                                                        << "windowPhotosAppInstruction" << true;
        QTest::newRow("skips, plain files") << true << false << ""
                                            << "windowTrash" << true;
        QTest::newRow("skips, a Photos item") << true << true << ""
                                              << "windowPhotosAppInstruction" << true;
    }
    void confirmation()
    {
        QFETCH(bool, skip);
        QFETCH(bool, photos);
        QFETCH(QString, answer);
        QFETCH(QString, next);
        QFETCH(bool, storedSkip);
        Sheets s;
        s.tree.settings().setDoNotShowConfirmationDialogOnTrash(skip);
        s.groups(2, photos);
        s.controller.removeSelectedItems(&s.window);
        if (!skip) {
            auto* sheet = s.sheet<TrashConfirmationSheet>();
            QVERIFY(sheet && sheet->isVisible());
            saveScreen(sheet, QStringLiteral("trash-confirmation"));
            sheet->doNotShowAgain()->click();
            (answer == "proceed" ? sheet->proceedButton() : sheet->reviewButton())->click();
        }
        QTRY_COMPARE(s.sheetName(), next);
        QCOMPARE(s.tree.storedValue(Settings::kDoNotShowConfirmationDialogOnTrash).toBool(), storedSkip);
        QCOMPARE(s.controller.trashRun().isRunning() || s.controller.trashRun().countTrashed() > 0,
                 next == "windowTrash");
    }

    void continueOnlyAfterOpen()
    {
        Sheets s;
        s.tree.settings().setDoNotShowConfirmationDialogOnTrash(true);
        s.groups(1, true);
        s.controller.removeSelectedItems(&s.window);
        auto* sheet = s.sheet<PhotosInstructionSheet>();
        QVERIFY(sheet);
        QVERIFY(sheet->lblinstructionThree()->text().contains(QStringLiteral("\u201cPhotos\u201d")) ||
                sheet->lblinstructionThree()->text().contains(QStringLiteral("\u201cAll Photos\u201d")));
        saveScreen(sheet, QStringLiteral("trash-photos-instructions"));
        QVERIFY(!sheet->btnContinuePhotosLibrary()->isEnabled());
        QTest::mouseClick(sheet->btnContinuePhotosLibrary(), Qt::LeftButton);
        QVERIFY(!s.controller.trashRun().isRunning());
        sheet->openButton()->click();
        QTRY_VERIFY(sheet->btnContinuePhotosLibrary()->isEnabled());
        QCOMPARE(s.album.opened, QByteArrayList{"/lib.photoslibrary"});
        sheet->btnContinuePhotosLibrary()->click();
        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowAfterClean"));
        // The marked Photos item went into the album.
        QCOMPARE(s.controller.trashRun().countTrashed(), 1);
    }

    // The numbers move while the worker runs; Stop ends it with a summary; Put Back returns all.
    void progressStopAndPutBack()
    {
        constexpr int kGroups = 300;
        Sheets s;
        s.tree.settings().setDoNotShowConfirmationDialogOnTrash(true);
        s.trash.delayMs = 3;
        s.groups(kGroups);
        s.controller.removeSelectedItems(&s.window);
        auto* progress = s.sheet<TrashProgressSheet>();
        QVERIFY(progress);
        QTRY_VERIFY(progress->progressBarTrashWindow()->value() >= 20);
        QVERIFY(progress->progressBarTrashWindow()->maximum() < kGroups);
        QVERIFY(!progress->lblFileCountTrash()->text().startsWith(QLatin1String("0 items moved")));
        QVERIFY(!progress->lblBytesCompared()->text().startsWith(QLatin1String("0 bytes")));
        saveScreen(progress, QStringLiteral("trash-progress"));
        progress->btnStopTrashing()->click();
        QVERIFY(!progress->btnStopTrashing()->isEnabled() && progress->indicatorStop()->isVisible());
        saveScreen(progress, QStringLiteral("trash-progress-stopping"));

        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowAfterClean"));
        auto* summary = s.sheet<TrashSummarySheet>();
        const int moved = s.controller.trashRun().countTrashed();
        QVERIFY(moved > 0 && moved < kGroups);
        QCOMPARE(QTextDocumentFragment::fromHtml(summary->lblDupCleaned()->text()).toPlainText(),
                 QStringLiteral("Items Trashed : %1").arg(moved));
        QCOMPARE(summary->height(), TrashSummarySheet::kHeight);
        saveScreen(summary, QStringLiteral("trash-summary"));
        QCOMPARE(int(s.model.arrGroups().size()), kGroups - moved);
        QCOMPARE(s.model.countMarked(), kGroups - moved);

        summary->putBackButton()->click();
        QTRY_COMPARE(s.sheetName(), QString());
        QCOMPARE(int(s.model.arrGroups().size()), kGroups);
        QCOMPARE(s.model.countMarked(), kGroups - moved);
        for (const FileInfoNode* n : s.scan.arrFileNodes)
            QVERIFY(::access(n->filePath.constData(), F_OK) == 0);
        QVERIFY(s.alerts.alerts().isEmpty());
    }

    void notMovedList()
    {
        Sheets s;
        s.tree.settings().setDoNotShowConfirmationDialogOnTrash(true);
        s.groups(3);
        const QByteArray refused = s.scan.arrMainGroup[1]->children[1]->filePath;
        s.trash.refused.append(refused);
        s.controller.removeSelectedItems(&s.window);
        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowFileNotDeletedList"));
        auto* sheet = s.sheet<NotTrashedSheet>();
        QAbstractItemModelTester tester(sheet->model(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(sheet->model()->rowCount(), 1);
        QCOMPARE(sheet->model()->index(0, NotTrashedTableModel::Reason).data().toString(),
                 QStringLiteral("refused"));
        saveScreen(sheet, QStringLiteral("trash-not-moved"));

        QTableView* table = sheet->tvFileNotDeletedList();
        const QRect cell = table->visualRect(sheet->model()->index(0, NotTrashedTableModel::Reveal));
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(s.viewer.shown, QList<QByteArray>{refused});

        sheet->okButton()->click();
        QTRY_COMPARE(s.sheetName(), QStringLiteral("windowAfterClean"));
        QCOMPARE(QTextDocumentFragment::fromHtml(s.sheet<TrashSummarySheet>()->lblDupCleaned()->text())
                     .toPlainText(),
                 QStringLiteral("Items Trashed : 2"));
        // The refused file's group stays, still marked.
        QCOMPARE(s.model.arrGroups().size(), size_t(1));
        QCOMPARE(s.model.countMarked(), 1);
    }

    // The part from the first ':' is bold, the rest plain, whatever the text holds.
    void boldAndNonBoldString_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("bold");
        QTest::newRow("count") << "Items Trashed : 2"
                               << ": 2";
        QTest::newRow("no colon") << "Nothing"
                                  << "";
        QTest::newRow("second colon stays bold") << "a : b : c"
                                                 << ": b : c";
        QTest::newRow("markup is text") << "<b>x</b> : 1 & 2"
                                        << ": 1 & 2";
    }
    void boldAndNonBoldString()
    {
        QFETCH(QString, text);
        QFETCH(QString, bold);
        QTextDocument doc;
        doc.setHtml(TrashSummarySheet::boldAndNonBoldString(text));
        QCOMPARE(doc.toPlainText(), text);
        QString shownBold;
        for (auto it = doc.begin().begin(); !it.atEnd(); ++it) {
            if (it.fragment().charFormat().fontWeight() >= QFont::Bold)
                shownBold += it.fragment().text();
        }
        QCOMPARE(shownBold, bold);
    }
};

QUILLON_GUI_TEST_MAIN(TestTrashSheets)
#include "tst_trashsheets.moc"
