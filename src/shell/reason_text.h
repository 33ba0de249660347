#pragma once

#include <QString>

// Why something was not done, in the user's language.
namespace qv
{

// The engine gives its reasons in English, which scripts rely on; the table "reasons" holds their
// translations, with %1, %2 for names and numbers. A reason that it lacks stays as it is.
QString reasonText(const QString &reason);

} // namespace qv
