#include "settings/value_description.h"

#include <QVariantMap>

namespace qv
{
namespace
{

constexpr qsizetype longEnough = 500;

void describe(QString &text, const QVariant &value);

void describeMap(QString &text, const QVariantMap &map)
{
    text += QLatin1Char('{');
    for (auto it = map.cbegin(); it != map.cend() && text.size() < longEnough; ++it) {
        text += it.key() + QLatin1String(" = ");
        describe(text, it.value());
        text += QLatin1String("; ");
    }
    text += QLatin1Char('}');
}

void describeList(QString &text, const QVariantList &list)
{
    text += QLatin1Char('(');
    for (auto it = list.cbegin(); it != list.cend() && text.size() < longEnough; ++it) {
        describe(text, *it);
        text += QLatin1String(", ");
    }
    text += QLatin1Char(')');
}

void describe(QString &text, const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantMap) {
        describeMap(text, value.toMap());
    } else if (value.typeId() == QMetaType::QVariantList) {
        describeList(text, value.toList());
    } else {
        text += value.toString().left(longEnough);
    }
}

} // namespace

QString describeValue(const QVariant &value)
{
    QString text;
    describe(text, value);
    return value.isValid() ? text : QStringLiteral("nil");
}

} // namespace qv
