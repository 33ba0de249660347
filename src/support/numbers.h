#pragma once

#include <QString>

// Numbers out of the texts that tools print, and numbers into the short texts of a sheet. Nothing
// here fails: what can't be read gives the value that each declaration names. A missing (null)
// text is accepted everywhere.
namespace qv
{

// The number at the beginning of the text, blanks removed and letters skipped; 0 when there is
// none.
float str2Float(const QString &text);
// The same in double precision, for values that a float would round (tick counts, 59.94).
double str2Double(const QString &text);
// Truncated toward zero; saturates at the range of int, 0 for what is no number.
int truncatedToInt(double value);
// As a float; 0 for what is beyond the range of floats.
float narrowedToFloat(double value);
// Leading decimal integer after leading blanks; 0 for a text that doesn't start with one.
int intValue(const QString &text);
// Leading decimal number after leading blanks ("12.5 kb/s" gives 12.5); 0 when there is none.
double doubleValue(const QString &text);
float floatValue(const QString &text);
// "16:9" or "1.777" as a ratio; 1.0 when missing or nearer to zero than 0.1.
float fractionStr2Float(const QString &text);
// x rounded to a number of decimals. To 0 decimals a negative x is rounded toward zero: -2.7 gives
// -2.
float nbArrondi(float x, int decimals);

// With that many decimals (100 at most), as C prints "%.2f" whatever the locale: what lies exactly
// half-way goes to the even digit, so 0.625 gives "0.62".
QString fixedText(double value, int decimals);

// "hh:mm:ss[.fraction]" in seconds; 0 for a text without three or four fields.
float timecodeStr2Float(const QString &text);
// The time of day of an instant in seconds as "h:mm:ss", or with that many decimals
// ("0:01:02.50"). Null for a negative or absurd instant.
QString float2TimecodeStr(double seconds, int decimals);
// A duration in whole seconds for people: 3725 gives 1h02'05".
QString durationText(int seconds);

// "10.6.8" gives 10.0608.
float versionStr2Float(const QString &text);

} // namespace qv
