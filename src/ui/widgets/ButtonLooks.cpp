#include "widgets/ButtonLooks.h"

#include "widgets/IMGButton.h"

namespace {
void applySet(IMGButton* button, const QString& set)
{
    auto n = [&set](const char* suffix) { return set + QLatin1String(suffix); };
    // Room above and below the title keeps it at a comfortable size on a 34-point button.
    button->setMargins(12, 12, 9, 9);
    // Titles break only where they hold a line feed.
    button->setMultiLineStr(QStringLiteral("\n"));
    button->setButtonsImages(n("_St"), n("_Md"), n("_En"), n("_Dwn_St"), n("_Dwn_Md"), n("_Dwn_En"),
                             n("_Dis_St"), n("_Dis_Md"), n("_Dis_En"));
}
} // namespace

void ButtonLooks::applyPrimary(IMGButton* button)
{
    applySet(button, QStringLiteral("btn_blue"));
    button->setColorOnState(Qt::white);
    button->setColorOffState(Qt::white);
    button->setColorOnStateDis(QColor(96, 96, 96));
    button->setColorOffStateDis(QColor(96, 96, 96));
}

void ButtonLooks::applySecondary(IMGButton* button)
{
    applySet(button, QStringLiteral("btn_grey"));
    button->setColorOnState(QColor(40, 46, 54));
    button->setColorOffState(QColor(40, 46, 54));
    button->setColorOnStateDis(QColor(140, 146, 154));
    button->setColorOffStateDis(QColor(140, 146, 154));
}
