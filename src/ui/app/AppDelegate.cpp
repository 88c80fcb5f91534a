#include "app/AppDelegate.h"

#include "app/AppGlobals.h"
#include "app/HeaderView.h"
#include "app/MainWindow.h"
#include "util/Log.h"

#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QIcon>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>

// The resources of the static ui library are registered by hand: nothing else references
// them, so the linker would drop their initialiser. (Q_INIT_RESOURCE must not be used inside
// a namespace.)
static void initUiResources()
{
    Q_INIT_RESOURCE(ui);
}

namespace {
constexpr int kMainWindowWidth = 990;
constexpr int kMainWindowHeight = 680;
} // namespace

AppDelegate::AppDelegate(QObject* parent) : QObject(parent)
{
    initUiResources();
}

AppDelegate::~AppDelegate()
{
    // The preferences window is a top-level window without a parent; it goes with us.
    if (m_preferencesWindow && !m_preferencesWindow->parent())
        delete m_preferencesWindow.data();
    if (m_aboutBox)
        delete m_aboutBox.data();
}

void AppDelegate::initialize()
{
    AppGlobals::initialize();
}

void AppDelegate::awakeFromNib()
{
    if (m_mainWindow)
        return;

    // Only the main window ends the application; closing the preferences window must not,
    // even when it is the last one visible.
    QGuiApplication::setQuitOnLastWindowClosed(false);

    // The installed theme icon carries the desktop entry's name; the built-in drawing is the
    // same picture for a run from the build folder.
    QIcon appIcon;
    for (int size : {16, 24, 32, 48, 64, 128, 256})
        appIcon.addPixmap(HeaderView::applicationPixmap(size));
    const QString iconName = QGuiApplication::desktopFileName();
    QGuiApplication::setWindowIcon(iconName.isEmpty() ? appIcon : QIcon::fromTheme(iconName, appIcon));

    m_mainWindow = std::make_unique<MainWindow>();
    m_mainWindow->resize(kMainWindowWidth, kMainWindowHeight);
    m_mainWindow->setMinimumSize(760, 520);
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        QRect frame(QPoint(), m_mainWindow->size());
        frame.moveCenter(screen->availableGeometry().center());
        m_mainWindow->move(frame.topLeft());
    }
    connect(m_mainWindow.get(), &MainWindow::windowWillClose, this, &AppDelegate::windowWillClose);

    buildMenus();
    setHeaderForWindow();
}

MainWindow* AppDelegate::mainWindow() const
{
    return m_mainWindow.get();
}

HeaderView* AppDelegate::viewHeader() const
{
    return m_mainWindow ? m_mainWindow->header() : nullptr;
}

void AppDelegate::setStatusText(const QString& text)
{
    if (HeaderView* header = viewHeader())
        header->setStatusText(text);
}

QString AppDelegate::statusText() const
{
    const HeaderView* header = viewHeader();
    return header ? header->statusText() : QString();
}

void AppDelegate::setContentView(QWidget* view)
{
    if (!m_mainWindow)
        awakeFromNib();
    m_mainWindow->setContentView(view);
}

QWidget* AppDelegate::contentView() const
{
    return m_mainWindow ? m_mainWindow->contentView() : nullptr;
}

void AppDelegate::setHeaderForWindow()
{
    addResultViewControllerOnWindow();
    setStatusText(QStringLiteral("Select folder to scan"));
}

void AppDelegate::addResultViewControllerOnWindow()
{
    // The scan screen arrives through setContentView(); until then the content area stays empty.
    if (QWidget* view = contentView())
        view->show();
}

void AppDelegate::setPreferencesWindowFactory(std::function<QWidget*()> factory)
{
    m_preferencesFactory = std::move(factory);
}

bool AppDelegate::validateMenuItem(const QAction* action) const
{
    if (action && action == m_preferencesAction)
        return !AppGlobals::canOpenPreferences.load();
    return true;
}

void AppDelegate::updateMenuState()
{
    for (QAction* action : {m_preferencesAction, m_quitAction, m_aboutAction}) {
        if (action)
            action->setEnabled(validateMenuItem(action));
    }
}

