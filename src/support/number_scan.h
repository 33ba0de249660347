#pragma once

#include <QString>

#include <optional>

// What the number readers are made of: finding a number in a text, finding a divisor of numbers.
namespace qv::numberScan
{

// Where the letters, or the blanks, that the text starts with end.
qsizetype pastLetters(const QString &text);
qsizetype pastBlanks(const QString &text);

// The decimal number that starts right here: sign, digits, "." and digits, exponent. Nothing when
// there is none or it is too large for a double.
std::optional<double> decimalAt(const QString &text, qsizetype start);
// The integer that starts right here, as far as it fits; 0 when there is none.
qint64 integerAt(const QString &text, qsizetype start);

bool dividesBoth(qint64 divisor, qint64 a, qint64 b);
// The smallest d with low <= d < high that divides both; 0 when there is none.
int smallestCommonDivisor(qint64 a, qint64 b, qint64 low, qint64 high);
// The largest number of the list of primes that divides both.
int largestListedPrime(qint64 a, qint64 b);

} // namespace qv::numberScan
