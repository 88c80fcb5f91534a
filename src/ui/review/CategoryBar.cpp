#include "review/CategoryBar.h"

#include "review/ReviewModel.h"
#include "widgets/CFMButton.h"

#include <QHBoxLayout>

namespace {
const char* const kObjectNames[] = {"btnAll",   "btnDocument", "btnImage", "btnMusic",
                                    "btnVideo", "btnArchives", "btnOthers"};

void applyLook(CFMButton* button, bool chosen)
{
    button->setButtonInsideColor(chosen ? QColor(127, 137, 148) : QColor(50, 60, 70), QColor(148, 148, 148),
                                 Qt::white, QColor(234, 234, 234),
                                 chosen ? QColor(55, 66, 78) : QColor(30, 40, 50), QColor(194, 194, 194), 10,
                                 26, true, false, 1);
}
} // namespace

CategoryBar::CategoryBar(QWidget* parent) : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(12, 10, 12, 6);
    row->setSpacing(4);
    for (int category = -1; category < ReviewModel::kCategoryCount; ++category) {
        auto* button = new CFMButton(ReviewModel::categoryTitle(category), this);
        button->setObjectName(QLatin1String(kObjectNames[category + 1]));
        const QString shortcut = QStringLiteral("Ctrl+%1").arg(category + 1);
        button->setAccessibleName(ReviewModel::categoryTitle(category));
        button->setToolTip(QStringLiteral("%1 (%2)").arg(ReviewModel::categoryTitle(category), shortcut));
        button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
        button->setMinimumHeight(40);
        m_buttons[size_t(category + 1)] = button;
        // Widths follow the titles, so every title fits at one size when the window allows.
        button->setMinimumWidth(40);
        row->addWidget(button, button->sizeHint().width());
        connect(button, &CFMButton::clicked, this, [this, category] { Q_EMIT categoryClicked(category); });
    }
    setCategoryButtonColor(-1);
}

void CategoryBar::setCategoryButtonColor(int category)
{
    for (CFMButton* button : m_buttons)
        applyLook(button, false);
    applyLook(button(category), true);
    m_highlighted = category;
    for (CFMButton* button : m_buttons)
        button->update();
}
