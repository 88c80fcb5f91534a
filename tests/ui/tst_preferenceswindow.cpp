#include <QApplication>

#include "app/AppGlobals.h"
#include "app/Settings.h"
#include "cache/SqliteDBOperations.h"
#include "preferences/PreferencesWindowFactory.h"
#include "preferences/TamExcludeViewController.h"
#include "preferences/TamGeneralViewController.h"
#include "preferences/TamPreferencesWindowController.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "util/AlertPresenter.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QPropertyAnimation>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QToolBar>
#include <QWidgetAction>
#include <memory>

namespace {

// A pane with a view of a fixed size that records what the window tells it.
class FakePane : public TamPreferencesViewControllerProtocol
{
public:
    FakePane(const QString& id, QSize size, const QString& label = {})
        : m_id(id), m_size(size), m_label(label)
    {}
    ~FakePane() override { delete m_view; }

    QString identifier() const override { return m_id; }
    QIcon toolbarItemImage() const override { return {}; }
    QString toolbarItemLabel() const override
    {
        return m_label.isNull() ? m_id + QStringLiteral(" label") : m_label;
    }
    std::optional<TamToolbarItem> toolbarItem() const override { return customItem; }
    QWidget* view() override
    {
        if (!m_view) {
            m_view = new QWidget;
            m_view->setObjectName(m_id);
            m_view->resize(m_size);
        }
        return m_view;
    }
    void viewWillAppear() override { events << QStringLiteral("willAppear"); }
    void viewDidAppear() override { events << QStringLiteral("didAppear"); }
    void viewWillDisappear() override { events << QStringLiteral("willDisappear"); }
    void viewDidDisappear() override { events << QStringLiteral("didDisappear"); }
    bool commitEditing() override
    {
        ++commits;
        return acceptsCommit;
    }

    QWidget* existingView() const { return m_view; }

    std::optional<TamToolbarItem> customItem;
    QStringList events;
    bool acceptsCommit = true;
    int commits = 0;

private:
    QString m_id;
    QSize m_size;
    QString m_label;
    QPointer<QWidget> m_view;
};

using Pane = TamPreferencesWindowController::Pane;
using PaneList = TamPreferencesWindowController::PaneList;

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

QList<QWidget*> attachedViews(TamPreferencesWindowController& window)
{
    return window.contentView()->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
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

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QSettings> m_store;
    std::unique_ptr<Settings> m_settings;

    QString storedSelection() const
    {
        return m_settings->value(Settings::kSelectedPreferencesItem).toString();
    }

private Q_SLOTS:
    void initTestCase() { Settings::registereUserDefaults(); }

    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        m_store = std::make_unique<QSettings>(m_dir->filePath(QStringLiteral("settings.ini")),
                                              QSettings::IniFormat);
        m_settings = std::make_unique<Settings>(m_store.get());
    }

    void cleanup()
    {
        m_settings.reset();
        m_store.reset();
        m_dir.reset();
    }

    void emptyPaneList()
    {
        m_settings->setValue(Settings::kSelectedPreferencesItem, QStringLiteral("General"));
        TamPreferencesWindowController window(*m_settings, {}, QStringLiteral("Preferences"));
        QVERIFY(!window.selectedViewController());
        QCOMPARE(window.selectedIndex(), TamPreferencesWindowController::NotFound);
        QVERIFY(!m_settings->contains(Settings::kSelectedPreferencesItem));
        QVERIFY(window.toolbar()->actions().isEmpty());
        window.showWindow();
        QCOMPARE(window.contentView()->size(), TamPreferencesWindowController::kEmptyContentSize);
        QCOMPARE(window.windowTitle(), QStringLiteral("Preferences"));
        // Clicks with no pane selected do nothing.
        window.setSelectedIndex(3);
        QVERIFY(!window.selectedViewController());
    }

