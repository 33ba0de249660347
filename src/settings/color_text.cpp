#include "settings/color_text.h"

#include "support/numbers.h"

#include <QStringList>

#include <algorithm>

namespace qv
{
namespace
{

double component(const QString &text)
{
    return std::clamp(doubleValue(text), 0.0, 1.0);
}

} // namespace

std::optional<ColorComponents> colorFromText(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 4) {
        return std::nullopt;
    }
    return ColorComponents{component(parts[0]), component(parts[1]), component(parts[2]),
                           component(parts[3])};
}

QString colorText(const ColorComponents &color)
{
    QStringList parts;
    for (const double value : {color.red, color.green, color.blue, color.alpha}) {
        parts.append(fixedText(value, 2));
    }
    return parts.join(QLatin1Char(','));
}

} // namespace qv
