#pragma once

#include <QByteArray>
#include <QVariant>

#include <tl/expected.hpp>

// Property lists (XML and binary) as QVariant values: dictionaries are QVariantMap, arrays
// QVariantList, the rest QString, qlonglong, double, bool, QByteArray and QDateTime.
namespace qv
{

// The value, or why the bytes hold none.
tl::expected<QVariant, QString> parsePropertyList(const QByteArray &bytes);
tl::expected<QVariant, QString> readPropertyList(const QString &path);

// XML form. A value of a type that property lists don't have is an error.
tl::expected<QByteArray, QString> propertyListXml(const QVariant &value);

} // namespace qv
