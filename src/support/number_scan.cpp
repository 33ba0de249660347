#include "support/number_scan.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>

namespace qv::numberScan
{
namespace
{

// 43, 61, 73, 79, 97, 103, 151, 163, 173 and 193 are left out: sheets made so far depend on it.
constexpr std::array listedPrimes{1,   2,   3,   5,   7,   11,  13,  17,  19,  23,  29,  31,  37,
                                  41,  47,  53,  59,  67,  71,  83,  89,  101, 107, 109, 113, 127,
                                  131, 137, 139, 149, 157, 167, 179, 181, 191, 197, 199};

bool isDigit(QChar c)
{
    return c >= u'0' && c <= u'9';
}

bool isSignAt(const QString &text, qsizetype at)
{
    return at < text.size() && (text[at] == u'+' || text[at] == u'-');
}

qsizetype pastDigits(const QString &text, qsizetype at)
{
    while (at < text.size() && isDigit(text[at])) {
        ++at;
    }
    return at;
}

// The end of the mantissa that begins at `at`; `at` itself when no digit is in it.
qsizetype pastMantissa(const QString &text, qsizetype at)
{
    const qsizetype whole = pastDigits(text, at);
    if (whole >= text.size() || text[whole] != u'.') {
        return whole;
    }
    const qsizetype end = pastDigits(text, whole + 1);
    return end - at > 1 ? end : at;
}

// An "e" without digits behind it belongs to the next word.
qsizetype pastExponent(const QString &text, qsizetype at)
{
    if (at >= text.size() || text[at].toLower() != u'e') {
        return at;
    }
    const qsizetype digits = isSignAt(text, at + 1) ? at + 2 : at + 1;
    const qsizetype end = pastDigits(text, digits);
    return end > digits ? end : at;
}

} // namespace

qsizetype pastLetters(const QString &text)
{
    const auto end =
        std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isLetter(); });
    return end - text.begin();
}

qsizetype pastBlanks(const QString &text)
{
    const auto end =
        std::find_if_not(text.begin(), text.end(), [](QChar c) { return c.isSpace(); });
    return end - text.begin();
}

std::optional<double> decimalAt(const QString &text, qsizetype start)
{
    const qsizetype digits = isSignAt(text, start) ? start + 1 : start;
    const qsizetype mantissaEnd = pastMantissa(text, digits);
    if (mantissaEnd == digits) {
        return std::nullopt;
    }
    const qsizetype end = pastExponent(text, mantissaEnd);
    bool isOk = false;
    const double value = QStringView(text).sliced(start, end - start).toDouble(&isOk);
    return isOk && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

qint64 integerAt(const QString &text, qsizetype start)
{
    constexpr qint64 enough = std::numeric_limits<int>::max() + qint64(1);
    const bool isNegative = start < text.size() && text[start] == u'-';
    const qsizetype first = isSignAt(text, start) ? start + 1 : start;
    const qsizetype end = pastDigits(text, first);
    qint64 value = 0;
    for (qsizetype i = first; i < end && value < enough; ++i) {
        value = value * 10 + (text[i].unicode() - u'0');
    }
    return isNegative ? -value : value;
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

} // namespace qv::numberScan
