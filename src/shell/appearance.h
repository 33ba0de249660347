#pragma once

#include <QString>

// Light and dark palettes.
namespace qv
{

// "light" or "dark" gives the application that palette; "system" follows the desktop: its theme's
// palette, or the colour scheme that it tells through the settings portal.
void applyAppearance(const QString &appearance);

} // namespace qv