    void initialSelection_data()
    {
        QTest::addColumn<QString>("stored"); // null: nothing stored
        QTest::addColumn<int>("expectedIndex");
        QTest::addColumn<QString>("expectedKey");
        QTest::newRow("nothing stored") << QString() << 0 << "A";
        QTest::newRow("second pane") << "B" << 1 << "B";
        QTest::newRow("stale identifier") << "Removed" << 0 << "A";
        QTest::newRow("case differs") << "b" << 0 << "A";
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
            m_settings->setValue(Settings::kSelectedPreferencesItem, stored);
        auto c = fake("C");
        c->customItem = TamToolbarItem{QStringLiteral("custom-c"), QStringLiteral("Custom"), {}};
        const PaneList panes{fake("A"), fake("B"), c,
                             TamPreferencesWindowController::flexibleSpacePlaceholderController()};
        TamPreferencesWindowController window(*m_settings, panes);
        QCOMPARE(window.selectedIndex(), qsizetype(expectedIndex));
        QCOMPARE(storedSelection(), expectedKey);
        QCOMPARE(window.toolbarItemIdentifiers(),
                 (QStringList{"A", "B", "custom-c", TamToolbarItem::FlexibleSpaceItemIdentifier}));
        // Nothing is attached before the window is first shown.
        QVERIFY(attachedViews(window).isEmpty());
    }

    // The own toolbar item of a pane is looked at before its identifier, pane by pane.
    void lookupByIdentifier()
    {
        auto first = fake("x");
        first->customItem = TamToolbarItem{QStringLiteral("y"), {}, {}};
        auto second = fake("y");
        TamPreferencesWindowController window(*m_settings, {first, second});
        QCOMPARE(window.viewControllerWithIdentifier("y"), Pane(first));
        QCOMPARE(window.viewControllerWithIdentifier("x"), Pane(first));
        QVERIFY(!window.viewControllerWithIdentifier("Y"));
        QCOMPARE(TamPreferencesWindowController::toolbarItemIdentifierForViewController(second),
                 QStringLiteral("y"));
    }

