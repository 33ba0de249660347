#include "support/numbers.h"

#include "support/log.h"
#include "support/number_scan.h"
#include "support/variant_values.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace qv
{
namespace
{

int saturated(qint64 value)
{
    return static_cast<int>(std::clamp<qint64>(value, std::numeric_limits<int>::min(),
                                               std::numeric_limits<int>::max()));
}

// NaN has no place in an order.
QVariant asSortable(const QVariant &value)
{
    if (!isNumberType(value)) {
        return str2Float(value.toString());
    }
    return std::isnan(value.toDouble()) ? QVariant(0.0F) : value;
}

struct DivisorRange {
    QString name;
    qint64 low;
    qint64 high; // not in it
};

// Near the target first, then below, then above.
std::array<DivisorRange, 3> divisorRanges(int target)
{
    const double t = target;
    const qint64 nearLow = truncatedToInt(t / 1.5 + 0.5);
    const qint64 nearHigh = truncatedToInt(t * 1.5);
    return {{{QStringLiteral("~"), nearLow, nearHigh},
             {QStringLiteral("<"), truncatedToInt(t * 0.5), truncatedToInt(t / 1.5)},
             {QStringLiteral(">"), nearHigh, 2 * qint64(target)}}};
}

float powerOfTen(int exponent)
{
    return floatValue(u'1' + QString(std::clamp(exponent, 0, 38), u'0'));
}

} // namespace

QString fixedText(double value, int decimals)
{
    std::array<char, 400> text; // the largest double has 309 digits
    const std::to_chars_result end = std::to_chars(text.data(), text.data() + text.size(), value,
                                                   std::chars_format::fixed, decimals);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

double str2Double(const QString &text)
{
    QString packed = text;
    packed.remove(u' ');
    const auto found = numberScan::decimalAt(packed, numberScan::pastLetters(packed));
    if (!found) {
        logLine(QStringLiteral("mais heuu, c'est meme pas un float :("));
        return 0.0;
    }
    logDebug([&] {
        return QStringLiteral("str2Float           - fin :'%1'->%2")
            .arg(text, fixedText(*found, 6));
    });
    return *found;
}

float str2Float(const QString &text)
{
    return narrowedToFloat(str2Double(text));
}

int truncatedToInt(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    return static_cast<int>(std::clamp(value, double(std::numeric_limits<int>::min()),
                                       double(std::numeric_limits<int>::max())));
}

float narrowedToFloat(double value)
{
    const bool fits = std::abs(value) <= double(std::numeric_limits<float>::max());
    return fits ? static_cast<float>(value) : 0.0F;
}

int str2Int(const QString &text)
{
    return truncatedToInt(double(str2Float(text)));
}

int intValue(const QString &text)
{
    return saturated(numberScan::integerAt(text, numberScan::pastBlanks(text)));
}

double doubleValue(const QString &text)
{
    return numberScan::decimalAt(text, numberScan::pastBlanks(text)).value_or(0.0);
}

float floatValue(const QString &text)
{
    return narrowedToFloat(doubleValue(text));
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

int nbsSousMultipleCommun(int a, int b, int target)
{
    const auto answer = [](int divisor) {
        logLine(QStringLiteral("nbsSousMultipleCommun: fin %1").arg(divisor));
        return divisor;
    };
    if (numberScan::dividesBoth(target, a, b)) {
        return answer(target);
    }
    for (const DivisorRange &range : divisorRanges(target)) {
        if (const int d = numberScan::smallestCommonDivisor(a, b, range.low, range.high)) {
            return answer(d);
        }
        logDebug([&] {
            return QStringLiteral("nbsSousMultipleCommun: pass range %1 %2")
                .arg(range.name, QString::number(target));
        });
    }
    logDebug([] { return QStringLiteral("nbsSousMultipleCommun: pass range nb 1ers"); });
    return answer(numberScan::largestListedPrime(a, b));
}

int nbMultipleArrondi(int n, int m)
{
    if (m == 0) {
        return n;
    }
    const qint64 remainder = qint64(n) % m;
    if (remainder == 0) {
        return n;
    }
    const qint64 lower = n - remainder;
    logDebug([&] { return QStringLiteral("arrondiInferieur     : %1").arg(lower); });
    const bool down = m / 2 > remainder;
    logDebug([&] {
        return down ? QStringLiteral("nbMultipleArrondi    : arrondir en-dessous")
                    : QStringLiteral("nbMultipleArrondi    : arrondir au dessus");
    });
    const int rounded = saturated(down ? lower : lower + m);
    logLine(QStringLiteral("nbMultipleArrondi    :-) %1").arg(rounded));
    return rounded;
}

float nbArrondi(float x, int decimals)
{
    float rounded = 0.0F;
    if (!std::isfinite(x)) {
        rounded = 0.0F;
    } else if (decimals == 0) {
        rounded = static_cast<float>(std::trunc(double(x) + 0.5));
    } else {
        const float scale = powerOfTen(decimals);
        const float scaled = x * scale + (x >= 0.0F ? 0.5F : -0.5F);
        rounded = std::isfinite(scaled) ? std::trunc(scaled) / scale : x;
    }
    logLine(QStringLiteral("nbArrondi            : %1").arg(fixedText(double(rounded), 6)));
    return rounded;
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

float versionStr2Float(const QString &text)
{
    const QStringList fields = text.split(u'.');
    float value = floatValue(fields.value(0));
    value += floatValue(fields.value(1)) / 100;
    value += floatValue(fields.value(2)) / 100 / 100;
    logDebug([&] { return QStringLiteral("returnedFloat %1").arg(fixedText(double(value), 6)); });
    return std::isfinite(value) ? value : 0.0F;
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
