#pragma once

#include <QToolButton>
#include <array>

class QMenu;

// The sort pop-up: items 0, 2, 3, 4 are the keys, 6 and 7 the orders; 1 and 5 separate them.
// A check mark sits on the current key and on the current order.
class SortPopup : public QToolButton
{
    Q_OBJECT
public:
    static constexpr int kItemCount = 8;

    explicit SortPopup(QWidget* parent = nullptr);

    // Puts the two check marks on these items and names the key on the button.
    void setCheckedItems(const std::array<int, 2>& items);
    QAction* item(int index) const;

Q_SIGNALS:
    void itemChosen(int index);
};
