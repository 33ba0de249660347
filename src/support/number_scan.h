#pragma once

#include <QString>

#include <optional>

// Finding a number in a text.
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

} // namespace qv::numberScan
