#include "preferences/TamPreferencesWindowController.h"

#include "app/Settings.h"
#include "preferences/PreferencesToolbarItems.h"
#include "preferences/PreferencesWindowGeometry.h"
#include "preferences/PreferencesWindowResizer.h"

#include <QAction>
#include <QCloseEvent>
#include <QTimer>
#include <QToolBar>
#include <cmath>

TamPreferencesWindowController::TamPreferencesWindowController(Settings& settings,
                                                               const PaneList& viewControllers,
                                                               QWidget* parent)
    : TamPreferencesWindowController(settings, viewControllers, QString(), parent)
{}

TamPreferencesWindowController::TamPreferencesWindowController(Settings& settings,
                                                               const PaneList& viewControllers,
                                                               const QString& title, QWidget* parent)
    : QMainWindow(parent), m_settings(settings)
{
    setObjectName(QStringLiteral("TamPreferencesWindow"));
    m_toolbar = new QToolBar(this);
    m_toolbar->setObjectName(QStringLiteral("toolbar"));
    m_toolbar->setMovable(false);
    m_toolbar->setFloatable(false);
    m_toolbar->toggleViewAction()->setVisible(false);
    m_toolbar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    m_toolbar->setIconSize(QSize(32, 32));
    setContextMenuPolicy(Qt::NoContextMenu);
    setUnifiedTitleAndToolBarOnMac(true);
    addToolBar(Qt::TopToolBarArea, m_toolbar);

    m_contentView = new QWidget(this);
    m_contentView->setObjectName(QStringLiteral("contentView"));
    setCentralWidget(m_contentView);

    auto* closeAction = new QAction(this);
    closeAction->setShortcuts({QKeySequence(QKeySequence::Close), QKeySequence(Qt::Key_Escape)});
    closeAction->setShortcutContext(Qt::WindowShortcut);
    connect(closeAction, &QAction::triggered, this, &QWidget::close);
    addAction(closeAction);

    m_resizer = new PreferencesWindowResizer(this, m_toolbar);

    m_titleFollowsPane = true;
    setViewControllers(viewControllers);
    m_unloadedWindowTitle = title;
}

TamPreferencesWindowController::~TamPreferencesWindowController()
{
    // The panes own their views; hand back the one on show so it is not deleted with the window.
    if (m_windowLoaded && m_selectedViewController) {
        if (QWidget* view = m_selectedViewController->view(); view && view->parentWidget() == m_contentView) {
            view->hide();
            view->setParent(nullptr);
        }
    }
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::separatorPlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::SeparatorItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::flexibleSpacePlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::FlexibleSpaceItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::spacePlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::SpaceItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::showColorsPlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::ShowColorsItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::showFontsPlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::ShowFontsItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::customizeToolbarPlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::CustomizeToolbarItemIdentifier);
}

TamPreferencesWindowController::Pane TamPreferencesWindowController::printPlaceholderController()
{
    return TamPreferencesCustomPlaceholderController::controllerWithIdentifier(
        TamToolbarItem::PrintItemIdentifier);
}

float TamPreferencesWindowController::resizeAnimationDuration(const QSizeF& previous, const QSizeF& next)
{
    return PreferencesWindowGeometry::resizeAnimationDuration(previous, next);
}

void TamPreferencesWindowController::setViewControllers(const PaneList& viewControllers)
{
    if (viewControllers == m_viewControllers && !m_viewControllers.isEmpty())
        return;
    const qsizetype oldIndex = selectedIndex();
    m_viewControllers = viewControllers;

    if (m_selectedViewController) {
        if (!m_viewControllers.contains(m_selectedViewController))
            setSelectedIndex(oldIndex);
        reloadToolbarItems();
        return;
    }
    // At initialisation: the pane stored last time, else the first.
    const QString stored = m_settings.value(Settings::kSelectedPreferencesItem).toString();
    if (Pane pane = viewControllerWithIdentifier(stored))
        setSelectedViewController(pane);
    else
        setSelectedIndex(0);
    reloadToolbarItems();
}

qsizetype TamPreferencesWindowController::selectedIndex() const
{
    if (!m_selectedViewController)
        return NotFound;
    const qsizetype index = m_viewControllers.indexOf(m_selectedViewController);
    return index < 0 ? NotFound : index;
}

