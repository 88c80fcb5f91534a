#include <QApplication>

#include "app/Settings.h"
#include "preferences/TamExcludeViewController.h"
#include "preferences/TamGeneralViewController.h"
#include "preferences/TamPreferencesWindowController.h"
#include "support/Screenshots.h"
#include "support/SettingsFile.h"
#include "support/TestMain.h"
#include "support/TestTree.h"
#include "util/AlertPresenter.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>

namespace {

using Window = TamPreferencesWindowController;

// A pane with a view of a fixed size that records what the window tells it.
struct FakePane : TamPreferencesViewControllerProtocol
{
    FakePane(const QString& id, QSize size) : id(id) { widget->resize(size); }
    ~FakePane() override { delete widget; }

    QString identifier() const override { return id; }
    QIcon toolbarItemImage() const override { return {}; }
    QString toolbarItemLabel() const override { return id + QStringLiteral(" label"); }
    QWidget* view() override { return widget; }
    void viewWillAppear() override { events << QStringLiteral("willAppear"); }
    void viewDidAppear() override { events << QStringLiteral("didAppear"); }
    void viewWillDisappear() override { events << QStringLiteral("willDisappear"); }
    void viewDidDisappear() override { events << QStringLiteral("didDisappear"); }
    bool commitEditing() override { return acceptsCommit; }

    QString id;
    QPointer<QWidget> widget = new QWidget;
    QStringList events;
    bool acceptsCommit = true;
};

std::shared_ptr<FakePane> fake(const QString& id, QSize size = QSize(400, 300))
{
    return std::make_shared<FakePane>(id, size);
}

QList<QWidget*> attachedViews(Window& window)
{
    return window.contentView()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
}

void select(Window& window, const QString& id)
{
    window.toolbarItemWithItemIdentifier(id)->trigger();
}

} // namespace

class TestPreferencesWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<TestSupport::TestTree> m_tree;
    Settings& settings() const { return m_tree->settings(); }
    QString storedSelection() const
    {
        return settings().value(Settings::kSelectedPreferencesItem).toString();
    }

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }
    // A settings file of its own for each case.
    void init() { m_tree = std::make_unique<TestSupport::TestTree>(); }

    // The stored pane is selected, the first one when none or a stale one is stored; before the
    // window loads, switching records the selection only (an index past the end selects the
    // last pane), and loading attaches at once.
    void selectionBeforeLoad_data()
    {
        QTest::addColumn<QString>("stored"); // null: nothing stored
        QTest::addColumn<QString>("expected");
        QTest::newRow("nothing stored") << QString() << "A";
        QTest::newRow("stale identifier") << "Removed"
                                          << "A";
        QTest::newRow("stored") << "B"
                                << "B";
    }
    void selectionBeforeLoad()
    {
        QFETCH(QString, stored);
        QFETCH(QString, expected);
        if (!stored.isNull())
            settings().setValue(Settings::kSelectedPreferencesItem, stored);
        auto a = fake("A");
        auto b = fake("B", QSize(500, 200));
        Window window(settings(), {a, b});
        QCOMPARE(storedSelection(), expected);
        window.setSelectedIndex(0);
        window.setSelectedIndex(5);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
        QVERIFY(a->events.isEmpty() && b->events.isEmpty() && attachedViews(window).isEmpty());
        window.showWindow();
        QCOMPARE(b->events, (QStringList{"willAppear", "didAppear"}));
        QCOMPARE(attachedViews(window), (QList<QWidget*>{b->widget}));
        QCOMPARE(window.contentView()->size(), QSize(500, 200));
        QCOMPARE(window.windowTitle(), QStringLiteral("B label"));
    }

    // A→B→C in quick succession: B's delayed attach finds C selected and does nothing. The new
    // view waits for the resize, which keeps the window's top edge and horizontal centre.
    // Selecting the shown pane again changes nothing.
    void quickSwitchAttachesOnlyTheLast()
    {
        auto a = fake("A");
        auto b = fake("B", QSize(420, 500));
        auto c = fake("C", QSize(440, 340));
        Window window(settings(), {a, b, c});
        window.showWindow();
        const QRect before = window.geometry();
        select(window, "B");
        select(window, "C");
        QCOMPARE(a->events, (QStringList{"willAppear", "didAppear", "willDisappear", "didDisappear"}));
        QVERIFY(attachedViews(window).isEmpty());
        // C's attach is due after B's, so once C is there B's has run.
        QTRY_COMPARE(attachedViews(window), (QList<QWidget*>{c->widget}));
        QTRY_COMPARE(window.contentView()->size(), QSize(440, 340));
        QCOMPARE(b->events, (QStringList{"willAppear", "willDisappear", "didDisappear"}));
        QCOMPARE(window.geometry().top(), before.top());
        QVERIFY(qAbs(window.geometry().center().x() - before.center().x()) <= 1);
        QVERIFY(window.toolbarItemWithItemIdentifier("C")->isChecked());
        QVERIFY(!window.toolbarItemWithItemIdentifier("B")->isChecked());

        const QRect geometry = window.geometry();
        select(window, "C");
        QTest::qWait(700); // past any resize and delayed attach
        QCOMPARE(c->events, (QStringList{"willAppear", "didAppear"}));
        QCOMPARE(window.geometry(), geometry);
    }

    // A pane that refuses to commit keeps itself selected and the window open.
    void refusedCommitKeepsPaneAndWindow()
    {
        auto a = fake("A");
        Window window(settings(), {a, fake("B")});
        window.showWindow();
        a->acceptsCommit = false;
        select(window, "B");
        QVERIFY(window.toolbarItemWithItemIdentifier("A")->isChecked() && storedSelection() == "A");
        QVERIFY(!window.close() && window.isVisible());
        a->acceptsCommit = true;
        select(window, "B");
        QVERIFY(window.close());
        window.showWindow(); // shown again on the same pane
        QCOMPARE(storedSelection(), QStringLiteral("B"));
    }

    // The pane shows what is stored without rewriting it, every control writes its key to disk
    // at once, and Restore Defaults brings the controls back without processing events.
    void generalPane()
    {
        settings().setValue(Settings::kMinimumFileSize, 3);
        settings().setValue(Settings::kFileSizeUnit, 1);
        settings().setValue(Settings::kAutoSelectOption, 0); // any value but 1 keeps the newest
        settings().setValue(Settings::kDoNotShowAutoMarkDialog, true);
        TamGeneralViewController pane(settings());
        QWidget* view = pane.view();
        auto* spin = view->findChild<QSpinBox*>("spinMinimumFileSize");
        auto* unit = view->findChild<QComboBox*>("cmbFileSizeUnit");
        auto* oldest = view->findChild<QRadioButton*>("rbKeepOldest");
        auto* newest = view->findChild<QRadioButton*>("rbKeepNewest");
        auto* noTrash = view->findChild<QCheckBox*>("chkDoNotShowConfirmationDialogOnTrash");
        auto* noAutoMark = view->findChild<QCheckBox*>("chkDoNotShowAutoMarkDialog");
        QVERIFY(spin && unit && oldest && newest && noTrash && noAutoMark);
        QVERIFY(spin->value() == 3 && unit->currentText() == "MB" && newest->isChecked() &&
                noAutoMark->isChecked() && settings().autoSelectOption() == 0);
        saveScreen(view, QStringLiteral("preferences-general"));

        const auto onDisk = [this](const QString& key) {
            return TestSupport::valueOnDisk(m_tree->store().fileName(), key);
        };
        spin->setValue(25);
        unit->setCurrentIndex(0);
        oldest->click();
        QStringList written{onDisk(Settings::kMinimumFileSize), onDisk(Settings::kFileSizeUnit),
                            onDisk(Settings::kAutoSelectOption)};
        newest->click();
        noTrash->click();
        noAutoMark->click();
        pane.btnAutoMarkPhotoLib()->click();
        written << onDisk(Settings::kAutoSelectOption)
                << onDisk(Settings::kDoNotShowConfirmationDialogOnTrash)
                << onDisk(Settings::kDoNotShowAutoMarkDialog) << onDisk(Settings::kAutoMarkPhotos);
        QCOMPARE(written, (QStringList{"25", "0", "1", "2", "true", "false", "true"}));

        view->findChild<QPushButton*>("btnResetDefaults")->click();
        QVERIFY(spin->value() == 10 && oldest->isChecked() && !pane.btnAutoMarkPhotoLib()->isChecked());
    }

    // After a removal the row now at the same place is selected (the new last one after the last).
    void excludePaneRemove_data()
    {
        QTest::addColumn<int>("row"); // -1: nothing selected
        QTest::addColumn<QStringList>("left");
        QTest::addColumn<QString>("selected"); // empty: no selection
        QTest::newRow("first") << 0 << QStringList{"/b", "/c"} << "/b";
        QTest::newRow("middle") << 1 << QStringList{"/a", "/c"} << "/c";
        QTest::newRow("last") << 2 << QStringList{"/a", "/b"} << "/b";
        QTest::newRow("nothing selected") << -1 << QStringList{"/a", "/b", "/c"} << "";
    }
    void excludePaneRemove()
    {
        QFETCH(int, row);
        QFETCH(QStringList, left);
        QFETCH(QString, selected);
        settings().setExcludedFolders({"/a", "/b", "/c"});
        TamExcludeViewController pane(settings(), std::make_shared<ScriptedAlertPresenter>(), {});
        auto* remove = pane.view()->findChild<QAbstractButton*>("btnRemoveExclusion");
        QTableView* table = pane.tvExcludeFolder();
        if (row >= 0)
            table->selectRow(row);
        QCOMPARE(remove->isEnabled(), row >= 0);
        pane.deleteFolderPath();
        QCOMPARE(settings().excludedFolders(), left);
        const QModelIndexList rows = table->selectionModel()->selectedRows();
        QCOMPARE(rows.isEmpty() ? QString() : rows.first().data().toString(), selected);
        QCOMPARE(remove->isEnabled(), !selected.isEmpty());
        saveScreen(pane.view(), QStringLiteral("preferences-exclusions"));
    }
};

QUILLON_GUI_TEST_MAIN(TestPreferencesWindow)
#include "tst_preferenceswindow.moc"
