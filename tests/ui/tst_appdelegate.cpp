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
#include <QThread>
#include <QTimer>

namespace {

// A delegate with its main window built, shown when asked, and a plain preferences window
// that counts how often it is asked for.
struct Fixture
{
    explicit Fixture(bool show)
    {
        delegate.awakeFromNib();
        delegate.setPreferencesWindowFactory([this] { return ++made > failures ? new QWidget : nullptr; });
        if (show)
            delegate.mainWindow()->show();
    }
    AppDelegate delegate;
    int made = 0;
    int failures = 0; // the first calls fail
};

} // namespace

class TestAppDelegate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setApplicationName(QStringLiteral("Quillon"));
        AppDelegate::initialize();
    }

    void cleanup()
    {
        AppGlobals::canOpenPreferences = false;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // The content area fills the window below the header; a new content view fills it and
    // replaces (and deletes) the previous one.
    void contentViewFillsAreaBelowHeader()
    {
        Fixture f(true);
        MainWindow* window = f.delegate.mainWindow();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        HeaderView* header = f.delegate.viewHeader();
        QWidget* area = window->contentArea();
        const int top = header->mapTo(window, QPoint()).y() + header->height();
        QCOMPARE(QRect(area->mapTo(window, QPoint()), area->size()), QRect(0, top, 990, 680 - top));
        f.delegate.setStatusText(QStringLiteral("Scan Completed"));
        QCOMPARE(header->statusLabel()->text(), QStringLiteral("Scan Completed"));
        saveScreen(window, QStringLiteral("main-window-empty"));

        QPointer<QWidget> first = new QWidget;
        f.delegate.setContentView(first);
        QVERIFY(first->parentWidget() == area && first->isVisible());
        QPointer<QWidget> second = new QWidget;
        f.delegate.setContentView(second);
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
        QWidget other;
        QTimer::singleShot(0, &f.delegate, [&] {
            if (action == QLatin1String("close main"))
                f.delegate.mainWindow()->close();
            else if (action == QLatin1String("close preferences"))
                f.delegate.preferencesWindowController()->close();
            else if (action == QLatin1String("other"))
                f.delegate.windowWillClose(&other);
            else
                f.delegate.quitAction()->trigger();
        });
        QTimer::singleShot(expectQuit ? 5000 : 400, qApp, [] { QCoreApplication::exit(7); });
        QCOMPARE(QCoreApplication::exec(), expectQuit ? 0 : 7);
        QCOMPARE(f.delegate.mainWindow()->isVisible(), showMain && !expectQuit);
    }

    // While a scan runs, the menu shows Preferences disabled and neither the action nor a direct
    // call opens the window; afterwards the item works again.
    void preferencesItemFollowsScan()
    {
        Fixture f(false);
        f.failures = 1;
        QTest::ignoreMessage(QtInfoMsg, "Preferences window could not be created");
        f.delegate.openPrefernces();
        QAction* prefs = f.delegate.preferencesAction();
        AppGlobals::canOpenPreferences = true;
        QMenu* menu = f.delegate.applicationMenu();
        menu->popup(QPoint(10, 10));
        QVERIFY(!prefs->isEnabled() && f.delegate.quitAction()->isEnabled());
        prefs->trigger();
        f.delegate.openPrefernces();
        QCOMPARE(f.made, 1);

        AppGlobals::canOpenPreferences = false;
        f.delegate.updateMenuState();
        prefs->trigger();
        // Made once, shown again (also from minimised) on later use.
        QPointer<QWidget> window = f.delegate.preferencesWindowController();
        window->showMinimized();
        f.delegate.openPrefernces();
        QTRY_VERIFY(!window->isMinimized() && window->isVisible());
        QCOMPARE(f.made, 2);
    }

    // Asked from a worker thread, the box shows on the GUI thread with the first button as
    // default and no markup; Escape answers Cancel's index.
    void alertAnswersFromWorker()
    {
        QWidget window;
        WidgetAlertPresenter presenter(&window);
        const Alert alert{QStringLiteral("Move 3 items to the Trash?"),
                          QStringLiteral("<b>not markup</b>"),
                          {"Move to Trash", "Cancel", "Keep"}};
        // Records the next modal box and presses Escape on it.
        QStringList seen;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                timer.stop();
                seen = {box->text(), box->informativeText(),
                        box->defaultButton()->text().remove(QLatin1Char('&')),
                        QString::number(box->buttons().size())};
                QTest::keyClick(box, Qt::Key_Escape);
            }
        });
        timer.start(10);
        int result = -1;
        std::unique_ptr<QThread> worker(QThread::create([&] { result = presenter.runModal(alert); }));
        worker->start();
        QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 10000);
        QCOMPARE(result, 1);
        QCOMPARE(seen, QStringList({alert.messageText, alert.informativeText, "Move to Trash", "3"}));
    }
};

QUILLON_GUI_TEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
