#include "published/numbers.h"

#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv
{
namespace
{

// NaN has no place in an order.
QVariant asSortable(const QVariant &value)
{
    if (!isNumberType(value)) {
        return str2Float(value.toString());
    }
    return std::isnan(value.toDouble()) ? QVariant(0.0F) : value;
}

float powerOfTen(int exponent)
{
    return floatValue(u'1' + QString(std::clamp(exponent, 0, 38), u'0'));
}

} // namespace

int str2Int(const QString &text)
{
    return truncatedToInt(double(str2Float(text)));
}

float quotedStr2Float(const QString &text)
{
    return text.isEmpty() ? 0.0F : str2Float(text.mid(1, std::max<qsizetype>(text.size() - 2, 0)));
}

QVariantList numbersSorted(const QVariantList &values)
{
    QVariantList numbers;
    numbers.reserve(values.size());
    for (const QVariant &value : values) {
        logDebug([&] { return QStringLiteral("numbersSorted       : %1").arg(value.toString()); });
        numbers.append(asSortable(value));
    }
    std::stable_sort(numbers.begin(), numbers.end(), [](const QVariant &a, const QVariant &b) {
        return a.toDouble() < b.toDouble();
    });
    return numbers;
}

float nbTrimmed(float x, int decimals)
{
    const float scale = powerOfTen(decimals);
    const float scaled = x * scale;
    float trimmed = std::isfinite(x) ? x : 0.0F;
    if (std::isfinite(scaled)) {
        trimmed = std::trunc(scaled) / scale;
    }
    logDebug([&] {
        return QStringLiteral("nbTrimmed           : %1").arg(fixedText(double(trimmed), 6));
    });
    return trimmed;
}

int hmsStr2Int(const QString &text)
{
    const qsizetype h = text.indexOf(u'h');
    if (h < 0 || !text.contains(u'\'') || !text.contains(u'"')) {
        return intValue(text);
    }
    const QString afterHours = text.mid(h + 1);
    const QString minutes = afterHours.section(u'\'', 0, 0);
    const QString seconds = afterHours.section(u'\'', 1).section(u'"', 0, 0);
    return truncatedToInt(3600.0 * intValue(text.left(h)) + 60.0 * intValue(minutes) +
                          intValue(seconds));
}

QString ASTID(const QString &text, const QString &delimiter, int index)
{
    constexpr int secondToLast = 666;
    constexpr int last = 777;
    const bool isNumber =
        QString::number(intValue(text)) == text || fixedText(double(floatValue(text)), 6) == text;
    if (isNumber || delimiter.isEmpty() || !text.contains(delimiter)) {
        return text.isNull() ? QLatin1String("") : text;
    }
    const QStringList fields = text.split(delimiter);
    qsizetype wanted = index;
    if (index == secondToLast || index == last) {
        wanted = fields.size() - (index == last ? 1 : 2);
    }
    return fields.value(wanted, text);
}

} // namespace qv
