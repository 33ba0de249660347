// Ratios: aspect-ratio texts and fractions.
#include "support/numbers.h"

#include "support/log.h"

#include <cmath>

namespace qv
{
namespace
{

bool isNearZero(float value)
{
    return std::abs(double(value)) < 0.1;
}

bool isNear(float value, double anchor)
{
    return std::abs(double(value) - anchor) <= 0.02;
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

std::array<int, 2> reduceFraction(int a, int b)
{
    if (a == 0 && b == 0) {
        return {1, 1};
    }
    for (const int divisor : {2, 3, 5, 7, 11, 13, 17}) {
        while (a % divisor == 0 && b % divisor == 0) {
            a /= divisor;
            b /= divisor;
        }
    }
    return {a, b};
}

QString float2FractionStr(float ratio)
{
    if (!std::isfinite(ratio) || isNearZero(ratio) || isNear(ratio, 1.0)) {
        return QStringLiteral("1:1");
    }
    if (isNear(ratio, 1.33)) {
        return QStringLiteral("4:3");
    }
    if (isNear(ratio, 1.77)) {
        return QStringLiteral("16:9");
    }
    const auto [numerator, denominator] =
        reduceFraction(truncatedToInt(double(ratio * 1000)), 1000);
    const QString text = QStringLiteral("%1:%2").arg(numerator).arg(denominator);
    logLine(QStringLiteral("float2FractionStr : %1 (<-%2)").arg(text, fixedText(double(ratio), 3)));
    return text;
}

} // namespace qv