void TamPreferencesWindowController::setSelectedIndex(qsizetype index)
{
    if (index < 0 || index >= m_viewControllers.size())
        setSelectedViewController(m_viewControllers.isEmpty() ? Pane() : m_viewControllers.last());
    else
        setSelectedViewController(m_viewControllers.at(index));
}

void TamPreferencesWindowController::setSelectedViewController(const Pane& viewController)
{
    const Pane previous = m_selectedViewController;
    m_selectedViewController = viewController;

    // Written on every selection, also a repeated one; no pane removes the key.
    const QString identifier = toolbarItemIdentifierForViewController(viewController);
    if (identifier.isNull())
        m_settings.remove(Settings::kSelectedPreferencesItem);
    else
        m_settings.setValue(Settings::kSelectedPreferencesItem, identifier);

    if (!m_windowLoaded || viewController == previous)
        return;

    QWidget* previousView = previous ? previous->view() : nullptr;
    if (previous) {
        previous->viewWillDisappear();
        if (previousView) {
            previousView->hide();
            previousView->setParent(nullptr);
        }
        previous->viewDidDisappear();
    }

    QWidget* view = viewController ? viewController->view() : nullptr;
    if (viewController)
        viewController->viewWillAppear();

    const QSize previousSize = PreferencesWindowResizer::viewSize(previousView);
    const QSize size = PreferencesWindowResizer::viewSize(view);
    const float duration = resizeAnimationDuration(QSizeF(previousSize), QSizeF(size));
    resizeWindowForContentSize(size, duration);

    // Attach once the window has finished resizing, and only if no later switch came first.
    const std::weak_ptr<TamPreferencesViewControllerProtocol> pending = viewController;
    const int delayMs = int(std::lround((double(duration) + 0.02) * 1000.0));
    QTimer::singleShot(delayMs, this, [this, pending] {
        const Pane pane = pending.lock();
        if (!pane || pane != m_selectedViewController)
            return;
        attachView(pane);
        pane->viewDidAppear();
        if (QWidget* key = pane->initialKeyView())
            key->setFocus(Qt::OtherFocusReason);
    });

    if (view) {
        view->move(0, 0);
        view->resize(size);
    }
    setToolbarSelectedItemIdentifier(identifier);
    if (m_titleFollowsPane)
        applyTitleOfViewController(viewController);
}

QString TamPreferencesWindowController::windowTitle() const
{
    return m_windowLoaded ? QMainWindow::windowTitle() : m_unloadedWindowTitle;
}

void TamPreferencesWindowController::setWindowTitle(const QString& title)
{
    if (m_windowLoaded)
        QMainWindow::setWindowTitle(title);
    else
        m_unloadedWindowTitle = title;
}

TamPreferencesWindowController::Pane
TamPreferencesWindowController::viewControllerWithIdentifier(const QString& identifier) const
{
    for (const Pane& pane : m_viewControllers) {
        if (!pane)
            continue;
        if (const auto item = pane->toolbarItem(); item && item->itemIdentifier == identifier)
            return pane;
        if (pane->identifier() == identifier)
            return pane;
    }
    return {};
}

QString TamPreferencesWindowController::toolbarItemIdentifierForViewController(const Pane& viewController)
{
    if (!viewController)
        return {};
    if (const auto item = viewController->toolbarItem())
        return item->itemIdentifier;
    return viewController->identifier();
}

QAction* TamPreferencesWindowController::toolbarItemWithItemIdentifier(const QString& identifier) const
{
    for (QAction* item : m_toolbarItems) {
        if (itemIdentifier(item) == identifier)
            return item;
    }
    return nullptr;
}

QAction* TamPreferencesWindowController::newToolbarItemForViewController(const Pane& viewController)
{
    TamToolbarItem item;
    if (viewController) {
        const auto own = viewController->toolbarItem();
        item = own ? *own
                   : TamToolbarItem{viewController->identifier(), viewController->toolbarItemLabel(),
                                    viewController->toolbarItemImage()};
    }
    QAction* action = PreferencesToolbarItems::makeAction(item, this);
    if (action->isCheckable())
        connect(action, &QAction::triggered, this, [this, action] { selectToolbarItem(action); });
    return action;
}

QString TamPreferencesWindowController::itemIdentifier(const QAction* item)
{
    return PreferencesToolbarItems::itemIdentifier(item);
}

