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
    QString text = button->text();
    return text.remove(QLatin1Char('&'));
}

// What the answered message box showed.
struct SeenBox
{
    bool shown = false;
    QString text;
    QString informativeText;
    QWidget* window = nullptr;
    QString defaultButton;
    QStringList buttons;
};

// Waits (inside the event loop) for the next modal message box and answers it: clicks the
// button with the given title, or presses Escape when the title is empty.
void answerNextMessageBox(const QString& title, SeenBox* seen)
{
    auto* timer = new QTimer(qApp);
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, title, seen] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || !box->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        seen->shown = true;
        seen->text = box->text();
        seen->informativeText = box->informativeText();
        seen->window = box->parentWidget() ? box->parentWidget()->window() : nullptr;
        seen->defaultButton = box->defaultButton() ? plainTitle(box->defaultButton()) : QString();
        for (QAbstractButton* b : box->buttons())
            seen->buttons << plainTitle(b);
        for (QAbstractButton* b : box->buttons()) {
            if (!title.isEmpty() && plainTitle(b) == title) {
                b->click();
                return;
            }
        }
        QTest::keyClick(box, Qt::Key_Escape);
    });
    timer->start();
}

QWidget* plainPreferencesWindow(int* made)
{
    ++*made;
    auto* w = new QWidget;
    w->resize(500, 360);
    return w;
}

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

    void mainWindowOpensWithHeader()
    {
        AppDelegate delegate;
        delegate.awakeFromNib();
        MainWindow* window = delegate.mainWindow();
        QVERIFY(window);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));

        QCOMPARE(window->size(), QSize(990, 680));
        QCOMPARE(window->windowTitle(), QStringLiteral("Quillon"));
        QVERIFY(!QGuiApplication::quitOnLastWindowClosed());

        HeaderView* header = delegate.viewHeader();
        QVERIFY(header);
        QCOMPARE(header->statusLabel()->text(), QStringLiteral("Select folder to scan"));
        QVERIFY(header->statusLabel()->isVisible());

        // The header sits on top, the empty content area fills the rest below it.
        QWidget* content = window->contentArea();
        QVERIFY(!delegate.contentView());
        QVERIFY(content->findChildren<QWidget*>().isEmpty());
        const QRect headerRect(header->mapTo(window, QPoint()), header->size());
        const QRect contentRect(content->mapTo(window, QPoint()), content->size());
        QCOMPARE(contentRect.top(), headerRect.bottom() + 1);
        QCOMPARE(contentRect.bottom(), window->height() - 1);
        QCOMPARE(contentRect.width(), window->width());
        QVERIFY(headerRect.height() >= 48 && headerRect.height() <= 120);

        saveScreen(window, QStringLiteral("main-window-empty"));

        delegate.setStatusText(QStringLiteral("Scan Completed"));
        QCOMPARE(header->statusLabel()->text(), QStringLiteral("Scan Completed"));
        QCOMPARE(delegate.statusText(), QStringLiteral("Scan Completed"));
    }

    void contentViewReplacesPrevious()
    {
        AppDelegate delegate;
        delegate.awakeFromNib();
        MainWindow* window = delegate.mainWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));

        QPointer<QWidget> first = new QWidget;
        delegate.setContentView(first);
        QCOMPARE(delegate.contentView(), first.data());
        QCOMPARE(first->parentWidget(), window->contentArea());
        QVERIFY(first->isVisible());

        QPointer<QWidget> second = new QWidget;
        delegate.setContentView(second);
        QCOMPARE(delegate.contentView(), second.data());
        QVERIFY(second->isVisible());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY2(first.isNull(), "the replaced view is deleted");
        QTRY_COMPARE(second->size(), window->contentArea()->size());

        // Taking the view hands it back without deleting it.
        std::unique_ptr<QWidget> taken(window->takeContentView());
        QCOMPARE(taken.get(), second.data());
        QVERIFY(!taken->parent());
        QVERIFY(!delegate.contentView());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!second.isNull());
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

        int made = 0;
        AppDelegate delegate;
        delegate.awakeFromNib();
        delegate.setPreferencesWindowFactory([&made] { return plainPreferencesWindow(&made); });
        if (showMain) {
            delegate.mainWindow()->show();
            QVERIFY(QTest::qWaitForWindowExposed(delegate.mainWindow()));
        }
        delegate.openPrefernces();
        QWidget* prefs = delegate.preferencesWindowController();
        QVERIFY(prefs && prefs->isVisible());

        QSignalSpy aboutToQuit(qApp, &QCoreApplication::aboutToQuit);
        QWidget other;
        QTimer::singleShot(0, &delegate, [&] {
            if (action == QLatin1String("close main"))
                delegate.mainWindow()->close();
            else if (action == QLatin1String("close preferences"))
                prefs->close();
            else if (action == QLatin1String("other"))
                delegate.windowWillClose(&other);
            else
                delegate.quitAction()->trigger();
        });
        QTimer fallback;
        fallback.setSingleShot(true);
        connect(&fallback, &QTimer::timeout, qApp, [] { QCoreApplication::exit(7); });
        fallback.start(expectQuit ? 5000 : 400);
        const int code = QCoreApplication::exec();

        QCOMPARE(code, expectQuit ? 0 : 7);
        QCOMPARE(aboutToQuit.count(), 1);
        if (action == QLatin1String("close preferences")) {
            QVERIFY(!prefs->isVisible());
            QCOMPARE(delegate.mainWindow()->isVisible(), showMain);
        }
    }

    void preferencesItemFollowsScan()
    {
        int made = 0;
        AppDelegate delegate;
        delegate.awakeFromNib();
        delegate.setPreferencesWindowFactory([&made] { return plainPreferencesWindow(&made); });
        QAction* prefs = delegate.preferencesAction();
        QVERIFY(prefs);
        QCOMPARE(prefs->text(), QStringLiteral("Preferences..."));
        QCOMPARE(prefs->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Comma));
        QCOMPARE(delegate.quitAction()->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
        QVERIFY(prefs->isEnabled());

        // A scan starts: the menu shows the item disabled the next time it opens.
        AppGlobals::canOpenPreferences = true;
        QMenu* menu = delegate.applicationMenu();
        menu->popup(QPoint(10, 10));
        QTRY_VERIFY(menu->isVisible());
        QVERIFY(!prefs->isEnabled());
        QVERIFY(!delegate.validateMenuItem(prefs));
        QVERIFY(delegate.validateMenuItem(delegate.quitAction()));
        QVERIFY(delegate.quitAction()->isEnabled());
        QVERIFY(delegate.aboutAction()->isEnabled());
        menu->hide();

        // Neither the action nor a direct call (the shortcut path) opens the window meanwhile.
        prefs->trigger();
        delegate.openPrefernces();
        QCOMPARE(made, 0);
        QVERIFY(!delegate.preferencesWindowController());

        // The scan ends: enabled again, through the public refresh.
        AppGlobals::canOpenPreferences = false;
        delegate.updateMenuState();
        QVERIFY(prefs->isEnabled());
        prefs->trigger();
        QCOMPARE(made, 1);
        QVERIFY(delegate.preferencesWindowController()->isVisible());
    }

    void preferencesWindowIsMadeOnce()
    {
        int made = 0;
        AppDelegate delegate;
        delegate.awakeFromNib();

        // Without a factory nothing opens and nothing breaks.
        QTest::ignoreMessage(QtInfoMsg, "Preferences window is not available");
        delegate.openPrefernces();
        QVERIFY(!delegate.preferencesWindowController());

        delegate.setPreferencesWindowFactory([&made] { return plainPreferencesWindow(&made); });
        delegate.openPrefernces();
        QCOMPARE(made, 1);
        QPointer<QWidget> window = delegate.preferencesWindowController();
        QVERIFY(window);
        QVERIFY(window->isWindow());
        QVERIFY(window->isVisible());

        window->close();
        QVERIFY(!window->isVisible());
        delegate.openPrefernces();
        QCOMPARE(made, 1);
        QCOMPARE(delegate.preferencesWindowController(), window.data());
        QVERIFY(window->isVisible());

        // A minimised window comes back to normal.
        window->showMinimized();
        delegate.openPrefernces();
        QTRY_VERIFY(!window->isMinimized());
        QVERIFY(window->isVisible());
        QCOMPARE(made, 1);

        // A factory that fails leaves no window behind and is asked again next time.
        {
            AppDelegate second;
            second.awakeFromNib();
            int attempts = 0;
            second.setPreferencesWindowFactory([&attempts]() -> QWidget* {
                ++attempts;
                return nullptr;
            });
            for (int i = 0; i < 2; ++i) {
                QTest::ignoreMessage(QtInfoMsg, "Preferences window could not be created");
                second.openPrefernces();
            }
            QCOMPARE(attempts, 2);
            QVERIFY(!second.preferencesWindowController());
        }
    }

    void preferencesWindowGoesWithDelegate()
    {
        int made = 0;
        QPointer<QWidget> window;
        {
            AppDelegate delegate;
            delegate.awakeFromNib();
            delegate.setPreferencesWindowFactory([&made] { return plainPreferencesWindow(&made); });
            delegate.openPrefernces();
            window = delegate.preferencesWindowController();
            QVERIFY(window);
        }
        QVERIFY(window.isNull());
    }

    void helpShowsOneAboutBox()
    {
        AppDelegate delegate;
        delegate.awakeFromNib();
        delegate.mainWindow()->show();
        QVERIFY(QTest::qWaitForWindowExposed(delegate.mainWindow()));
        QCOMPARE(delegate.aboutAction()->text(), QStringLiteral("About Quillon"));

        delegate.aboutAction()->trigger();
        delegate.helpMenuTapped();
        const auto boxes = delegate.mainWindow()->findChildren<QMessageBox*>();
        QCOMPARE(boxes.size(), 1);
        QMessageBox* box = boxes.first();
        QTRY_VERIFY(box->isVisible());
        QCOMPARE(box->windowTitle(), QStringLiteral("About Quillon"));
        saveScreen(box, QStringLiteral("about-box"));

        QPointer<QMessageBox> guard(box);
        box->button(QMessageBox::Ok)->click();
        QTRY_VERIFY(guard.isNull());
        // It can be opened again after closing.
        delegate.helpMenuTapped();
        QTRY_COMPARE(delegate.mainWindow()->findChildren<QMessageBox*>().size(), 1);
    }

    void alertAnswers_data()
    {
        QTest::addColumn<QStringList>("buttons");
        QTest::addColumn<QString>("answer"); // empty: Escape
        QTest::addColumn<bool>("fromWorker");
        QTest::addColumn<int>("expected");
        const QStringList three{"Move to Trash", "Cancel", "Keep"};
        QTest::newRow("worker, default") << three << "Move to Trash" << true << 0;
        QTest::newRow("worker, second") << three << "Cancel" << true << 1;
        QTest::newRow("worker, third") << three << "Keep" << true << 2;
        QTest::newRow("worker, escape cancels") << three << QString() << true << 1;
        QTest::newRow("gui thread, third") << three << "Keep" << false << 2;
        QTest::newRow("gui thread, single OK by escape") << QStringList{"OK"} << QString() << false << 0;
        QTest::newRow("worker, two without cancel")
            << QStringList{"Go To Preferences", "Add"} << "Add" << true << 1;
    }
    void alertAnswers()
    {
        QFETCH(QStringList, buttons);
        QFETCH(QString, answer);
        QFETCH(bool, fromWorker);
        QFETCH(int, expected);

        QWidget window;
        window.resize(400, 300);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        WidgetAlertPresenter presenter(&window);
        const Alert alert{QStringLiteral("Move 3 items to the Trash?"), QStringLiteral("<b>not markup</b>"),
                          buttons};

        SeenBox seen;
        answerNextMessageBox(answer, &seen);
        int result = -1;
        if (fromWorker) {
            std::unique_ptr<QThread> worker(QThread::create([&] { result = presenter.runModal(alert); }));
            worker->start();
            QTRY_VERIFY_WITH_TIMEOUT(worker->isFinished(), 10000);
            worker->wait();
        } else {
            result = presenter.runModal(alert);
        }

        QVERIFY(seen.shown);
        QCOMPARE(result, expected);
        QCOMPARE(seen.text, alert.messageText);
        QCOMPARE(seen.informativeText, alert.informativeText);
        QCOMPARE(seen.window, &window);
        QCOMPARE(seen.defaultButton, buttons.first());
        QStringList shown = seen.buttons;
        shown.sort();
        QStringList given = buttons;
        given.sort();
        QCOMPARE(shown, given);
    }
};

QUILLON_GUI_TEST_MAIN(TestAppDelegate)
#include "tst_appdelegate.moc"
