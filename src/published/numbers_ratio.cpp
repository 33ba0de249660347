// Ratios, divisors and multiples.
#include "published/numbers.h"

#include "support/log.h"
#include "support/numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace qv
{
namespace
{

// 43, 61, 73, 79, 97, 103, 151, 163, 173 and 193 are left out: sheets made so far depend on it.
constexpr std::array listedPrimes{1,   2,   3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,
                                  41,  47,  53,  59,  67,  71,  83,  89,  101, 107, 109, 113, 127,
                                  131, 137, 139, 149, 157, 167, 179, 181, 191, 197, 199};

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

bool dividesBoth(qint64 divisor, qint64 a, qint64 b)
{
    return divisor != 0 && a % divisor == 0 && b % divisor == 0;
}

int smallestCommonDivisor(qint64 a, qint64 b, qint64 low, qint64 high)
{
    // Divisors come in pairs below and above the square root, so the walk is short for any range.
    const qint64 common = std::gcd(a, b);
    const qint64 from = std::max<qint64>(low, 1);
    qint64 best = high;
    for (qint64 d = 1; d * d <= common; ++d) {
        if (common % d != 0) {
            continue;
        }
        for (const qint64 divisor : {d, common / d}) {
            best = divisor >= from ? std::min(best, divisor) : best;
        }
    }
    return best < high ? static_cast<int>(best) : 0;
}

int largestListedPrime(qint64 a, qint64 b)
{
    const auto found = std::find_if(listedPrimes.rbegin(), listedPrimes.rend(),
                                    [&](int prime) { return dividesBoth(prime, a, b); });
    return found == listedPrimes.rend() ? 1 : *found;
}

bool isNearZero(float value)
{
    return std::abs(double(value)) < 0.1;
}

bool isNear(float value, double anchor)
{
    return std::abs(double(value) - anchor) <= 0.02;
}

int saturated(qint64 value)
{
    return static_cast<int>(std::clamp<qint64>(value, std::numeric_limits<int>::min(),
                                               std::numeric_limits<int>::max()));
}

} // namespace

int nbsSousMultipleCommun(int a, int b, int target)
{
    const auto answer = [](int divisor) {
        logLine(QStringLiteral("nbsSousMultipleCommun: fin %1").arg(divisor));
        return divisor;
    };
    if (dividesBoth(target, a, b)) {
        return answer(target);
    }
    for (const DivisorRange &range : divisorRanges(target)) {
        if (const int d = smallestCommonDivisor(a, b, range.low, range.high)) {
            return answer(d);
        }
        logDebug([&] {
            return QStringLiteral("nbsSousMultipleCommun: pass range %1 %2")
                .arg(range.name, QString::number(target));
        });
    }
    logDebug([] { return QStringLiteral("nbsSousMultipleCommun: pass range nb 1ers"); });
    return answer(largestListedPrime(a, b));
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
