#pragma once

#include <QByteArrayList>
#include <QString>

#include <tl/expected.hpp>

// Lists of file names, as "find" writes them.
namespace qv
{

// The names that a descriptor gives until its end, in order. They are bytes, not text: ended by
// NUL bytes when there is any in the list, else by newlines with or without a carriage return.
// Empty ones are left out. The error says why there is no such list.
tl::expected<QByteArrayList, QString> readNames(int descriptor);

// The same of a file.
tl::expected<QByteArrayList, QString> readNamesOf(const QString &file);

} // namespace qv
