#pragma once

#include <QIcon>

// The toolbar pictures of the two panes ("general.png", "exclusions.png"), drawn in code so the
// window needs no image files.
namespace PreferencesIcons {

QIcon general();
QIcon exclusions();

} // namespace PreferencesIcons
