#include <QApplication>

#include "model/ScanResult.h"
#include "platform/FileViewer.h"
#include "review/CategoryBar.h"
#include "review/DetailResultViewController.h"
#include "review/FileTableModel.h"
#include "review/GroupTableModel.h"
#include "review/PreviewPane.h"
#include "review/ResultsActions.h"
#include "review/ReviewModel.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"
#include "widgets/CFMButton.h"
#include "widgets/CustomTableView.h"

#include <QAbstractItemModelTester>
#include <QtWidgets>

namespace {

// Fails every request, as when neither the file manager nor the fallback can start.
class FailingFileViewer : public FileViewer
{
public:
    bool showItems(const QList<QByteArray>& paths) override { return asked += paths, false; }
    QList<QByteArray> asked;
};

struct FileRow
{
    QByteArray path; // below the tree's root
    quint64 size;
    int day;
};

} // namespace

class TestResultsView : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;
    FailingFileViewer m_viewer;

    // Groups of files written below the tree (contents need not match: the view trusts the scan).
    std::unique_ptr<ScanResult> makeResult(const QList<QList<FileRow>>& groups, const QByteArray& root = {})
    {
        auto result = std::make_unique<ScanResult>();
        for (const QList<FileRow>& rows : groups) {
            DuplicateGroup* group = result->addGroup();
            for (const FileRow& row : rows) {
                FileInfoNode n;
                n.filePath = (root.isEmpty() ? m_tree->root() : root) + '/' + row.path;
                TestSupport::writeFile(n.filePath, QByteArray(16, 'x'));
                n.fileSize = row.size;
                n.createDate = 1700000000.0 + row.day * 86400.0;
                n.fileCategory = FileInfoNode::categoryForPath(n.filePath, true);
                FileInfoNode* node = result->addNode(std::move(n));
                node->parent = group;
                group->children.push_back(node);
                group->filteredChildren.push_back(node);
                group->groupSize += row.size;
                result->countDup += group->children.size() > 1 ? 1 : 0;
            }
        }
        return result;
    }

    std::unique_ptr<DetailResultViewController> makeView(std::unique_ptr<ScanResult> result)
    {
        auto view = std::make_unique<DetailResultViewController>(m_tree->settings(), m_alerts);
        view->setFileViewer(&m_viewer);
        view->resize(990, 620); // the main window less its header
        view->show();
        view->showResultDetail(std::move(result));
        return view;
    }

    // Two image groups, a document group of three and a music pair.
    std::unique_ptr<DetailResultViewController> standardView()
    {
        return makeView(makeResult(
            {{{"Pictures/beach.jpg", 4000, 1}, {"Backup/beach copy.jpg", 4000, 2}},
             {{"Docs/report.pdf", 9000, 3}, {"Mail/report.pdf", 9000, 1}, {"Old/report (1).pdf", 9000, 2}},
             {{"Music/song.mp3", 3000, 1}, {"Backup/song.mp3", 3000, 1}},
             {{"Pictures/cat.png", 100, 1}, {"Desk/cat.png", 100, 2}}}));
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
        m_alerts.clear();
        m_viewer.asked.clear();
    }

    // Largest groups first; the group rows describe the first file, the file rows each file,
    // and a mark shows on the group row at once. A stopped scan says so.
    void modelsShowGroupsAndFiles()
    {
        auto view = standardView();
        QVERIFY(view->lblScanStopped()->isHidden());
        QAbstractItemModelTester groupsTester(view->groupModel(),
                                              QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester filesTester(view->fileModel(),
                                             QAbstractItemModelTester::FailureReportingMode::QtTest);
        GroupTableModel* groups = view->groupModel();
        QCOMPARE(groups->index(0, GroupTableModel::NameColumn).data().toString(),
                 QStringLiteral("report.pdf"));
        QCOMPARE(groups->index(0, GroupTableModel::ItemsColumn).data().toString(),
                 QStringLiteral("3 items, 27.00 KB"));

        FileTableModel* files = view->fileModel();
        const QModelIndex detail = files->index(1, FileTableModel::DetailColumn);
        QCOMPARE(detail.data().toString(), QStringLiteral("report.pdf"));
        QCOMPARE(detail.data(FileTableModel::FolderRole).toString(), QString::fromUtf8(m_tree->path("Mail")));

        QVERIFY(
            files->setData(files->index(1, FileTableModel::StateColumn), Qt::Checked, Qt::CheckStateRole));
        QCOMPARE(groups->index(0, GroupTableModel::SelectedColumn).data().toString(),
                 QStringLiteral("1 of 3 selected"));

        // Another group drives the file table and the preview.
        view->tvAllDupResult()->setCurrentIndex(groups->index(2, 0));
        QCOMPARE(files->rowCount(), 2);
        QTRY_COMPARE(view->preview()->shownPath(), files->fileAt(0)->filePath);
        // A file the file manager cannot show is reported.
        view->actions()->showInFileManager()->trigger();
        QCOMPARE(m_viewer.asked, QList<QByteArray>{files->fileAt(0)->filePath});
        QCOMPARE(m_alerts.alerts().value(0).messageText,
                 QStringLiteral("The file could not be shown in the file manager."));
        auto stopped = makeResult({{{"a.txt", 10, 1}, {"b.txt", 10, 2}}});
        stopped->aborted = true;
        view->showResultDetail(std::move(stopped));
        QVERIFY(view->lblScanStopped()->isVisibleTo(view.get()));
    }

    void categoriesAndSearch()
    {
        auto view = standardView();
        view->categoryBar()->button(CategoryImages)->click();
        QCOMPARE(view->groupModel()->rowCount(), 2);
        QCOMPARE(view->lblDupCount()->text(), QStringLiteral("Images: 2 duplicate(s) found 4.10 KB"));
        QCOMPARE(view->categoryBar()->highlighted(), int(CategoryImages));

        view->categoryBar()->button(CategoryVideos)->click();
        QCOMPARE(m_alerts.alerts().size(), 1);
        QCOMPARE(m_alerts.alerts().first().messageText, QStringLiteral("Oops! No duplicate videos found"));
        QCOMPARE(view->categoryBar()->highlighted(), int(CategoryImages));

        view->searchTextField()->setText(QStringLiteral("  CAT "));
        QTRY_COMPARE(view->groupModel()->rowCount(), 1);
        QCOMPARE(view->groupModel()->index(0, 0).data().toString(), QStringLiteral("cat.png"));

        // Choosing the category again drops the search.
        view->categoryBar()->button(CategoryImages)->click();
        QCOMPARE(view->groupModel()->rowCount(), 2);
    }

    // Tab visits every control once in order and comes back round; the shortcuts act.
    void keyboard()
    {
        auto view = standardView();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        const QList<QWidget*> chain = view->focusChain();
        chain.first()->setFocus(Qt::TabFocusReason);
        for (int i = 1; i <= chain.size(); ++i) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QWidget* expected = chain[i % chain.size()];
            // Disabled controls are passed over.
            while (!expected->isEnabled())
                expected = chain[++i % chain.size()];
            QCOMPARE(QApplication::focusWidget(), expected);
        }
        for (QWidget* control : chain)
            QVERIFY2(!control->accessibleName().isEmpty(), control->metaObject()->className());

        QTest::keyClick(view.get(), Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(view->review()->selectedCategoryIndex(), int(CategoryImages));
        QTest::keyClick(view.get(), Qt::Key_0, Qt::ControlModifier);
        QCOMPARE(view->review()->selectedCategoryIndex(), ReviewModel::kAllCategories);
        QTest::keyClick(view.get(), Qt::Key_F, Qt::ControlModifier);
        QCOMPARE(QApplication::focusWidget(), view->searchTextField());
        // In the file table Space marks.
        view->tvFileDupResult()->setFocus();
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_Down);
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_Space);
        QCOMPARE(view->fileModel()->fileAt(1)->state, 1);
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_M, Qt::ControlModifier | Qt::ShiftModifier);
        QCOMPARE(view->review()->countMarked(), 0);
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_M, Qt::ControlModifier);
        AutoMarkPanel* panel = view->windowAutoMark();
        QVERIFY(panel && panel->isVisible());
        panel->continueButton()->click();
        QCOMPARE(view->review()->countMarked(), 5);
        QSignalSpy trash(view.get(), &DetailResultViewController::trashRequested);
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_Delete);
        QCOMPARE(trash.size(), 1);
        QSignalSpy back(view.get(), &DetailResultViewController::backRequested);
        QTest::keyClick(view->tvFileDupResult(), Qt::Key_Left, Qt::AltModifier);
        QCOMPARE(back.size(), 1);
    }

    // A realistic home folder inside the test's tree, for the
    // picture of the results view: the largest group is a photo, which previews as a picture.
    void showcase()
    {
        const QByteArray home = m_tree->dir("home/sam");
        const QList<QByteArray> photos{"Pictures/Holiday 2023/IMG_2041.jpg", "Desktop/To sort/IMG_2041.jpg",
                                       "Backup/Phone/DCIM/IMG_2041 copy.jpg"};
        auto result =
            makeResult({{{photos[0], 4812331, 3}, {photos[1], 4812331, 40}, {photos[2], 4812331, 41}},
                        {{"Documents/Tax return 2023.pdf", 1204551, 12},
                         {"Downloads/Tax return 2023 (1).pdf", 1204551, 13}}},
                       home);
        QImage photo(1200, 800, QImage::Format_RGB32);
        photo.fill(QColor(255, 190, 130));
        QPainter(&photo).fillRect(0, 520, 1200, 280, QColor(40, 90, 140));
        for (const QByteArray& path : photos)
            QVERIFY(photo.save(QFile::decodeName(home + '/' + path), "JPEG", 90));
        auto view = makeView(std::move(result));
        view->fileModel()->toggleMark(1);
        view->fileModel()->toggleMark(2);
        QTRY_COMPARE(view->preview()->shownPath(), view->fileModel()->fileAt(0)->filePath);
        QCOMPARE(int(*view->preview()->shownKind()), int(PreviewContent::Kind::Image));
        QCOMPARE(view->lblNumMarkedFiles()->text(), QStringLiteral("2 item(s) marked 9.62 MB"));
        saveScreen(view.get(), QStringLiteral("results-view"));
    }
};

QUILLON_GUI_TEST_MAIN(TestResultsView)
#include "tst_resultsview.moc"
