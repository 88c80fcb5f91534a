#pragma once

#include <QIcon>
#include <QString>
#include <optional>

class QWidget;

// What the preferences window shows for one pane in its toolbar. Items of the standard kinds
// (separator, spaces, ...) are recognised by their identifier.
struct TamToolbarItem
{
    QString itemIdentifier;
    QString label;
    QIcon image;

    static inline const QString SeparatorItemIdentifier = QStringLiteral("TamToolbarSeparatorItem");
    static inline const QString FlexibleSpaceItemIdentifier = QStringLiteral("TamToolbarFlexibleSpaceItem");
    static inline const QString SpaceItemIdentifier = QStringLiteral("TamToolbarSpaceItem");
    static inline const QString ShowColorsItemIdentifier = QStringLiteral("TamToolbarShowColorsItem");
    static inline const QString ShowFontsItemIdentifier = QStringLiteral("TamToolbarShowFontsItem");
    static inline const QString CustomizeToolbarItemIdentifier =
        QStringLiteral("TamToolbarCustomizeToolbarItem");
    static inline const QString PrintItemIdentifier = QStringLiteral("TamToolbarPrintItem");
};

// A pane of the preferences window. The window knows nothing about what a pane does: it asks
// for the toolbar item, shows the view, and tells the pane when it appears and disappears.
class TamPreferencesViewControllerProtocol
{
public:
    virtual ~TamPreferencesViewControllerProtocol() = default;

    // The pane's identifier, also its toolbar item's identifier unless toolbarItem() says otherwise.
    virtual QString identifier() const = 0;
    virtual QIcon toolbarItemImage() const = 0;
    virtual QString toolbarItemLabel() const = 0;
    // A ready-made item that takes precedence over the three above; none by default.
    virtual std::optional<TamToolbarItem> toolbarItem() const { return std::nullopt; }

    // The pane's content, made on first use and owned by the pane; null for a pane without one.
    // Its size (or, until it was resized, its size hint) is the size the window takes for it.
    virtual QWidget* view() = 0;

    virtual void viewWillAppear() {}
    virtual void viewDidAppear() {}
    virtual void viewWillDisappear() {}
    virtual void viewDidDisappear() {}
    // The control that takes the keyboard focus when the pane is shown; none by default.
    virtual QWidget* initialKeyView() { return nullptr; }

    // Finishes an edit in progress; false keeps the pane (and the window) where it is.
    virtual bool commitEditing() { return true; }
};
