#include "support/numbers.h"

#include "support/log.h"
#include "support/number_scan.h"

#include <QStringList>

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

float versionStr2Float(const QString &text)
{
    const QStringList fields = text.split(u'.');
    float value = floatValue(fields.value(0));
    value += floatValue(fields.value(1)) / 100;
    value += floatValue(fields.value(2)) / 100 / 100;
    logDebug([&] { return QStringLiteral("returnedFloat %1").arg(fixedText(double(value), 6)); });
    return std::isfinite(value) ? value : 0.0F;
}

} // namespace qv
