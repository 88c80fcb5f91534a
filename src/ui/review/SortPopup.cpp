#include "review/SortPopup.h"

#include <QMenu>

SortPopup::SortPopup(QWidget* parent) : QToolButton(parent)
{
    setObjectName(QStringLiteral("popupForSorting"));
    setAccessibleName(tr("Sort groups"));
    setPopupMode(QToolButton::InstantPopup);
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* menu = new QMenu(this);
    const QString titles[kItemCount] = {tr("Size"),   QString(), tr("Name"),      tr("Number of Files"),
                                        tr("Marked"), QString(), tr("Ascending"), tr("Descending")};
    for (int i = 0; i < kItemCount; ++i) {
        QAction* action = titles[i].isEmpty() ? menu->addSeparator() : menu->addAction(titles[i]);
        action->setCheckable(!titles[i].isEmpty());
        action->setData(i);
        connect(action, &QAction::triggered, this, [this, i] { Q_EMIT itemChosen(i); });
    }
    setMenu(menu);
}

QAction* SortPopup::item(int index) const
{
    const QList<QAction*> actions = menu()->actions();
    return index >= 0 && index < actions.size() ? actions[index] : nullptr;
}

void SortPopup::setCheckedItems(const std::array<int, 2>& items)
{
    for (QAction* action : menu()->actions())
        action->setChecked(false);
    for (int index : items) {
        if (QAction* action = item(index))
            action->setChecked(true);
    }
    const QAction* key = item(items[0]);
    const QString order = items[1] == 6 ? QStringLiteral("\u2191") : QStringLiteral("\u2193");
    setText(tr("Sort by: %1 %2").arg(key ? key->text() : QString(), order));
}
