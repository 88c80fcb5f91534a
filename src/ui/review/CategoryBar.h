#pragma once

#include <QWidget>
#include <array>

class CFMButton;

// The seven category buttons of the results view, "All Categories" first, then the six
// categories by code; the chosen one is drawn lighter.
class CategoryBar : public QWidget
{
    Q_OBJECT
public:
    explicit CategoryBar(QWidget* parent = nullptr);

    // -1 is "All Categories", 0..5 the categories.
    CFMButton* button(int category) const { return m_buttons[size_t(category + 1)]; }
    void setCategoryButtonColor(int category);
    int highlighted() const { return m_highlighted; }

Q_SIGNALS:
    void categoryClicked(int category);

private:
    std::array<CFMButton*, 7> m_buttons{};
    int m_highlighted = -1;
};
