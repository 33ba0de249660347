#pragma once

#include <QString>

#include <tl/expected.hpp>

// The folders that stills are made in.
namespace qv
{

// A folder of stills carries a mark: a hidden file that holds a random text which only the
// application's working state knows. A folder with another mark, or none, is the user's: it is
// never emptied or removed. An empty mark matches nothing.
QString newStillsMark();

// Whether the folder may be used: missing, or with this mark.
bool mayUseStillsFolder(const QString &folder, const QString &mark);
// Empties and recreates it, with the mark.
tl::expected<void, QString> prepareStillsFolder(const QString &folder, const QString &mark);
// Deletes it if it has the mark.
bool purgeStillsFolder(const QString &folder, const QString &mark);

} // namespace qv
