// Time codes and durations.
#include "support/numbers.h"

#include "support/alerts.h"
#include "support/log.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

QString twoDigits(qint64 value)
{
    return QStringLiteral("%1").arg(value, 2, 10, QLatin1Char('0'));
}

// "3/4" as hundredths.
QString hundredths(const QString &fraction)
{
    const QStringList sides = fraction.split(u'/');
    const double divisor = str2Double(sides[1]);
    return QString::number(divisor == 0.0 ? 0
                                          : truncatedToInt(str2Double(sides[0]) * 100 / divisor));
}

double fractionAfter(const QString &separator, const QString &seconds)
{
    QString digits = seconds.split(separator).value(1);
    if (digits.contains(u'/')) {
        digits = hundredths(digits);
    }
    return digits.isEmpty() ? 0.0 : str2Double(digits) / std::pow(10.0, digits.size());
}

double secondsOf(const QString &hours, const QString &minutes, const QString &seconds)
{
    // The number reader takes a decimal point itself, so only the other sign is looked for.
    const QString separator = seconds.contains(u',') ? QStringLiteral(".") : QStringLiteral(",");
    double total = 60 * str2Double(minutes) + 3600 * str2Double(hours) +
                   str2Double(seconds.section(separator, 0, 0));
    if (seconds.contains(separator)) {
        total += fractionAfter(separator, seconds);
    }
    return total;
}

// The day takes the place of the hour and counts for both.
void foldDays(QStringList &fields)
{
    const double days = double(str2Float(fields.takeFirst()));
    fields[0] = QString::number(truncatedToInt(days * 24 + days));
}

void reportUnread(const QString &text, float value)
{
    if (isVerboseDebug() && std::abs(double(value)) < 0.1 && str2Float(text) != 0.0F) {
        alertReport(QStringLiteral("utils > timecodeStr2Float ? :-/"), text, 2,
                    AlertPlace::ApplicationModal);
    }
}

} // namespace

float timecodeStr2Float(const QString &text)
{
    QStringList fields = text.split(u':');
    if (fields.size() == 4) {
        foldDays(fields);
    }
    double total = 0.0;
    if (fields.size() == 3) {
        total = secondsOf(fields[0], fields[1], fields[2]);
    }
    const float value = narrowedToFloat(total);
    reportUnread(text, value);
    return value;
}

QString float2TimecodeStr(double seconds, int decimals)
{
    constexpr double longest = 1e9;
    constexpr int finest = 6;
    if (!(seconds >= 0.0 && seconds <= longest)) {
        return {};
    }
    const int shown = std::clamp(decimals, 0, finest);
    const auto scale = static_cast<qint64>(std::pow(10.0, shown));
    // A hair is added so that 0.29, which is 0.28999... in binary, stays 0.29.
    const auto ticks = static_cast<qint64>(seconds * double(scale) + 1e-6);
    const qint64 whole = ticks / scale;
    QString text =
        QStringLiteral("%1:%2:%3")
            .arg(QString::number(whole / 3600), twoDigits(whole / 60 % 60), twoDigits(whole % 60));
    if (shown > 0) {
        text += QStringLiteral(".%1").arg(ticks % scale, shown, 10, QLatin1Char('0'));
    }
    return text;
}

QString durationText(int seconds)
{
    const int whole = std::max(seconds, 0);
    return QStringLiteral("%1h%2'%3\"")
        .arg(QString::number(whole / 3600), twoDigits(whole / 60 % 60), twoDigits(whole % 60));
}

} // namespace qv
