#include "support/number_scan.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv::numberScan
{
namespace
{

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

} // namespace qv::numberScan
