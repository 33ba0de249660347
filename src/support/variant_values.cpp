#include "support/variant_values.h"

#include <cmath>

namespace qv
{
bool isNumberType(const QVariant &value)
{
    switch (value.typeId()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Float:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

std::optional<double> numberValue(const QVariant &value)
{
    bool ok = false;
    double number = 0;
    if (isNumberType(value)) {
        number = value.toDouble(&ok);
    } else if (value.typeId() == QMetaType::QString) {
        number = value.toString().toDouble(&ok);
    }
    return ok && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

std::optional<double> numberIn(const QVariantMap &map, const QString &key)
{
    return numberValue(map.value(key));
}

std::optional<int> intIn(const QVariantMap &map, const QString &key)
{
    const std::optional<double> number = numberIn(map, key);
    constexpr double limit = 2147483648.0; // 2^31
    if (!number || *number >= limit || *number <= -limit - 1.0) {
        return std::nullopt;
    }
    return static_cast<int>(*number);
}

QString stringIn(const QVariantMap &map, const QString &key)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::QString ? value.toString() : QString();
}

QVariantMap mapIn(const QVariantMap &map, const QString &key)
{
    const QVariant value = map.value(key);
    return value.typeId() == QMetaType::QVariantMap ? value.toMap() : QVariantMap();
}

bool flagIn(const QVariantMap &map, const QString &key)
{
    return numberIn(map, key).value_or(0.0) != 0.0;
}

} // namespace qv
