#pragma once

#include <QDir>
#include <QString>
#include <QWidget>

// Saves QWidget::grab() of a screen as <name>.png when QUILLON_SCREENSHOT_DIR names a folder,
// so every screen can be looked at without a display. Returns whether a file was written.
inline bool saveScreen(QWidget* widget, const QString& name)
{
    const QString dir = qEnvironmentVariable("QUILLON_SCREENSHOT_DIR");
    if (dir.isEmpty() || !widget)
        return false;
    QDir().mkpath(dir);
    return widget->grab().save(dir + QLatin1Char('/') + name + QStringLiteral(".png"));
}