void TamPreferencesWindowController::reloadToolbarItems()
{
    QList<QAction*> items;
    for (const Pane& pane : m_viewControllers) {
        QAction* item = pane ? toolbarItemWithItemIdentifier(pane->identifier()) : nullptr;
        if (!item || items.contains(item))
            item = newToolbarItemForViewController(pane);
        items.append(item);
    }
    const QList<QAction*> old = m_toolbarItems;
    m_toolbarItems = items;
    rebuildToolbar();
    for (QAction* item : old) {
        if (!m_toolbarItems.contains(item))
            item->deleteLater();
    }
}

void TamPreferencesWindowController::rebuildToolbar()
{
    m_toolbar->clear();
    m_toolbar->addActions(m_toolbarItems);
    setToolbarSelectedItemIdentifier(m_toolbarSelectedIdentifier);
}

QStringList TamPreferencesWindowController::toolbarItemIdentifiers() const
{
    QStringList identifiers;
    for (const Pane& pane : m_viewControllers)
        identifiers.append(toolbarItemIdentifierForViewController(pane));
    return identifiers;
}

void TamPreferencesWindowController::setToolbarSelectedItemIdentifier(const QString& identifier)
{
    m_toolbarSelectedIdentifier = identifier;
    bool highlighted = false;
    for (QAction* item : std::as_const(m_toolbarItems)) {
        if (!item->isCheckable())
            continue;
        const bool on = !highlighted && !identifier.isEmpty() && itemIdentifier(item) == identifier;
        highlighted = highlighted || on;
        item->setChecked(on);
    }
}

void TamPreferencesWindowController::selectToolbarItem(QAction* item)
{
    const bool committed = m_selectedViewController && m_selectedViewController->commitEditing();
    if (committed) {
        const qsizetype index = m_toolbarItems.indexOf(item);
        if (index >= 0 && index < m_viewControllers.size())
            setSelectedViewController(m_viewControllers.at(index));
        // A click toggles the item by itself; the highlight always shows the selected pane.
        setToolbarSelectedItemIdentifier(m_toolbarSelectedIdentifier);
        return;
    }
    setToolbarSelectedItemIdentifier(toolbarItemIdentifierForViewController(m_selectedViewController));
}

void TamPreferencesWindowController::resizeWindowForContentSize(const QSize& size, float duration)
{
    m_resizer->resizeForContentSize(size, duration);
}

void TamPreferencesWindowController::attachView(const Pane& viewController)
{
    QWidget* view = viewController ? viewController->view() : nullptr;
    if (!view)
        return;
    const QSize size = PreferencesWindowResizer::viewSize(view);
    view->setParent(m_contentView);
    view->move(0, 0);
    view->resize(size);
    view->show();
}

void TamPreferencesWindowController::applyTitleOfViewController(const Pane& viewController)
{
    if (!viewController)
        return;
    QAction* item = toolbarItemWithItemIdentifier(viewController->identifier());
    if (item && !item->text().isEmpty())
        setWindowTitle(item->text());
}

void TamPreferencesWindowController::loadWindow()
{
    if (m_windowLoaded)
        return;
    m_windowLoaded = true;
    if (!m_unloadedWindowTitle.isNull()) {
        QMainWindow::setWindowTitle(m_unloadedWindowTitle);
        m_unloadedWindowTitle.clear();
    }

    QSize size = kEmptyContentSize;
    const Pane pane = m_selectedViewController;
    if (pane) {
        pane->viewWillAppear();
        attachView(pane);
        pane->viewDidAppear();
        size = PreferencesWindowResizer::viewSize(pane->view());
    }
    m_resizer->placeForContentSize(size);

    if (pane) {
        setToolbarSelectedItemIdentifier(toolbarItemIdentifierForViewController(pane));
        if (QWidget* key = pane->initialKeyView())
            key->setFocus(Qt::OtherFocusReason);
        if (m_titleFollowsPane)
            applyTitleOfViewController(pane);
    }
}

void TamPreferencesWindowController::showWindow()
{
    loadWindow();
    show();
    raise();
    activateWindow();
}

void TamPreferencesWindowController::showEvent(QShowEvent* event)
{
    loadWindow();
    QMainWindow::showEvent(event);
}

void TamPreferencesWindowController::closeEvent(QCloseEvent* event)
{
    if (m_selectedViewController && !m_selectedViewController->commitEditing()) {
        event->ignore();
        return;
    }
    // Taking the focus ends any edit still in progress before the window hides.
    setFocus(Qt::OtherFocusReason);
    QMainWindow::closeEvent(event);
}
