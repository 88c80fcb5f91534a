#pragma once

#include "preferences/TamPreferencesCustomPlaceholderController.h"
#include "preferences/TamPreferencesViewControllerProtocol.h"

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QSizeF>
#include <memory>

class QAction;
class PreferencesWindowResizer;
class QToolBar;
class Settings;

// A window of panes switched by a toolbar: one checkable item per pane, the selected pane's
// view as the content, an animated resize to each pane that keeps the top edge and the
// horizontal centre, the title following the pane's label, and the selected pane remembered
// under "TamPreferencesWindowControllerSelectedItemIdentifier".
//
// The window counts as loaded from its first showing; before that, switching panes only records
// the selection and the setting, and views are attached when it loads.
class TamPreferencesWindowController : public QMainWindow
{
    Q_OBJECT
public:
    using Pane = std::shared_ptr<TamPreferencesViewControllerProtocol>;
    using PaneList = QList<Pane>;
    static constexpr qsizetype NotFound = -1;
    // The content size of a window that has no pane to show.
    static constexpr QSize kEmptyContentSize{480, 270};

    // Settings are not owned and must outlive the window.
    TamPreferencesWindowController(Settings& settings, const PaneList& viewControllers,
                                   QWidget* parent = nullptr);
    TamPreferencesWindowController(Settings& settings, const PaneList& viewControllers, const QString& title,
                                   QWidget* parent = nullptr);
    ~TamPreferencesWindowController() override;

    // Panes that put a standard toolbar item at their position.
    static Pane separatorPlaceholderController();
    static Pane flexibleSpacePlaceholderController();
    static Pane spacePlaceholderController();
    static Pane showColorsPlaceholderController();
    static Pane showFontsPlaceholderController();
    static Pane customizeToolbarPlaceholderController();
    static Pane printPlaceholderController();

    // Seconds a switch between views of these sizes animates: max(0.1, max(dW, dH) / 100 * 0.05).
    static float resizeAnimationDuration(const QSizeF& previous, const QSizeF& next);

    const PaneList& viewControllers() const { return m_viewControllers; }
    // Replacing the list keeps the selected pane when the new list holds it, otherwise selects
    // the pane at the old index (the last one when the list got shorter).
    void setViewControllers(const PaneList& viewControllers);

    Pane selectedViewController() const { return m_selectedViewController; }
    void setSelectedViewController(const Pane& viewController);
    qsizetype selectedIndex() const;
    // An index at or past the end (or NotFound) selects the last pane; none in an empty list.
    void setSelectedIndex(qsizetype index);

    // Before the window is loaded, the title waits here and is applied when it loads. These hide
    // QWidget's own accessors on purpose.
    QString windowTitle() const;
    void setWindowTitle(const QString& title);

    bool windowTitleShouldAutomaticlyUpdateToReflectSelectedViewController() const
    {
        return m_titleFollowsPane;
    }
    void setWindowTitleShouldAutomaticlyUpdateToReflectSelectedViewController(bool follow)
    {
        m_titleFollowsPane = follow;
    }

    // The first pane whose own toolbar item, or else whose identifier, carries the identifier.
    Pane viewControllerWithIdentifier(const QString& identifier) const;
    static QString toolbarItemIdentifierForViewController(const Pane& viewController);
    QAction* toolbarItemWithItemIdentifier(const QString& identifier) const;
    // A new item owned by the window, already wired to selectToolbarItem().
    QAction* newToolbarItemForViewController(const Pane& viewController);
    void reloadToolbarItems();
    QStringList toolbarItemIdentifiers() const;
    // The identifier an item was made with.
    static QString itemIdentifier(const QAction* item);

    // Resizes the window so its content gets the size, keeping the top edge and the horizontal
    // centre; animated when duration (seconds) is above zero.
    void resizeWindowForContentSize(const QSize& size, float duration);

    // The action of every toolbar item: switches to the item's pane once the current pane has
    // committed its editing; otherwise the highlight goes back to the current pane.
    void selectToolbarItem(QAction* item);

    QToolBar* toolbar() const { return m_toolbar; }
    const QList<QAction*>& toolbarItems() const { return m_toolbarItems; }
    QWidget* contentView() const { return m_contentView; }

    // Loads the window if needed, shows it and brings it to the front.
    void showWindow();

protected:
    void showEvent(QShowEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    void loadWindow();
    void attachView(const Pane& viewController);
    void applyTitleOfViewController(const Pane& viewController);
    void setToolbarSelectedItemIdentifier(const QString& identifier);
    void rebuildToolbar();

    Settings& m_settings;
    PaneList m_viewControllers;
    QString m_unloadedWindowTitle;
    Pane m_selectedViewController;
    QToolBar* m_toolbar = nullptr;
    QList<QAction*> m_toolbarItems;
    bool m_titleFollowsPane = true;

    QWidget* m_contentView = nullptr;
    PreferencesWindowResizer* m_resizer = nullptr;
    QString m_toolbarSelectedIdentifier;
    bool m_windowLoaded = false;
};
