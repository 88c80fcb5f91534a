#pragma once

#include <QScrollArea>

// A scroll view with a flat light grey (241) background behind its content.
class CustomScrollView : public QScrollArea
{
    Q_OBJECT
public:
    explicit CustomScrollView(QWidget* parent = nullptr);
};
