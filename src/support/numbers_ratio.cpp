// Ratios: aspect-ratio texts and fractions.
#include "support/numbers.h"

#include "support/log.h"

#include <QStringList>

#include <cmath>

namespace qv
{
namespace
{

bool isNearZero(float value)
{
    return std::abs(double(value)) < 0.1;
}

float unfoldedRatio(const QString &text)
{
    if (!text.contains(u':')) {
        const float value = str2Float(text);
        logLine(QStringLiteral("fractionStr2Float :-/ %1 (<-%2)")
                    .arg(fixedText(double(value), 3), text));
        return value;
    }
    const QStringList fields = text.split(u':');
    return floatValue(fields[0]) / floatValue(fields[1]);
}

} // namespace

float fractionStr2Float(const QString &text)
{
    if (text.isNull()) {
        return 1.0F;
    }
    const float value = unfoldedRatio(text);
    return !std::isfinite(value) || isNearZero(value) ? 1.0F : value;
}

} // namespace qv