void AppDelegate::openPrefernces()
{
    // The keyboard shortcut can fire before a menu refresh: check again here.
    updateMenuState();
    if (!validateMenuItem(m_preferencesAction))
        return;

    if (!m_preferencesWindow) {
        if (!m_preferencesFactory) {
            quillonLog(QStringLiteral("Preferences window is not available"));
            return;
        }
        QWidget* window = m_preferencesFactory();
        if (!window) {
            quillonLog(QStringLiteral("Preferences window could not be created"));
            return;
        }
        // The factory gives the window its title ("Preferences") and panes.
        window->setWindowFlag(Qt::Window, true);
        m_preferencesWindow = window;
    }

    QWidget* window = m_preferencesWindow;
    if (window->isMinimized())
        window->showNormal();
    else
        window->show();
    window->raise();
    window->activateWindow();
}

void AppDelegate::windowWillClose(QWidget* window)
{
    if (window && window == m_mainWindow.get())
        requestQuit();
}

void AppDelegate::requestQuit()
{
    // Queued: the closing window finishes its close first, then the event loop ends. Quitting
    // closes the other windows, the main window too when it is still open; the flag keeps that
    // from queueing a second request.
    if (m_quitPending)
        return;
    m_quitPending = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            QCoreApplication::quit();
            m_quitPending = false;
        },
        Qt::QueuedConnection);
}

void AppDelegate::helpMenuTapped()
{
    if (!m_aboutBox) {
        auto* box = new QMessageBox(m_mainWindow.get());
        box->setAttribute(Qt::WA_DeleteOnClose);
        box->setWindowTitle(tr("About Quillon"));
        box->setIconPixmap(HeaderView::applicationPixmap(64, box->devicePixelRatioF()));
        box->setTextFormat(Qt::RichText);
        const QString version = QCoreApplication::applicationVersion();
        box->setText(QStringLiteral("<b>Quillon</b>") +
                     (version.isEmpty() ? QString() : QStringLiteral(" ") + version.toHtmlEscaped()));
        box->setInformativeText(
            tr("Finds files with identical contents in folders and photo libraries, and helps you move "
               "the copies you do not need to the Trash.\n\n"
               "Quillon works only on this computer and sends nothing over the network, so there is no "
               "online help."));
        box->setStandardButtons(QMessageBox::Ok);
        box->setWindowModality(Qt::WindowModal);
        m_aboutBox = box;
    }
    m_aboutBox->open();
    m_aboutBox->raise();
    m_aboutBox->activateWindow();
}

void AppDelegate::buildMenus()
{
    QMenuBar* bar = m_mainWindow->menuBar();

    m_applicationMenu = bar->addMenu(tr("&Quillon"));
    m_preferencesAction = m_applicationMenu->addAction(tr("Preferences..."));
    m_preferencesAction->setObjectName(QStringLiteral("openPrefernces"));
    m_preferencesAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    m_preferencesAction->setMenuRole(QAction::PreferencesRole);
    connect(m_preferencesAction, &QAction::triggered, this, &AppDelegate::openPrefernces);

    m_applicationMenu->addSeparator();
    m_quitAction = m_applicationMenu->addAction(tr("Quit"));
    m_quitAction->setObjectName(QStringLiteral("quit"));
    m_quitAction->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    m_quitAction->setMenuRole(QAction::QuitRole);
    connect(m_quitAction, &QAction::triggered, this, &AppDelegate::requestQuit);

    m_helpMenu = bar->addMenu(tr("&Help"));
    m_aboutAction = m_helpMenu->addAction(tr("About Quillon"));
    m_aboutAction->setObjectName(QStringLiteral("helpMenuTapped"));
    m_aboutAction->setMenuRole(QAction::AboutRole);
    connect(m_aboutAction, &QAction::triggered, this, &AppDelegate::helpMenuTapped);

    for (QMenu* menu : {m_applicationMenu, m_helpMenu})
        connect(menu, &QMenu::aboutToShow, this, &AppDelegate::updateMenuState);
    updateMenuState();
}
