#include "preferences/PreferencesToolbarItems.h"

#include <QAction>
#include <QCoreApplication>
#include <QWidget>
#include <QWidgetAction>

namespace {

const char* const kItemIdentifierProperty = "tamItemIdentifier";

QString tr(const char* text)
{
    return QCoreApplication::translate("PreferencesToolbarItems", text);
}

QString standardItemLabel(const QString& identifier)
{
    if (identifier == TamToolbarItem::ShowColorsItemIdentifier)
        return tr("Colors");
    if (identifier == TamToolbarItem::ShowFontsItemIdentifier)
        return tr("Fonts");
    if (identifier == TamToolbarItem::CustomizeToolbarItemIdentifier)
        return tr("Customize");
    if (identifier == TamToolbarItem::PrintItemIdentifier)
        return tr("Print");
    return {};
}

} // namespace

namespace PreferencesToolbarItems {

QAction* makeAction(const TamToolbarItem& item, QObject* parent)
{
    const QString& id = item.itemIdentifier;
    QAction* action = nullptr;
    if (id == TamToolbarItem::FlexibleSpaceItemIdentifier || id == TamToolbarItem::SpaceItemIdentifier) {
        auto* spacerAction = new QWidgetAction(parent);
        auto* spacer = new QWidget;
        if (id == TamToolbarItem::FlexibleSpaceItemIdentifier)
            spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
        else
            spacer->setFixedWidth(16);
        spacerAction->setDefaultWidget(spacer);
        action = spacerAction;
    } else {
        action = new QAction(parent);
        if (id == TamToolbarItem::SeparatorItemIdentifier) {
            action->setSeparator(true);
        } else {
            action->setCheckable(true);
            action->setIcon(item.image);
            action->setText(item.label.isEmpty() ? standardItemLabel(id) : item.label);
            action->setToolTip(action->text());
        }
    }
    action->setProperty(kItemIdentifierProperty, id);
    return action;
}

QString itemIdentifier(const QAction* action)
{
    return action ? action->property(kItemIdentifierProperty).toString() : QString();
}

} // namespace PreferencesToolbarItems
