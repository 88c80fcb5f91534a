#include <QApplication>

#include "app/AppDelegate.h"
#include "app/AppGlobals.h"
#include "app/HeaderView.h"
#include "app/MainWindow.h"
#include "support/Screenshots.h"
#include "support/TestMain.h"
#include "util/WidgetAlertPresenter.h"

#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>
#include <memory>

namespace {

QString plainTitle(const QAbstractButton* button)
{
    return button->text().remove(QLatin1Char('&'));
}

// Waits (inside the event loop) for the next modal message box and presses Escape on it.
// Records what it showed: the text, the informative text, the default button, then every
// button, sorted.
void escapeNextMessageBox(QStringList* seen)
{
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, [timer, seen] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        timer->deleteLater();
        timer->stop();
        QStringList buttons;
        for (QAbstractButton* b : box->buttons())
            buttons << plainTitle(b);
        buttons.sort();
        *seen = QStringList{box->text(), box->informativeText(), plainTitle(box->defaultButton())} + buttons;
        QTest::keyClick(box, Qt::Key_Escape);
    });
    timer->start(10);
}

// A delegate with its main window built, shown when asked, and a plain preferences window
// that counts how often it is made.
struct Fixture
{
    explicit Fixture(bool show)
    {
        delegate.awakeFromNib();
        delegate.setPreferencesWindowFactory([this] {
            ++made;
            return new QWidget;
        });
        if (show) {
            delegate.mainWindow()->show();
            exposed = QTest::qWaitForWindowExposed(delegate.mainWindow());
        }
    }
    AppDelegate delegate;
    int made = 0;
    bool exposed = false;
};

} // namespace

