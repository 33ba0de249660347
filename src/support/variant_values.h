#pragma once

#include <QVariantMap>

#include <optional>

// Typed reads from dictionaries that came from outside: a value of the wrong type reads as missing.
namespace qv
{

// Whether it holds a number of any kind, not the text of one.
bool isNumberType(const QVariant &value);
// A number of any numeric kind, or the text of a number.
std::optional<double> numberValue(const QVariant &value);
std::optional<double> numberIn(const QVariantMap &map, const QString &key);
// Truncated toward zero; missing when it would not fit.
std::optional<int> intIn(const QVariantMap &map, const QString &key);
// Only texts; a null text when missing.
QString stringIn(const QVariantMap &map, const QString &key);
QVariantMap mapIn(const QVariantMap &map, const QString &key);
// Whether the key holds a number other than 0.
bool flagIn(const QVariantMap &map, const QString &key);

} // namespace qv
