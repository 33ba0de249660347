#pragma once

#include <QString>

#include <optional>

namespace qv
{

// Colour text "r,g,b,a" with components from 0 to 1: nothing unless there are exactly four parts.
struct ColorComponents {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};
std::optional<ColorComponents> colorFromText(const QString &text);
QString colorText(const ColorComponents &color);

} // namespace qv
