#include <QApplication>

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "platform/FileViewer.h"
#include "review/DetailResultViewController.h"
#include "review/FileTableModel.h"
#include "review/GroupTableModel.h"
#include "review/ReviewModel.h"
#include "scan/DragDropBox.h"
#include "scan/ElidedLabel.h"
#include "scan/PathChooser.h"
#include "scan/ResultViewController.h"
#include "scan/ScanEngine.h"
#include "scan/ScanList.h"
#include "scan/ScanListModel.h"
#include "scan/ScanListTableView.h"
#include "scan/ScanListView.h"
#include "scan/ScanOptions.h"
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
#include <QAccessible>
#include <QDragEnterEvent>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <cerrno>
#include <memory>
#include <unistd.h>

namespace {

class FakeChooser : public PathChooser
{
public:
    QList<QByteArray> choosePaths(QWidget*, Kind kind) override
    {
        kinds.append(kind);
        return answers.isEmpty() ? QList<QByteArray>() : answers.takeFirst();
    }
    QList<QList<QByteArray>> answers;
    QList<Kind> kinds;
};

// The header of the main window takes the rest of its 990 x 680 points.
const QSize kScreenSize(990, 620);

} // namespace

class TestScanView : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    Settings& settings() const { return m_tree->settings(); }
    ScriptedAlertPresenter m_alerts;
    FakeChooser* m_chooser = nullptr;
    RecordingFileViewer m_viewer;

    QByteArray p(const QString& name) const { return m_tree->path(QFile::encodeName(name)); }
    QByteArray makeDir(const QString& name) const { return m_tree->dir(QFile::encodeName(name)); }
    QByteArray makeFile(const QString& name, const QByteArray& content) const
    {
        return m_tree->file(QFile::encodeName(name), content);
    }

    std::unique_ptr<ResultViewController> makeView()
    {
        auto view = std::make_unique<ResultViewController>(settings(), &m_alerts);
        auto chooser = std::make_unique<FakeChooser>();
        m_chooser = chooser.get();
        view->setPathChooser(std::move(chooser));
        view->setFileViewer(&m_viewer);
        ScanOptions options;
        options.useCache = false;
        view->engine()->setOptions(options);
        view->resize(kScreenSize);
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
        QVERIFY(enter.isAccepted());
        QDropEvent drop(QPointF(20, 20), actions, &mime, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &drop);
        QVERIFY(drop.isAccepted());
    }

    static QStringList messages(const QList<Alert>& alerts)
    {
        QStringList out;
        for (const Alert& a : alerts)
            out.append(a.messageText);
        return out;
    }

