#include <QApplication>

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "preferences/PreferencesWindowFactory.h"
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
#include <QPropertyAnimation>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QToolBar>
#include <memory>

namespace {

using Window = TamPreferencesWindowController;
using Pane = Window::Pane;
using PaneList = Window::PaneList;

// A pane with a view of a fixed size that records what the window tells it.
struct FakePane : TamPreferencesViewControllerProtocol
{
    FakePane(const QString& id, QSize size) : id(id) { widget->resize(size); }
    ~FakePane() override { delete widget; }

    QString identifier() const override { return id; }
    QIcon toolbarItemImage() const override { return {}; }
    QString toolbarItemLabel() const override { return id + QStringLiteral(" label"); }
    std::optional<TamToolbarItem> toolbarItem() const override { return customItem; }
    QWidget* view() override { return widget; }
    void viewWillAppear() override { events << QStringLiteral("willAppear"); }
    void viewDidAppear() override { events << QStringLiteral("didAppear"); }
    void viewWillDisappear() override { events << QStringLiteral("willDisappear"); }
    void viewDidDisappear() override { events << QStringLiteral("didDisappear"); }
    bool commitEditing() override { return ++commits, acceptsCommit; }

    QString id;
    QPointer<QWidget> widget = new QWidget;
    std::optional<TamToolbarItem> customItem;
    QStringList events;
    bool acceptsCommit = true;
    int commits = 0;
};

std::shared_ptr<FakePane> fake(const QString& id, QSize size = QSize(400, 300))
{
    return std::make_shared<FakePane>(id, size);
}

// Answers the folder dialog from a script and remembers the prompt.
class ScriptedChooser : public FolderChooser
{
public:
    void chooseFolders(QWidget*, const QString& prompt, std::function<void(const QStringList&)> done) override
    {
        prompts << prompt;
        done(answers.isEmpty() ? QStringList{} : answers.takeFirst());
    }
    QList<QStringList> answers;
    QStringList prompts;
};

QList<QWidget*> attachedViews(Window& window)
{
    return window.contentView()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
}

bool checked(Window& window, const QString& id)
{
    return window.toolbarItemWithItemIdentifier(id)->isChecked();
}

template <class T> T* child(QWidget* view, const char* name)
{
    return view->findChild<T*>(QLatin1String(name));
}

// Waits past the resize and the delayed attach of the longest switch the tests make.
void settle()
{
    QTest::qWait(700);
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

    void initialSelection_data()
    {
        QTest::addColumn<QString>("stored"); // null: nothing stored
        QTest::addColumn<int>("expectedIndex");
        QTest::addColumn<QString>("expectedKey");
        QTest::newRow("nothing stored") << QString() << 0 << "A";
        QTest::newRow("stale identifier") << "Removed" << 0 << "A";
        QTest::newRow("pane's own item identifier") << "custom-c" << 2 << "custom-c";
        QTest::newRow("plain identifier of a pane with its own item") << "C" << 2 << "custom-c";
        QTest::newRow("placeholder") << TamToolbarItem::FlexibleSpaceItemIdentifier << 3
                                     << TamToolbarItem::FlexibleSpaceItemIdentifier;
    }
    void initialSelection()
    {
        QFETCH(QString, stored);
        QFETCH(int, expectedIndex);
        QFETCH(QString, expectedKey);
        if (!stored.isNull())
            settings().setValue(Settings::kSelectedPreferencesItem, stored);
        auto c = fake("C");
        c->customItem = TamToolbarItem{QStringLiteral("custom-c"), QStringLiteral("Custom"), {}};
        Window window(settings(), {fake("A"), fake("B"), c, Window::flexibleSpacePlaceholderController()});
        QCOMPARE(window.selectedIndex(), qsizetype(expectedIndex));
        QCOMPARE(storedSelection(), expectedKey);
        QCOMPARE(window.toolbarItemIdentifiers(),
                 (QStringList{"A", "B", "custom-c", TamToolbarItem::FlexibleSpaceItemIdentifier}));
        QVERIFY(attachedViews(window).isEmpty()); // nothing before the window is first shown
    }

    // Before the window loads, switching records the selection only; loading attaches at once.
    // Selecting the shown pane again rewrites the key only: no events, no resize, still checked.
    void switchBeforeLoadAndReselect()
    {
        auto a = fake("A");
        auto b = fake("B", QSize(500, 200));
        Window window(settings(), {a, b});
        window.setSelectedIndex(1);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
        QVERIFY(a->events.isEmpty() && b->events.isEmpty());
        window.showWindow();
        QCOMPARE(b->events, (QStringList{"willAppear", "didAppear"}));
        QCOMPARE(attachedViews(window), (QList<QWidget*>{b->widget}));
        QCOMPARE(window.contentView()->size(), QSize(500, 200));
        QVERIFY(checked(window, "B"));

        b->events.clear();
        const QRect geometry = window.geometry();
        settings().remove(Settings::kSelectedPreferencesItem);
        window.setSelectedViewController(b);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
        window.toolbarItemWithItemIdentifier("B")->trigger();
        settle();
        QVERIFY(checked(window, "B"));
        QVERIFY(a->events.isEmpty() && b->events.isEmpty());
        QCOMPARE(attachedViews(window), (QList<QWidget*>{b->widget}));
        QCOMPARE(window.geometry(), geometry);
    }

    // A→B→C in quick succession: B's delayed attach finds C selected and does nothing. The new
    // view waits for the resize, which keeps the window's top edge and horizontal centre.
    void quickSwitchAttachesOnlyTheLast()
    {
        auto a = fake("A");
        auto b = fake("B", QSize(420, 500));
        auto c = fake("C", QSize(440, 340));
        Window window(settings(), {a, b, c});
        window.showWindow();
        const QRect before = window.geometry();
        window.toolbarItemWithItemIdentifier("B")->trigger();
        window.toolbarItemWithItemIdentifier("C")->trigger();
        QCOMPARE(a->events, (QStringList{"willAppear", "didAppear", "willDisappear", "didDisappear"}));
        QVERIFY(attachedViews(window).isEmpty());

        // C's attach is due after B's, so once C is there B's has run.
        QTRY_COMPARE(attachedViews(window), (QList<QWidget*>{c->widget}));
        QTRY_COMPARE(window.contentView()->size(), QSize(440, 340));
        QCOMPARE(b->events, (QStringList{"willAppear", "willDisappear", "didDisappear"}));
        QCOMPARE(c->events, (QStringList{"willAppear", "didAppear"}));
        QVERIFY(!b->widget->parentWidget());
        QCOMPARE(window.geometry().top(), before.top());
        QVERIFY(qAbs(window.geometry().center().x() - before.center().x()) <= 1);
        QCOMPARE(window.minimumSize(), window.maximumSize()); // fixed to the pane
        QVERIFY(checked(window, "C") && !checked(window, "B"));
    }

    void replacingPaneList_data()
    {
        QTest::addColumn<QStringList>("replacement");
        QTest::addColumn<QString>("expected"); // empty: nothing selected
        QTest::newRow("still listed") << QStringList{"A", "B", "*C", "D"} << "C";
        QTest::newRow("gone, same length") << QStringList{"W", "X", "Y", "Z"} << "Y";
        QTest::newRow("gone, empty") << QStringList{} << "";
    }
    void replacingPaneList()
    {
        QFETCH(QStringList, replacement);
        QFETCH(QString, expected);
        auto c = fake("C");
        Window window(settings(), {fake("A"), fake("B"), c});
        window.setSelectedIndex(2);
        window.showWindow();
        QAction* itemOfC = window.toolbarItemWithItemIdentifier("C");
        PaneList panes;
        for (const QString& id : replacement)
            panes.append(id == "*C" ? Pane(c) : Pane(fake(id)));
        window.setViewControllers(panes);
        settle();

        QCOMPARE(window.toolbar()->actions().size(), replacement.size());
        if (expected.isEmpty()) {
            QVERIFY(!window.selectedViewController());
            QVERIFY(!settings().contains(Settings::kSelectedPreferencesItem));
            QVERIFY(attachedViews(window).isEmpty());
            return;
        }
        QCOMPARE(window.selectedViewController()->identifier(), expected);
        QCOMPARE(storedSelection(), expected);
        QTRY_COMPARE(attachedViews(window), (QList<QWidget*>{window.selectedViewController()->view()}));
        QVERIFY(checked(window, expected));
        if (replacement.contains("*C")) // the existing item is reused
            QCOMPARE(window.toolbarItemWithItemIdentifier("C"), itemOfC);
    }

    // Indexes past the end, and NotFound, select the last pane.
    void indexPastTheEndSelectsTheLast()
    {
        Window window(settings(), {fake("A"), fake("B")});
        window.setSelectedIndex(2);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
        window.setSelectedIndex(0);
        QCOMPARE(storedSelection(), QStringLiteral("A"));
        window.setSelectedIndex(Window::NotFound);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
    }

    void refusedCommitKeepsPaneAndWindow()
    {
        auto a = fake("A");
        auto b = fake("B");
        Window window(settings(), {a, b});
        window.showWindow();
        a->acceptsCommit = false;
        window.toolbarItemWithItemIdentifier("B")->trigger();
        QCOMPARE(a->commits, 1);
        QCOMPARE(window.selectedViewController(), Pane(a));
        QVERIFY(checked(window, "A") && !checked(window, "B"));
        QCOMPARE(storedSelection(), QStringLiteral("A"));
        QVERIFY(!window.close());
        QVERIFY(window.isVisible());

        a->acceptsCommit = true;
        window.toolbarItemWithItemIdentifier("B")->trigger();
        QVERIFY(window.close());
        window.showWindow(); // shown again on the same pane
        QCOMPARE(window.selectedViewController(), Pane(b));
    }

    void titleFollowsPane_data()
    {
        QTest::addColumn<bool>("follow");
        QTest::newRow("following") << true;
        QTest::newRow("fixed") << false;
    }
    void titleFollowsPane()
    {
        QFETCH(bool, follow);
        Window window(settings(), {fake("A"), fake("B")}, QStringLiteral("Preferences"));
        window.setWindowTitleShouldAutomaticlyUpdateToReflectSelectedViewController(follow);
        window.setWindowTitle(QStringLiteral("Settings"));
        QVERIFY(window.QMainWindow::windowTitle().isEmpty()); // nothing shown before loading
        window.showWindow();
        QCOMPARE(window.windowTitle(), follow ? QStringLiteral("A label") : QStringLiteral("Settings"));
        window.toolbarItemWithItemIdentifier("B")->trigger();
        QCOMPARE(window.windowTitle(), follow ? QStringLiteral("B label") : QStringLiteral("Settings"));
        QCOMPARE(window.QMainWindow::windowTitle(), window.windowTitle());
    }

    // The pane shows what is stored without rewriting it and every control writes its key;
    // Restore Defaults brings both panes back at once, without processing events.
    void generalPane_data()
    {
        QTest::addColumn<bool>("photosInstalled");
        QTest::addColumn<QString>("title");
        QTest::newRow("Photos") << true << "Auto mark items of Photos library";
        QTest::newRow("iPhoto") << false << "Auto mark items of iPhoto library";
    }
    void generalPane()
    {
        QFETCH(bool, photosInstalled);
        QFETCH(QString, title);
        settings().setValue(Settings::kMinimumFileSize, 3);
        settings().setValue(Settings::kFileSizeUnit, 1);
        settings().setValue(Settings::kAutoSelectOption, 0); // any value but 1 keeps the newest
        settings().setValue(Settings::kDoNotShowAutoMarkDialog, true);
        settings().setExcludedFolders({"/only"});
        const bool saved = AppGlobals::isPhotosAppInstalled;
        AppGlobals::isPhotosAppInstalled = photosInstalled;
        TamGeneralViewController pane(settings());
        QWidget* view = pane.view();
        AppGlobals::isPhotosAppInstalled = saved;
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        TamExcludeViewController exclusions(settings(), alerts, {});
        exclusions.view();
        auto* spin = child<QSpinBox>(view, "spinMinimumFileSize");
        auto* unit = child<QComboBox>(view, "cmbFileSizeUnit");
        auto* oldest = child<QRadioButton>(view, "rbKeepOldest");
        auto* newest = child<QRadioButton>(view, "rbKeepNewest");
        auto* noTrash = child<QCheckBox>(view, "chkDoNotShowConfirmationDialogOnTrash");
        auto* noAutoMark = child<QCheckBox>(view, "chkDoNotShowAutoMarkDialog");
        QVERIFY(spin && unit && oldest && newest && noTrash && noAutoMark);
        QCOMPARE(pane.btnAutoMarkPhotoLib()->text(), title);
        QCOMPARE(spin->value(), 3);
        QCOMPARE(unit->currentText(), QStringLiteral("MB"));
        QVERIFY(newest->isChecked() && noAutoMark->isChecked());
        QCOMPARE(settings().autoSelectOption(), 0);

        // Each change reaches the settings file at once, not only the object.
        const auto onDisk = [this](const QString& key) {
            return TestSupport::valueOnDisk(m_tree->store().fileName(), key);
        };
        spin->setValue(25);
        QCOMPARE(onDisk(Settings::kMinimumFileSize), QStringLiteral("25"));
        unit->setCurrentIndex(0);
        QCOMPARE(onDisk(Settings::kFileSizeUnit), QStringLiteral("0"));
        oldest->click();
        QCOMPARE(onDisk(Settings::kAutoSelectOption), QStringLiteral("1"));
        newest->click();
        QCOMPARE(onDisk(Settings::kAutoSelectOption), QStringLiteral("2"));
        noTrash->click();
        QCOMPARE(onDisk(Settings::kDoNotShowConfirmationDialogOnTrash), QStringLiteral("true"));
        noAutoMark->click();
        QCOMPARE(onDisk(Settings::kDoNotShowAutoMarkDialog), QStringLiteral("false"));
        pane.btnAutoMarkPhotoLib()->click();
        QCOMPARE(onDisk(Settings::kAutoMarkPhotos), QStringLiteral("true"));

        child<QPushButton>(view, "btnResetDefaults")->click();
        QCOMPARE(spin->value(), 10);
        QCOMPARE(unit->currentText(), QStringLiteral("KB"));
        QVERIFY(oldest->isChecked());
        QVERIFY(!pane.btnAutoMarkPhotoLib()->isChecked());
        QCOMPARE(exclusions.tvExcludeFolder()->model()->rowCount(),
                 int(Settings::getExcludedFolders().size()));
        QVERIFY(alerts->alerts().isEmpty());
    }

    void excludePaneAdd()
    {
        settings().setExcludedFolders({"/kept"});
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        auto chooser = std::make_shared<ScriptedChooser>();
        chooser->answers = {{"/kept", "/new/one"}, {}};
        TamExcludeViewController pane(
            settings(), alerts, [] { return QList<QByteArray>{"/scanned"}; }, chooser);
        auto* add = child<QAbstractButton>(pane.view(), "btnAddExclusion");
        QVERIFY(add);
        add->click();
        QCOMPARE(chooser->prompts, QStringList{"Add To Exclusions"});
        QCOMPARE(settings().excludedFolders(), (QStringList{"/kept", "/new/one"}));
        QCOMPARE(pane.tvExcludeFolder()->model()->rowCount(), 2);
        QCOMPARE(alerts->alerts().size(), 1);
        // Cancelled: nothing is written.
        m_tree->store().remove(Settings::kExcludedFolders);
        add->click();
        QVERIFY(!settings().contains(Settings::kExcludedFolders));
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
        auto* remove = child<QAbstractButton>(pane.view(), "btnRemoveExclusion");
        QTableView* table = pane.tvExcludeFolder();
        if (row >= 0)
            table->selectRow(row);
        QCOMPARE(remove->isEnabled(), row >= 0);
        pane.deleteFolderPath();
        QCOMPARE(settings().excludedFolders(), left);
        const QModelIndexList rows = table->selectionModel()->selectedRows();
        QCOMPARE(rows.isEmpty() ? QString() : rows.first().data().toString(), selected);
        QCOMPARE(remove->isEnabled(), !selected.isEmpty());
    }

    void screenshots()
    {
        settings().setExcludedFolders(Settings::getExcludedFolders() +
                                      QStringList{"/home/someone/Projects/build"});
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        std::unique_ptr<Window> window(createPreferencesWindow(
            settings(), [] { return QList<QByteArray>{}; }, alerts));
        window->showWindow();
        QCoreApplication::processEvents();
        saveScreen(window.get(), QStringLiteral("preferences-general"));

        window->toolbarItemWithItemIdentifier("TamExcludeViewController")->trigger();
        QTRY_VERIFY(window->findChild<QPropertyAnimation*>()->state() == QAbstractAnimation::Stopped);
        QTRY_VERIFY(window->findChild<QTableView*>("tvExcludeFolder"));
        window->findChild<QTableView*>("tvExcludeFolder")->selectRow(1);
        saveScreen(window.get(), QStringLiteral("preferences-exclusions"));
    }
};

QUILLON_GUI_TEST_MAIN(TestPreferencesWindow)
#include "tst_preferenceswindow.moc"