class TestAppDelegate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName(QStringLiteral("Quillon"));
        QCoreApplication::setApplicationName(QStringLiteral("Quillon"));
        AppDelegate::initialize();
    }

    void cleanup()
    {
        AppGlobals::canOpenPreferences = false;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // The header with its start text sits on top, the empty content area fills the rest.
    void mainWindowOpensWithHeader()
    {
        Fixture f(true);
        QVERIFY(f.exposed);
        MainWindow* window = f.delegate.mainWindow();
        QCOMPARE(window->size(), QSize(990, 680));
        QCOMPARE(window->windowTitle(), QStringLiteral("Quillon"));
        QVERIFY(!QGuiApplication::quitOnLastWindowClosed());
        HeaderView* header = f.delegate.viewHeader();
        QCOMPARE(header->statusLabel()->text(), QStringLiteral("Select folder to scan"));
        QVERIFY(header->statusLabel()->isVisible());

        QWidget* content = window->contentArea();
        QVERIFY(content->findChildren<QWidget*>().isEmpty());
        QCOMPARE(content->mapTo(window, QPoint()).y(),
                 header->mapTo(window, QPoint()).y() + header->height());
        QCOMPARE(content->size(),
                 QSize(window->width(), window->height() - content->mapTo(window, QPoint()).y()));
        saveScreen(window, QStringLiteral("main-window-empty"));

        f.delegate.setStatusText(QStringLiteral("Scan Completed"));
        QCOMPARE(header->statusLabel()->text(), QStringLiteral("Scan Completed"));
    }

    // A new content view fills the content area and replaces (and deletes) the previous one.
    void contentViewReplacesPrevious()
    {
        Fixture f(true);
        QWidget* area = f.delegate.mainWindow()->contentArea();
        QPointer<QWidget> first = new QWidget;
        f.delegate.setContentView(first);
        QCOMPARE(first->parentWidget(), area);
        QVERIFY(first->isVisible());
        QPointer<QWidget> second = new QWidget;
        f.delegate.setContentView(second);
        QCOMPARE(f.delegate.contentView(), second.data());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(first.isNull());
        QTRY_COMPARE(second->size(), area->size());
    }

    // Each case runs inside a real event loop: exec() returns 0 when the delegate quits, and 7
    // when the fallback timer has to end the loop because nothing quit.
    void closingWindows_data()
    {
        QTest::addColumn<bool>("showMain");
        QTest::addColumn<QString>("action");
        QTest::addColumn<bool>("expectQuit");
        QTest::newRow("main window") << true << "close main" << true;
        QTest::newRow("preferences, main open") << true << "close preferences" << false;
        QTest::newRow("preferences, last visible window") << false << "close preferences" << false;
        QTest::newRow("another window's close") << true << "other" << false;
        QTest::newRow("quit action") << true << "quit" << true;
    }
    void closingWindows()
    {
        QFETCH(bool, showMain);
        QFETCH(QString, action);
        QFETCH(bool, expectQuit);
        Fixture f(showMain);
        f.delegate.openPrefernces();
        QWidget* prefs = f.delegate.preferencesWindowController();
        QVERIFY(prefs && prefs->isVisible());

        QSignalSpy aboutToQuit(qApp, &QCoreApplication::aboutToQuit);
        QWidget other;
        QTimer::singleShot(0, &f.delegate, [&] {
            if (action == QLatin1String("close main"))
                f.delegate.mainWindow()->close();
            else if (action == QLatin1String("close preferences"))
                prefs->close();
            else if (action == QLatin1String("other"))
                f.delegate.windowWillClose(&other);
            else
                f.delegate.quitAction()->trigger();
        });
        QTimer::singleShot(expectQuit ? 5000 : 400, qApp, [] { QCoreApplication::exit(7); });
        QCOMPARE(QCoreApplication::exec(), expectQuit ? 0 : 7);
        QCOMPARE(aboutToQuit.count(), 1);
        if (action == QLatin1String("close preferences")) {
            QVERIFY(!prefs->isVisible());
            QCOMPARE(f.delegate.mainWindow()->isVisible(), showMain);
        }
    }

    // While a scan runs, the menu shows Preferences disabled and neither the action nor a direct
    // call opens the window; afterwards the item works again.
    void preferencesItemFollowsScan()
    {
        Fixture f(false);
        QAction* prefs = f.delegate.preferencesAction();
        QCOMPARE(prefs->text(), QStringLiteral("Preferences..."));
        QCOMPARE(prefs->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
        QCOMPARE(f.delegate.quitAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
        QCOMPARE(f.delegate.aboutAction()->text(), QStringLiteral("About Quillon"));
        QVERIFY(prefs->isEnabled());

        AppGlobals::canOpenPreferences = true;
        QMenu* menu = f.delegate.applicationMenu();
        menu->popup(QPoint(10, 10));
        QTRY_VERIFY(menu->isVisible());
        QVERIFY(!prefs->isEnabled());
        QVERIFY(f.delegate.quitAction()->isEnabled() && f.delegate.aboutAction()->isEnabled());
        menu->hide();
        prefs->trigger();
        f.delegate.openPrefernces();
        QCOMPARE(f.made, 0);
        QVERIFY(!f.delegate.preferencesWindowController());

        AppGlobals::canOpenPreferences = false;
        f.delegate.updateMenuState();
        QVERIFY(prefs->isEnabled());
        prefs->trigger();
        QCOMPARE(f.made, 1);
        QVERIFY(f.delegate.preferencesWindowController()->isVisible());
    }

    // Made on first use, shown again (also from minimised) on later use, gone with the
    // delegate; a missing or failing factory leaves no window and is asked again.
    void preferencesWindowIsMadeOnce()
    {
        QPointer<QWidget> window;
        {
            Fixture f(false);
            f.delegate.openPrefernces();
            window = f.delegate.preferencesWindowController();
            QVERIFY(window && window->isWindow() && window->isVisible());
            window->close();
            f.delegate.openPrefernces();
            QVERIFY(window->isVisible());
            window->showMinimized();
            f.delegate.openPrefernces();
            QTRY_VERIFY(!window->isMinimized());
            QCOMPARE(f.made, 1);
            QCOMPARE(f.delegate.preferencesWindowController(), window.data());
        }
        QVERIFY(window.isNull());

        AppDelegate delegate;
        delegate.awakeFromNib();
        QTest::ignoreMessage(QtInfoMsg, "Preferences window is not available");
        delegate.openPrefernces();
        int attempts = 0;
        delegate.setPreferencesWindowFactory([&attempts]() -> QWidget* {
            ++attempts;
            return nullptr;
        });
        for (int i = 0; i < 2; ++i) {
            QTest::ignoreMessage(QtInfoMsg, "Preferences window could not be created");
            delegate.openPrefernces();
        }
        QCOMPARE(attempts, 2);
        QVERIFY(!delegate.preferencesWindowController());
    }

    // Asked from a worker thread, the box shows on the GUI thread with the first button as
    // default; Escape answers Cancel's index.
    void alertAnswersFromWorker()
    {
        const QStringList buttons{"Move to Trash", "Cancel", "Keep"};
        QWidget window;
        window.resize(400, 300);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WidgetAlertPresenter presenter(&window);
        const Alert alert{QStringLiteral("Move 3 items to the Trash?"), QStringLiteral("<b>not markup</b>"),
                          buttons};

        QStringList seen;
        escapeNextMessageBox(&seen);
        int result = -1;
        std::unique_ptr<QThread> worker(QThread::create([&] { result = presenter.runModal(alert); }));
        worker->start();
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 10000);
        worker->wait();
        QCOMPARE(result, 1);
        QStringList sorted = buttons;
        sorted.sort();
        QCOMPARE(seen, QStringList({alert.messageText, alert.informativeText, buttons.first()}) + sorted);
    }
};

QUILLON_GUI_TEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
