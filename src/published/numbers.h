#pragma once

#include <QString>
#include <QVariantList>

#include <array>

// More readers and writers of numbers; as in support/numbers.h, nothing fails.
namespace qv
{

// str2Float, truncated toward zero; saturates at the range of int.
int str2Int(const QString &text);
// The number between quotes: the text without its first and last character. 0 for an empty text.
float quotedStr2Float(const QString &text);
// Ascending; texts among the values are read with str2Float. Empty for an empty list.
QVariantList numbersSorted(const QVariantList &values);

// A ratio as "16:9", "4:3", "1:1" or a reduced fraction of thousandths.
QString float2FractionStr(float ratio);
// Reduced by the primes up to 17.
std::array<int, 2> reduceFraction(int a, int b);
// A divisor of both a and b in the neighbourhood of target (not 0); 1 in the worst case.
int nbsSousMultipleCommun(int a, int b, int target);
// n rounded to a multiple of m (not 0); from m / 2, a whole number, it rounds up.
int nbMultipleArrondi(int n, int m);
// x truncated to a number of decimals.
float nbTrimmed(float x, int decimals);

// Seconds of durationText(); any other text gives its leading integer.
int hmsStr2Int(const QString &text);

// One field of a delimited text: a zero-based index, 666 the second-to-last, 777 the last. The text
// itself when it is a plain number, lacks the delimiter, or has no such field.
QString ASTID(const QString &text, const QString &delimiter, int index);

} // namespace qv