private Q_SLOTS:
    void init()
    {
        m_tree = std::make_unique<TestSupport::TestTree>();
        QVERIFY(m_tree->isValid());
        settings().setExcludedFolders({});
        settings().setValue(Settings::kMinimumFileSize, 1); // 1 KB
        settings().setValue(Settings::kFileSizeUnit, 0);
        m_alerts.clear();
        m_viewer.shown.clear();
    }
    void cleanup() { m_tree.reset(); }

    void addByDialogAndDrop()
    {
        auto view = makeView();
        saveScreen(view.get(), QStringLiteral("scan-list-empty"));
        ScanListView* list = view->scanListView();
        QCOMPARE(list->addButton()->toolTip(), QStringLiteral("Add Folder/ iPhoto Library/ Photos Library"));
        QVERIFY(!list->scanButton()->isEnabled());

        m_chooser->answers = {{makeDir("a"), makeDir("b")}};
        QTest::mouseClick(list->addButton(), Qt::LeftButton, {}, QPoint(10, list->addButton()->height() / 2));
        QCOMPARE(m_chooser->kinds, QList<PathChooser::Kind>{PathChooser::Kind::Folders});
        QCOMPARE(list->model()->index(1, ScanListModel::PathColumn).data().toString(),
                 QString::fromUtf8(p("b")));
        QVERIFY(list->scanButton()->isEnabled());
        // A cancelled dialog changes nothing.
        view->selectPathToScan(PathChooser::Kind::Files);
        QCOMPARE(list->model()->rowCount(), 2);

        // One new item and one already listed, dropped on the box and then on the table.
        for (const char* log :
             {"^drag drop path = ", "^path dropped: ", "^drag drop path = ", "^path dropped: "})
            QTest::ignoreMessage(QtInfoMsg, QRegularExpression(QString::fromLatin1(log)));
        dropOn(list->dropBox(), {p("a"), makeFile("c.txt", "x")});
        QCOMPARE(list->model()->rowCount(), 3);
        dropOn(list->tableView()->viewport(), {makeDir("d")});
        view->scanList()->selectDeselectPath(2);
        QCOMPARE(list->countLabel()->text(), QStringLiteral("4 items \u00b7 3 ticked for scanning"));
        saveScreen(view.get(), QStringLiteral("scan-list-filled"));
    }

    void ticksRemovalAndRowMenu()
    {
        auto view = makeView();
        ScanListView* list = view->scanListView();
        ScanListModel* model = list->model();
        QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const QByteArray b = makeDir("b");
        view->scanList()->selectPathToScan({makeDir("a"), b});
        // Unticking both rows by their boxes disables Scan.
        for (int row = 0; row < 2; ++row)
            QVERIFY(model->setData(model->index(row, ScanListModel::TickColumn), Qt::Unchecked,
                                   Qt::CheckStateRole));
        QVERIFY(!list->scanButton()->isEnabled());

        // The row menu: show in the file manager, remove the clicked row.
        std::unique_ptr<QMenu> menu(list->createRowMenu(1, nullptr));
        const auto action = [&menu](int tag) {
            for (QAction* act : menu->actions())
                if (!act->isSeparator() && act->data().toInt() == tag)
                    return act;
            return static_cast<QAction*>(nullptr);
        };
        QCOMPARE(action(ScanList::ShowInFileViewer)->text(), QStringLiteral("Show in File Manager"));
        action(ScanList::ShowInFileViewer)->trigger();
        QCOMPARE(m_viewer.shown, QList<QByteArray>{b});
        action(ScanList::RemoveRow)->trigger();
        QCOMPARE(model->rowCount(), 1);
        // Away from any row only the whole-list commands can be chosen.
        menu.reset(list->createRowMenu(-1, nullptr));
        QVERIFY(!action(ScanList::ShowInFileViewer)->isEnabled() &&
                !action(ScanList::RemoveRow)->isEnabled());
        QVERIFY(action(ScanList::RemoveAll)->isEnabled());

        // The remove button drawn in the row.
        const QRect cell = list->tableView()->visualRect(model->index(0, ScanListModel::RemoveColumn));
        QTest::mouseClick(list->tableView()->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(model->rowCount(), 0);
        QVERIFY(!list->scanButton()->isEnabled());
    }

    void excludedItemLeadsToPreferences()
    {
        settings().setExcludedFolders({QString::fromUtf8(p("ex"))});
        auto view = makeView();
        QSignalSpy preferences(view.get(), &ResultViewController::goToPreferencesRequested);
        m_chooser->answers = {{makeDir("ex/inner")}};
        m_alerts.enqueueAnswer(1);
        view->selectPathToScan();
        QTRY_COMPARE(preferences.count(), 1);
        QCOMPARE(view->scanList()->count(), 0);
    }

    void scanFindsDuplicates()
    {
        auto view = makeView();
        const QByteArray same(2048, 'd');
        const QStringList copies{QString::fromUtf8(makeFile("tree/one.bin", same)),
                                 QString::fromUtf8(makeFile("tree/sub/deeper/three.bin", same)),
                                 QString::fromUtf8(makeFile("tree/sub/two.bin", same))};
        makeFile("tree/other.bin", QByteArray(2048, 'o'));
        makeFile("tree/big.bin", QByteArray(3072, 'b'));
        makeFile("tree/small.txt", "below the minimum size");
        view->scanList()->selectPathToScan({p("tree")});
        QSignalSpy scanning(view.get(), &ResultViewController::scanningChanged);

        // click() runs no event loop, so the scan cannot end before the checks below.
        view->scanListView()->scanButton()->click();
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::Progress);
        QCOMPARE(scanning.count(), 1);
        QVERIFY(AppGlobals::canOpenPreferences);
        ScanProgressView* progress = view->progressView();
        QCOMPARE(progress->titleLabel()->text(), ScanProgressView::kScanningText);
        QVERIFY(progress->showResultsButton()->isHidden());

        QTRY_COMPARE(progress->titleLabel()->text(), ScanProgressView::kCompletedText);
        QCOMPARE(scanning.count(), 2);
        QVERIFY(!AppGlobals::canOpenPreferences);
        QCOMPARE(progress->scannedCountLabel()->text(), QStringLiteral("5"));
        QCOMPARE(progress->dupCountLabel()->text(), QStringLiteral("2"));
        QCOMPARE(progress->totalSizeLabel()->text(), QStringLiteral("Total File Size : 11.26 KB"));
        QVERIFY(progress->reclaimableLabel()->text().contains(QStringLiteral("4.10")));
        QVERIFY(progress->stopButton()->isHidden() && progress->currentFileLabel()->isHidden());
        QVERIFY(progress->showResultsButton()->isEnabled());
        QTest::qWait(20);
        QVERIFY(m_alerts.alerts().isEmpty());
        saveScreen(view.get(), QStringLiteral("scan-finished"));

        // The hand-off keeps only the group with copies.
        QTest::mouseClick(progress->showResultsButton(), Qt::LeftButton);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::Results);
        DetailResultViewController* results = view->detailView();
        QAbstractItemModelTester tester(results->groupModel(),
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(results->groupModel()->rowCount(), 1);
        QCOMPARE(results->groupModel()->index(0, GroupTableModel::ItemsColumn).data().toString(),
                 QStringLiteral("3 items, 6.14 KB"));
        QStringList members;
        for (int i = 0; i < results->fileModel()->rowCount(); ++i)
            members.append(QString::fromUtf8(results->fileModel()->fileAt(i)->filePath));
        members.sort();
        QCOMPARE(members, copies);
        QCOMPARE(results->lblDupCount()->text(),
                 QStringLiteral("All Categories: 2 duplicates found of 4.10 KB"));
        QVERIFY(results->lblScanStopped()->isHidden());
        saveScreen(view.get(), QStringLiteral("scan-results"));

        QSignalSpy restore(view.get(), &ResultViewController::restoreWindowSizeRequested);
        QTest::mouseClick(results->btnBack(), Qt::LeftButton);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);
        QCOMPARE(restore.count(), 1);
        QCOMPARE(results->groupModel()->rowCount(), 0);
        QVERIFY(!results->result());
    }

    // Files of 2 KB, one per byte of contents.
    void scanEndsWithAMessage_data()
    {
        QTest::addColumn<QByteArray>("contents");
        QTest::addColumn<bool>("untickLast");
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("hint");
        const QString none = ResultViewController::kNoDuplicatesMessage;
        QTest::newRow("equal sizes, different contents")
            << QByteArray("ab") << false << none << ResultViewController::kNoDuplicatesHint;
        QTest::newRow("only one ticked item")
            << QByteArray("xx") << true << ScanEngine::kOnlyOneItemMessage << ScanEngine::kOnlyOneItemHint;
    }
    void scanEndsWithAMessage()
    {
        QFETCH(QByteArray, contents);
        QFETCH(bool, untickLast);
        QFETCH(QString, message);
        QFETCH(QString, hint);
        auto view = makeView();
        QList<QByteArray> files;
        for (int i = 0; i < contents.size(); ++i)
            files.append(makeFile(QStringLiteral("t/%1.bin").arg(i), QByteArray(2048, contents[i])));
        // Two files listed one by one, or the folder holding them.
        view->scanList()->selectPathToScan(untickLast ? files : QList<QByteArray>{p("t")});
        if (untickLast)
            view->scanList()->selectDeselectPath(1);
        QSignalSpy scanning(view.get(), &ResultViewController::scanningChanged);
        view->scanListView()->scanButton()->click();
        // A refused scan never starts; a finished one goes back to the list after its message.
        QCOMPARE(scanning.count(), untickLast ? 0 : 1);
        QTRY_COMPARE(messages(m_alerts.alerts()), QStringList{message});
        QCOMPARE(m_alerts.alerts().first().informativeText, hint);
        QCOMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);
        QCOMPARE(view->scanList()->count(), untickLast ? 2 : 1);
    }

    // The end of a scan says what could not be read and lists it; an item can be revealed.
    void skippedItemsAreListed()
    {
        auto view = makeView();
        const QByteArray a = makeFile(QStringLiteral("t/a.bin"), QByteArray(2048, 'a'));
        makeFile(QStringLiteral("t/b.bin"), QByteArray(2048, 'a'));
        QVERIFY(::link(a.constData(), p(QStringLiteral("t/c.bin")).constData()) == 0);
        const QByteArray gone = makeDir(QStringLiteral("gone"));
        view->scanList()->selectPathToScan({p(QStringLiteral("t")), gone});
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

    void abortEndsInFinishedState()
    {
        auto view = makeView();
        for (int i = 0; i < 120; ++i)
            makeFile(QStringLiteral("many/%1.bin").arg(i), QByteArray(64 * 1024, 'z'));
        view->scanList()->selectPathToScan({p("many")});
        view->startScanning();
        ScanProgressView* progress = view->progressView();
        saveScreen(progress, QStringLiteral("scan-progress"));
        progress->stopButton()->click();
        QVERIFY(!progress->stopButton()->isEnabled());
        QTRY_COMPARE(progress->titleLabel()->text(), ScanProgressView::kCompletedText);
        QVERIFY(!view->isScanning());
        QVERIFY(progress->stopButton()->isHidden() && !progress->backButton()->isHidden());
        QVERIFY(!AppGlobals::canOpenPreferences);
        // Whatever was formed before the stop can still be shown, or nothing was and the
        // view has gone back to the list after saying so.
        if (view->currentScreen() == ResultViewController::Screen::Progress &&
            progress->showResultsButton()->isEnabled())
            QVERIFY(view->engine()->result() != nullptr);
        QTest::mouseClick(progress->backButton(), Qt::LeftButton);
        QTRY_COMPARE(view->currentScreen(), ResultViewController::Screen::ScanList);
    }

    // Tab walks every control of the list page and leaves the table; each drawn button is a
    // button to assistive tools, named by its title, and Space or Enter presses it.
    void keyboardReachesDrawnButtons()
    {
        auto view = makeView();
        view->scanList()->selectPathToScan({makeDir("k1"), makeDir("k2")});
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        ScanListView* list = view->scanListView();
        list->addButton()->setFocus(Qt::TabFocusReason);
        QList<QWidget*> reached;
        for (int i = 0; i < 8 && !reached.contains(QApplication::focusWidget()); ++i) {
            reached.append(QApplication::focusWidget());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(reached.contains(list->tableView()));
        QVERIFY(reached.contains(list->scanButton()));
        QVERIFY(reached.contains(list->addFilesLink()));
        saveScreen(view.get(), QStringLiteral("scan-list-keyboard-focus"));

        for (QWidget* w : std::as_const(reached)) {
            auto* button = qobject_cast<QAbstractButton*>(w);
            if (!button)
                continue;
            QAccessibleInterface* access = QAccessible::queryAccessibleInterface(button);
            QCOMPARE(access->role(), QAccessible::Button);
            QCOMPARE(access->text(QAccessible::Name), button->text());
        }
        QTest::keyClick(list->addButton(), Qt::Key_Space);
        QTest::keyClick(list->addFilesLink(), Qt::Key_Space);
        QCOMPARE(m_chooser->kinds,
                 (QList<PathChooser::Kind>{PathChooser::Kind::Folders, PathChooser::Kind::Files}));
        QSignalSpy scanRequested(list, &ScanListView::scanRequested);
        QTest::keyClick(list->scanButton(), Qt::Key_Return);
        QCOMPARE(scanRequested.count(), 1);
        QTRY_VERIFY(!view->isScanning());
    }
};

QUILLON_GUI_TEST_MAIN(TestScanView)
#include "tst_scanview.moc"
