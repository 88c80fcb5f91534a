#pragma once

#include "preferences/TamPreferencesViewControllerProtocol.h"

#include <memory>

// A pane without a view that stands for one of the toolbar's standard items (a separator, a
// space, ...); placed in the pane list, it puts that item into the toolbar at its position.
class TamPreferencesCustomPlaceholderController : public TamPreferencesViewControllerProtocol
{
public:
    explicit TamPreferencesCustomPlaceholderController(const QString& identifier) : m_identifier(identifier)
    {}

    static std::shared_ptr<TamPreferencesCustomPlaceholderController>
    controllerWithIdentifier(const QString& identifier);

    QString identifier() const override { return m_identifier; }
    QIcon toolbarItemImage() const override { return {}; }
    QString toolbarItemLabel() const override { return {}; }
    // A fresh item with the identifier and nothing else.
    std::optional<TamToolbarItem> toolbarItem() const override
    {
        return TamToolbarItem{m_identifier, {}, {}};
    }
    QWidget* view() override { return nullptr; }

private:
    QString m_identifier;
};
