#pragma once

#include <QDateTime>
#include <QString>

namespace qv
{

// "2024-05-03 18:02:11 +0200": how logs and captions write an instant, in the zone that it carries.
// Null for an invalid one.
QString dateDescription(const QDateTime &when);

} // namespace qv