    void selectByIndex_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("expected");
        QTest::newRow("first") << 0 << "A";
        QTest::newRow("last") << 2 << "C";
        QTest::newRow("one past") << 3 << "C";
        QTest::newRow("far past") << 100 << "C";
        QTest::newRow("not found") << int(TamPreferencesWindowController::NotFound) << "C";
    }
    void selectByIndex()
    {
        QFETCH(int, index);
        QFETCH(QString, expected);
        TamPreferencesWindowController window(*m_settings, {fake("A"), fake("B"), fake("C")});
        window.setSelectedIndex(1);
        window.setSelectedIndex(index);
        QCOMPARE(window.selectedViewController()->identifier(), expected);
        QCOMPARE(storedSelection(), expected);
    }

    // Before the window loads, switching records the selection only; loading attaches at once.
    void switchesBeforeLoadOnlyRecord()
    {
        auto a = fake("A");
        auto b = fake("B", QSize(500, 200));
        TamPreferencesWindowController window(*m_settings, {a, b});
        window.setSelectedIndex(1);
        QCOMPARE(storedSelection(), QStringLiteral("B"));
        QVERIFY(a->events.isEmpty());
        QVERIFY(b->events.isEmpty());
        QVERIFY(!window.isWindowLoaded());

        window.showWindow();
        QCOMPARE(b->events, (QStringList{"willAppear", "didAppear"}));
        QCOMPARE(attachedViews(window), (QList<QWidget*>{b->existingView()}));
        QCOMPARE(window.contentView()->size(), QSize(500, 200));
        QCOMPARE(window.toolbarSelectedItemIdentifier(), QStringLiteral("B"));
        QVERIFY(window.toolbarItemWithItemIdentifier("B")->isChecked());
        QVERIFY(a->events.isEmpty());
    }

    void reselectionRewritesKeyOnly()
    {
        auto a = fake("A");
        TamPreferencesWindowController window(*m_settings, {a, fake("B")});
        window.showWindow();
        a->events.clear();
        const QRect geometry = window.geometry();
        m_settings->remove(Settings::kSelectedPreferencesItem);

        window.setSelectedViewController(a);
        QCOMPARE(storedSelection(), QStringLiteral("A"));
        settle();
        QVERIFY(a->events.isEmpty());
        QCOMPARE(attachedViews(window), (QList<QWidget*>{a->existingView()}));
        QCOMPARE(window.geometry(), geometry);

        // Clicking the highlighted item keeps it highlighted.
        window.toolbarItemWithItemIdentifier("A")->trigger();
        QVERIFY(window.toolbarItemWithItemIdentifier("A")->isChecked());
        QVERIFY(a->events.isEmpty());
    }

    // A→B→C in quick succession: B's delayed attach finds C selected and does nothing.
    void quickSwitchAttachesOnlyTheLast()
    {
        auto a = fake("A", QSize(400, 300));
        auto b = fake("B", QSize(420, 500));
        auto c = fake("C", QSize(440, 340));
        TamPreferencesWindowController window(*m_settings, {a, b, c});
        window.showWindow();
        QCOMPARE(attachedViews(window), (QList<QWidget*>{a->existingView()}));

        window.toolbarItemWithItemIdentifier("B")->trigger();
        window.toolbarItemWithItemIdentifier("C")->trigger();
        QCOMPARE(a->events, (QStringList{"willAppear", "didAppear", "willDisappear", "didDisappear"}));
        // The new view waits for the resize.
        QVERIFY(attachedViews(window).isEmpty());

        // C's attach is due after B's, so once C is there B's has run.
        QTRY_COMPARE(attachedViews(window), (QList<QWidget*>{c->existingView()}));
        QTRY_COMPARE(window.contentView()->size(), QSize(440, 340));
        QCOMPARE(b->events, (QStringList{"willAppear", "willDisappear", "didDisappear"}));
        QCOMPARE(c->events, (QStringList{"willAppear", "didAppear"}));
        QVERIFY(!b->existingView()->parentWidget());
        QCOMPARE(c->existingView()->pos(), QPoint(0, 0));
        QCOMPARE(storedSelection(), QStringLiteral("C"));
        QVERIFY(window.toolbarItemWithItemIdentifier("C")->isChecked());
        QVERIFY(!window.toolbarItemWithItemIdentifier("B")->isChecked());
    }

    // The window keeps its top edge and horizontal centre, and attaches only after the resize.
    void resizeKeepsTopAndCentre()
    {
        auto a = fake("A", QSize(400, 200));
        auto b = fake("B", QSize(600, 800));
        TamPreferencesWindowController window(*m_settings, {a, b});
        window.showWindow();
        const QRect before = window.geometry();

        QElapsedTimer clock;
        clock.start();
        window.setSelectedViewController(b);
        QTest::qWait(150);
        // 600 points taller: 0.3 s, so the view cannot be there yet.
        if (clock.elapsed() < 300)
            QVERIFY(!b->existingView()->parentWidget());
        QTRY_COMPARE(b->existingView()->parentWidget(), window.contentView());
        QTRY_COMPARE(window.contentView()->size(), QSize(600, 800));
        const QRect after = window.geometry();
        QCOMPARE(after.top(), before.top());
        QVERIFY(qAbs((after.left() + after.right()) - (before.left() + before.right())) <= 1);
        QCOMPARE(window.size(), window.minimumSize()); // fixed to the pane
        QCOMPARE(window.size(), window.maximumSize());
    }

    void replacingPaneList_data()
    {
        QTest::addColumn<QStringList>("replacement");
        QTest::addColumn<QString>("expected"); // empty: nothing selected
        QTest::newRow("still listed") << QStringList{"A", "B", "*C", "D"} << "C";
        QTest::newRow("gone, same length") << QStringList{"W", "X", "Y", "Z"} << "Y";
        QTest::newRow("gone, shorter") << QStringList{"W"} << "W";
        QTest::newRow("gone, empty") << QStringList{} << "";
    }
    void replacingPaneList()
    {
        QFETCH(QStringList, replacement);
        QFETCH(QString, expected);
        auto c = fake("C");
        TamPreferencesWindowController window(*m_settings, {fake("A"), fake("B"), c});
        window.setSelectedIndex(2);
        window.showWindow();
        QAction* itemOfC = window.toolbarItemWithItemIdentifier("C");

        PaneList panes;
        for (const QString& id : replacement)
            panes.append(id == "*C" ? Pane(c) : Pane(fake(id)));
        window.setViewControllers(panes);
        settle();

        if (expected.isEmpty()) {
            QVERIFY(!window.selectedViewController());
            QVERIFY(!m_settings->contains(Settings::kSelectedPreferencesItem));
            QVERIFY(attachedViews(window).isEmpty());
            QVERIFY(window.toolbar()->actions().isEmpty());
            return;
        }
        QCOMPARE(window.selectedViewController()->identifier(), expected);
        QCOMPARE(storedSelection(), expected);
        QCOMPARE(window.toolbar()->actions().size(), replacement.size());
        QTRY_COMPARE(attachedViews(window), (QList<QWidget*>{window.selectedViewController()->view()}));
        QVERIFY(window.toolbarItemWithItemIdentifier(expected)->isChecked());
        if (replacement.contains("*C")) // the existing item is reused
            QCOMPARE(window.toolbarItemWithItemIdentifier("C"), itemOfC);
    }

    void placeholdersBecomeStandardItems()
    {
        const PaneList panes{fake("A"),
                             TamPreferencesWindowController::flexibleSpacePlaceholderController(),
                             TamPreferencesWindowController::separatorPlaceholderController(),
                             TamPreferencesWindowController::spacePlaceholderController(),
                             fake("B"),
                             TamPreferencesWindowController::printPlaceholderController()};
        TamPreferencesWindowController window(*m_settings, panes);
        window.showWindow();
        const QList<QAction*> actions = window.toolbar()->actions();
        QCOMPARE(actions.size(), 6);
        auto* flexible = qobject_cast<QWidgetAction*>(actions.at(1));
        QVERIFY(flexible && flexible->defaultWidget());
        QCOMPARE(flexible->defaultWidget()->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QVERIFY(actions.at(2)->isSeparator());
        auto* space = qobject_cast<QWidgetAction*>(actions.at(3));
        QVERIFY(space && space->defaultWidget());
        QCOMPARE(space->defaultWidget()->minimumWidth(), space->defaultWidget()->maximumWidth());
        QCOMPARE(TamPreferencesWindowController::itemIdentifier(actions.at(5)),
                 TamToolbarItem::PrintItemIdentifier);

        // Placeholders count as panes: index 4 is B, and a placeholder can be selected.
        window.setSelectedIndex(4);
        QCOMPARE(window.selectedViewController()->identifier(), QStringLiteral("B"));
        actions.at(5)->trigger();
        QCOMPARE(storedSelection(), TamToolbarItem::PrintItemIdentifier);
        settle();
        QVERIFY(attachedViews(window).isEmpty());
    }

    void refusedCommitKeepsPaneAndWindow()
    {
        auto a = fake("A");
        auto b = fake("B");
        TamPreferencesWindowController window(*m_settings, {a, b});
        window.showWindow();
        a->acceptsCommit = false;

        window.toolbarItemWithItemIdentifier("B")->trigger();
        QCOMPARE(a->commits, 1);
        QCOMPARE(window.selectedViewController(), Pane(a));
        QVERIFY(window.toolbarItemWithItemIdentifier("A")->isChecked());
        QVERIFY(!window.toolbarItemWithItemIdentifier("B")->isChecked());
        QCOMPARE(storedSelection(), QStringLiteral("A"));

        QVERIFY(!window.close());
        QVERIFY(window.isVisible());

        a->acceptsCommit = true;
        window.toolbarItemWithItemIdentifier("B")->trigger();
        QCOMPARE(window.selectedViewController(), Pane(b));
        QVERIFY(window.close());
        QVERIFY(!window.isVisible());
        // Shown again on the same pane.
        window.showWindow();
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
        TamPreferencesWindowController window(*m_settings, {fake("A"), fake("B")},
                                              QStringLiteral("Preferences"));
        QVERIFY(window.windowTitleShouldAutomaticlyUpdateToReflectSelectedViewController());
        window.setWindowTitleShouldAutomaticlyUpdateToReflectSelectedViewController(follow);
        QCOMPARE(window.windowTitle(), QStringLiteral("Preferences"));
        window.setWindowTitle(QStringLiteral("Settings"));
        QCOMPARE(window.windowTitle(), QStringLiteral("Settings"));
        QVERIFY(window.QMainWindow::windowTitle().isEmpty());

        window.showWindow();
        QCOMPARE(window.windowTitle(), follow ? QStringLiteral("A label") : QStringLiteral("Settings"));
        window.toolbarItemWithItemIdentifier("B")->trigger();
        QCOMPARE(window.windowTitle(), follow ? QStringLiteral("B label") : QStringLiteral("Settings"));
        QCOMPARE(window.QMainWindow::windowTitle(), window.windowTitle());
    }

    void generalControlsWriteKeys()
    {
        TamGeneralViewController pane(*m_settings);
        QWidget* view = pane.view();
        auto* spin = view->findChild<QSpinBox*>("spinMinimumFileSize");
        auto* unit = view->findChild<QComboBox*>("cmbFileSizeUnit");
        auto* oldest = view->findChild<QRadioButton*>("rbKeepOldest");
        auto* newest = view->findChild<QRadioButton*>("rbKeepNewest");
        auto* noTrash = view->findChild<QCheckBox*>("chkDoNotShowConfirmationDialogOnTrash");
        auto* noAutoMark = view->findChild<QCheckBox*>("chkDoNotShowAutoMarkDialog");
        QVERIFY(spin && unit && oldest && newest && noTrash && noAutoMark && pane.btnAutoMarkPhotoLib());

        // The registered defaults are shown and nothing is written by showing them.
        QCOMPARE(spin->value(), 10);
        QCOMPARE(unit->currentText(), QStringLiteral("KB"));
        QVERIFY(oldest->isChecked());
        QVERIFY(m_store->allKeys().isEmpty());

        spin->setValue(25);
        unit->setCurrentIndex(1);
        QCOMPARE(m_settings->minimumFileSizeInBytes(), quint64(25) * 1024 * 1024);
        newest->click();
        QCOMPARE(m_settings->autoSelectOption(), TamGeneralViewController::kKeepNewest);
        oldest->click();
        QCOMPARE(m_settings->autoSelectOption(), TamGeneralViewController::kKeepOldest);
        noTrash->click();
        QVERIFY(m_settings->doNotShowConfirmationDialogOnTrash());
        noAutoMark->click();
        QVERIFY(m_settings->doNotShowAutoMarkDialog());
        pane.btnAutoMarkPhotoLib()->click();
        QVERIFY(m_settings->autoMarkPhotos());
        noTrash->click();
        QVERIFY(!m_settings->doNotShowConfirmationDialogOnTrash());

        // Another reader of the same file sees the changes at once.
        QSettings reread(m_store->fileName(), QSettings::IniFormat);
        QCOMPARE(Settings(&reread).minimumFileSize(), qint64(25));
        QCOMPARE(Settings(&reread).fileSizeUnit(), 1);
    }

    void generalShowsStoredValues()
    {
        m_settings->setValue(Settings::kMinimumFileSize, 3);
        m_settings->setValue(Settings::kFileSizeUnit, 1);
        m_settings->setValue(Settings::kAutoSelectOption, 0); // any value but 1 keeps the newest
        m_settings->setValue(Settings::kDoNotShowAutoMarkDialog, true);
        TamGeneralViewController pane(*m_settings);
        QWidget* view = pane.view();
        QCOMPARE(view->findChild<QSpinBox*>("spinMinimumFileSize")->value(), 3);
        QCOMPARE(view->findChild<QComboBox*>("cmbFileSizeUnit")->currentIndex(), 1);
        QVERIFY(view->findChild<QRadioButton*>("rbKeepNewest")->isChecked());
        QVERIFY(view->findChild<QCheckBox*>("chkDoNotShowAutoMarkDialog")->isChecked());
        QCOMPARE(m_settings->autoSelectOption(), 0); // showing does not rewrite it
    }

    void autoMarkTitle_data()
    {
        QTest::addColumn<bool>("photosInstalled");
        QTest::addColumn<QString>("title");
        QTest::newRow("Photos") << true << "Auto mark items of Photos library";
        QTest::newRow("iPhoto") << false << "Auto mark items of iPhoto library";
    }
    void autoMarkTitle()
    {
        QFETCH(bool, photosInstalled);
        QFETCH(QString, title);
        const bool saved = AppGlobals::isPhotosAppInstalled;
        AppGlobals::isPhotosAppInstalled = photosInstalled;
        TamGeneralViewController pane(*m_settings);
        pane.view();
        AppGlobals::isPhotosAppInstalled = saved;
        QCOMPARE(pane.btnAutoMarkPhotoLib()->text(), title);
    }

    // Restore Defaults: both panes follow at once, without processing events.
    void resetUpdatesBothPanes()
    {
        m_settings->setExcludedFolders({"/only"});
        TamGeneralViewController general(*m_settings);
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        TamExcludeViewController exclusions(*m_settings, alerts, {});
        QWidget* view = general.view();
        exclusions.view();
        QCOMPARE(exclusions.tvExcludeFolder()->model()->rowCount(), 1);

        view->findChild<QSpinBox*>("spinMinimumFileSize")->setValue(99);
        view->findChild<QComboBox*>("cmbFileSizeUnit")->setCurrentIndex(1);
        view->findChild<QRadioButton*>("rbKeepNewest")->click();
        general.btnAutoMarkPhotoLib()->click();

        view->findChild<QPushButton*>("btnResetDefaults")->click();
        QCOMPARE(view->findChild<QSpinBox*>("spinMinimumFileSize")->value(), 10);
        QCOMPARE(view->findChild<QComboBox*>("cmbFileSizeUnit")->currentIndex(), 0);
        QVERIFY(view->findChild<QRadioButton*>("rbKeepOldest")->isChecked());
        QVERIFY(!general.btnAutoMarkPhotoLib()->isChecked());
        QCOMPARE(m_settings->minimumFileSizeInBytes(), quint64(10 * 1024));
        const QStringList defaults = Settings::getExcludedFolders();
        QAbstractItemModel* model = exclusions.tvExcludeFolder()->model();
        QCOMPARE(model->rowCount(), int(defaults.size()));
        QCOMPARE(model->index(0, 0).data().toString(), defaults.first());
        QVERIFY(alerts->alerts().isEmpty());
    }

    void clearCacheButton()
    {
        const QByteArray db = SqliteDBOperations::getDbPathInLibrary();
        QVERIFY(db.startsWith(TestSupport::testHome()));
        QVERIFY(QDir().mkpath(QFileInfo(QFile::decodeName(db)).path()));
        const QString other = QFileInfo(QFile::decodeName(db)).path() + QStringLiteral("/other-file");
        for (const QString& name : {QFile::decodeName(db), other}) {
            QFile f(name);
            QVERIFY(f.open(QIODevice::WriteOnly));
        }
        TamGeneralViewController pane(*m_settings);
        auto* button = pane.view()->findChild<QPushButton*>("btnClearCache");
        button->click();
        QVERIFY(!QFile::exists(QFile::decodeName(db)));
        QVERIFY(QFile::exists(other));
        // Again, with nothing left to remove: only a log line.
        QTest::ignoreMessage(QtInfoMsg,
                             QRegularExpression(QStringLiteral("^Cannot remove the cache database")));
        button->click();
    }

    void excludePaneAddAndRemove()
    {
        m_settings->setExcludedFolders({"/kept"});
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        auto chooser = std::make_shared<ScriptedChooser>();
        chooser->answers = {{"/kept", "/new/one", "/new/two"}, {}};
        TamExcludeViewController pane(
            *m_settings, alerts, [] { return QList<QByteArray>{"/scanned"}; }, chooser);
        QWidget* view = pane.view();
        QTableView* table = pane.tvExcludeFolder();
        auto* add = view->findChild<QAbstractButton*>("btnAddExclusion");
        auto* remove = view->findChild<QAbstractButton*>("btnRemoveExclusion");
        QVERIFY(add && remove);
        QVERIFY(!remove->isEnabled());

        add->click();
        QCOMPARE(chooser->prompts, QStringList{"Add To Exclusions"});
        QCOMPARE(m_settings->excludedFolders(), (QStringList{"/kept", "/new/one", "/new/two"}));
        QCOMPARE(table->model()->rowCount(), 3);
        QCOMPARE(alerts->alerts().size(), 1);
        QCOMPARE(alerts->alerts().first().messageText, ExclusionList::kAlreadyListedTitle);

        // Cancelled: nothing changes, nothing is written.
        m_store->remove(Settings::kExcludedFolders);
        add->click();
        QVERIFY(!m_settings->contains(Settings::kExcludedFolders));
        QCOMPARE(table->model()->rowCount(), 3);

        // Nothing selected: remove does nothing.
        pane.deleteFolderPath();
        QCOMPARE(table->model()->rowCount(), 3);
        QVERIFY(!m_settings->contains(Settings::kExcludedFolders));

        table->selectRow(1);
        QVERIFY(remove->isEnabled());
        remove->click();
        QCOMPARE(m_settings->excludedFolders(), (QStringList{"/kept", "/new/two"}));
        QCOMPARE(pane.selectedRow(), 1); // the next entry is ready for another removal
        pane.deleteFolderFromExclusion();
        QCOMPARE(m_settings->excludedFolders(), QStringList{"/kept"});
        QCOMPARE(alerts->alerts().size(), 1);
    }

    // The real dialog: folders only, several at once, the prompt on its accept button; a
    // cancel answers an empty list.
    void folderDialog()
    {
        QWidget parent;
        parent.show();
        DialogFolderChooser chooser;
        std::optional<QStringList> answer;
        chooser.chooseFolders(&parent, QStringLiteral("Add To Exclusions"),
                              [&](const QStringList& chosen) { answer = chosen; });
        auto* dialog = parent.findChild<QFileDialog*>();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        QCOMPARE(dialog->fileMode(), QFileDialog::Directory);
        QVERIFY(dialog->testOption(QFileDialog::ShowDirsOnly));
        QCOMPARE(dialog->labelText(QFileDialog::Accept), QStringLiteral("Add To Exclusions"));
        auto* list = dialog->findChild<QAbstractItemView*>(QStringLiteral("listView"));
        QVERIFY(list);
        QCOMPARE(list->selectionMode(), QAbstractItemView::ExtendedSelection);
        QVERIFY(!answer);
        dialog->reject();
        QVERIFY(answer);
        QVERIFY(answer->isEmpty());
    }

    void screenshots()
    {
        m_settings->setExcludedFolders(Settings::getExcludedFolders() +
                                       QStringList{"/home/someone/Projects/build"});
        auto alerts = std::make_shared<ScriptedAlertPresenter>();
        std::unique_ptr<TamPreferencesWindowController> window(createPreferencesWindow(
            *m_settings, [] { return QList<QByteArray>{}; }, alerts));
        window->showWindow();
        QCOMPARE(window->windowTitle(), QStringLiteral("General"));
        QCOMPARE(window->toolbar()->actions().size(), 2);
        QCoreApplication::processEvents();
        saveScreen(window.get(), QStringLiteral("preferences-general"));

        window->toolbarItemWithItemIdentifier("TamExcludeViewController")->trigger();
        QCOMPARE(window->windowTitle(), QStringLiteral("Exclusions"));
        QTRY_VERIFY(window->findChild<QTableView*>("tvExcludeFolder"));
        auto* table = window->findChild<QTableView*>("tvExcludeFolder");
        QVERIFY(table->isVisible());
        QTRY_VERIFY(window->findChild<QPropertyAnimation*>()->state() == QAbstractAnimation::Stopped);
        QCOMPARE(table->model()->rowCount(), int(Settings::getExcludedFolders().size()) + 1);
        table->selectRow(1);
        saveScreen(window.get(), QStringLiteral("preferences-exclusions"));
        QCOMPARE(storedSelection(), QStringLiteral("TamExcludeViewController"));
    }
};

QUILLON_GUI_TEST_MAIN(TestPreferencesWindow)
#include "tst_preferenceswindow.moc"
