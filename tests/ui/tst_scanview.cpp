
#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "review/DetailResultViewController.h"
#include "review/FileTableModel.h"
#include "review/GroupTableModel.h"
#include "scan/DragDropBox.h"
#include "scan/PathChooser.h"
#include "scan/ResultViewController.h"
#include "scan/ScanList.h"
#include "scan/ScanListModel.h"
#include "scan/ScanListTableView.h"
#include "scan/ScanListView.h"
#include "scan/ScanProgressView.h"
#include "scan/SkippedItemsDialog.h"
#include "support/RecordingFileViewer.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"
#include "widgets/IMGButton.h"
#include "widgets/LinkButton.h"

#include <QAbstractItemModelTester>
#include <QtWidgets>
#include <unistd.h>

namespace {

class FakeChooser : public PathChooser
{
public:
    QList<QByteArray> choosePaths(QWidget*, Kind) override
    {
        return answers.isEmpty() ? QList<QByteArray>() : answers.takeFirst();
    }
    QList<QList<QByteArray>> answers;
};

} // namespace

class TestScanView : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    ScriptedAlertPresenter m_alerts;
    FakeChooser* m_chooser = nullptr;
    RecordingFileViewer m_viewer;

    QByteArray p(const char* name) const { return m_tree->path(name); }
    QByteArray dir(const char* name) const { return m_tree->dir(name); }
    QByteArray file(const QString& name, const QByteArray& content) const
    {
        return m_tree->file(QFile::encodeName(name), content);
    }

    std::unique_ptr<ResultViewController> makeView()
    {
        auto view = std::make_unique<ResultViewController>(m_tree->settings(), &m_alerts);
        auto chooser = std::make_unique<FakeChooser>();
        m_chooser = chooser.get();
        view->setPathChooser(std::move(chooser));
        view->setFileViewer(&m_viewer);
        view->resize(990, 620); // the main window's 990 x 680 less its header
        view->show();
        return view;
    }

    static void dropOn(QWidget* target, const QList<QByteArray>& paths)
    {
        QByteArray uris;
        for (const QByteArray& path : paths)
            uris += "file://" + path.toPercentEncoding("/") + "\r\n";
        QMimeData mime;
        mime.setData(QStringLiteral("text/uri-list"), uris);
        const Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
        QDragEnterEvent enter(QPoint(20, 20), actions, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &enter);
        QDropEvent drop(QPointF(20, 20), actions, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
        m_tree->settings().setExcludedFolders({QString::fromUtf8(p("ex"))});
        m_tree->settings().setValue(Settings::kMinimumFileSize, 1); // 1 KB
        m_tree->settings().setValue(Settings::kFileSizeUnit, 0);
        m_alerts.clear();
        m_viewer.shown.clear();
    }

    void addByDialogDropAndRowMenu()
    {
        auto view = makeView();
        ScanListView* list = view->scanListView();
        ScanListModel* model = list->model();
        QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        m_chooser->answers = {{dir("a"), dir("b")}};
        QTest::mouseClick(list->addButton(), Qt::LeftButton, {}, QPoint(10, list->addButton()->height() / 2));

        // An excluded item offers the way to Preferences.
        QSignalSpy preferences(view.get(), &ResultViewController::goToPreferencesRequested);
        m_chooser->answers = {{dir("ex/inner")}};
        m_alerts.enqueueAnswer(1);
        view->selectPathToScan();
        QTRY_COMPARE(preferences.count(), 1);

        // One new item and one already listed, dropped on the table.
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QStringLiteral("^path dropped: ")));
        dropOn(list->tableView()->viewport(), {p("a"), dir("d")});
        view->scanList()->selectDeselectPath(2);
        QCOMPARE(list->countLabel()->text(), QStringLiteral("3 items \u00b7 2 ticked for scanning"));

        // The row menu shows the clicked row in the file manager.
        std::unique_ptr<QMenu> menu(list->createRowMenu(1, nullptr));
        for (QAction* act : menu->actions())
            if (!act->isSeparator() && act->data().toInt() == ScanList::ShowInFileViewer)
                act->trigger();
        QCOMPARE(m_viewer.shown, QList<QByteArray>{p("b")});
        // The remove button drawn in the row; unticking the rest disables Scan.
        const QRect cell = list->tableView()->visualRect(model->index(0, ScanListModel::RemoveColumn));
        QTest::mouseClick(list->tableView()->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(model->rowCount(), 2);
        view->scanList()->selectDeselectPath(0);
        QVERIFY(!list->scanButton()->isEnabled());
    }

    void scanFindsDuplicates()
    {
        auto view = makeView();
        const QByteArray same(2048, 'd');
        for (const char* name : {"tree/one.bin", "tree/sub/two.bin", "tree/sub/deeper/three.bin"})
            file(QString::fromLatin1(name), same);
        file("tree/other.bin", QByteArray(2048, 'o'));
        view->scanList()->selectPathToScan({p("tree")});
        // click() runs no event loop, so the scan cannot end before the checks below.
        view->scanListView()->scanButton()->click();
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::Progress);
        QVERIFY(AppGlobals::canOpenPreferences);
        ScanProgressView* progress = view->progressView();
        QTRY_COMPARE(progress->titleLabel()->text(), ScanProgressView::kCompletedText);
        QVERIFY(!AppGlobals::canOpenPreferences);
        QCOMPARE(progress->dupCountLabel()->text(), QStringLiteral("2"));

        // The hand-off keeps only the group with copies.
        QTest::mouseClick(progress->showResultsButton(), Qt::LeftButton);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::Results);
        DetailResultViewController* results = view->detailView();
        QCOMPARE(results->groupModel()->rowCount(), 1);
        QCOMPARE(results->fileModel()->rowCount(), 3);
        saveScreen(view.get(), QStringLiteral("scan-results"));

        QSignalSpy restore(view.get(), &ResultViewController::restoreWindowSizeRequested);
        QTest::mouseClick(results->btnBack(), Qt::LeftButton);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);
        QCOMPARE(restore.count(), 1);
        QCOMPARE(results->groupModel()->rowCount(), 0);
    }

    // Nothing found: the message, then back to the list.
    void scanWithoutDuplicatesOrStopped()
    {
        auto view = makeView();
        file(QStringLiteral("t/a.bin"), QByteArray(2048, 'a'));
        file(QStringLiteral("t/b.bin"), QByteArray(2048, 'b'));
        view->scanList()->selectPathToScan({p("t")});
        view->startScanning();
        QTRY_COMPARE(m_alerts.alerts().size(), 1);
        QCOMPARE(m_alerts.alerts().first().messageText, ResultViewController::kNoDuplicatesMessage);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);

        // A stopped scan ends with Back to the list.
        for (int i = 0; i < 120; ++i)
            file(QStringLiteral("many/%1.bin").arg(i), QByteArray(64 * 1024, 'z'));
        view->scanList()->selectPathToScan({p("many")});
        view->startScanning();
        ScanProgressView* progress = view->progressView();
        progress->stopButton()->click();
        QTRY_VERIFY(!view->isScanning() && !progress->backButton()->isHidden());
        QTest::mouseClick(progress->backButton(), Qt::LeftButton);
        QTRY_COMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);
    }

    // The end of a scan says what could not be read and lists it; an item can be revealed.
    void skippedItemsAreListed()
    {
        auto view = makeView();
        const QByteArray a = file(QStringLiteral("t/a.bin"), QByteArray(2048, 'a'));
        file(QStringLiteral("t/b.bin"), QByteArray(2048, 'a'));
        QVERIFY(::link(a.constData(), p("t/c.bin").constData()) == 0);
        const QByteArray gone = dir("gone");
        view->scanList()->selectPathToScan({p("t"), gone});
        QVERIFY(QDir().rmdir(QFile::decodeName(gone)));
        view->startScanning();
        ScanProgressView* progress = view->progressView();
        QTRY_COMPARE(progress->titleLabel()->text(), ScanProgressView::kCompletedText);
        QCOMPARE(progress->skippedLabel()->text(),
                 QStringLiteral("1 item could not be read\n1 path reached a file already scanned"));
        progress->skippedButton()->click();
        auto* dialog = view->findChild<SkippedItemsDialog*>();
        QVERIFY(dialog && dialog->isVisible());
        QCOMPARE(dialog->table()->model()->index(0, 1).data().toString(), qt_error_string(ENOENT));
        dialog->table()->selectRow(0);
        dialog->revealSelected();
        QCOMPARE(m_viewer.shown, QList<QByteArray>{gone});
    }

    // Tab walks every control of the list page and leaves the table; each drawn button is a
    // button to assistive tools, named by its title, and Space or Enter presses it.
    void keyboardReachesDrawnButtons()
    {
        auto view = makeView();
        view->scanList()->selectPathToScan({dir("k1"), dir("k2")});
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        ScanListView* list = view->scanListView();
        list->addButton()->setFocus(Qt::TabFocusReason);
        QList<QWidget*> reached;
        for (int i = 0; i < 8 && !reached.contains(QApplication::focusWidget()); ++i) {
            reached.append(QApplication::focusWidget());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(reached.contains(list->tableView()) && reached.contains(list->scanButton()) &&
                reached.contains(list->addFilesLink()));
        for (QWidget* w : std::as_const(reached)) {
            if (auto* button = qobject_cast<QAbstractButton*>(w)) {
                QAccessibleInterface* access = QAccessible::queryAccessibleInterface(button);
                QCOMPARE(access->role(), QAccessible::Button);
                QCOMPARE(access->text(QAccessible::Name), button->text());
            }
        }
    }
};

QUILLON_GUI_TEST_MAIN(TestScanView)
#include "tst_scanview.moc"
