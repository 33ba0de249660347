#include "support/dates.h"

#include <cstdlib>

namespace qv
{

QString dateDescription(const QDateTime &when)
{
    if (!when.isValid()) {
        return {};
    }
    const int minutes = std::abs(when.offsetFromUtc()) / 60;
    const QChar sign = when.offsetFromUtc() < 0 ? QLatin1Char('-') : QLatin1Char('+');
    const int offset = minutes / 60 * 100 + minutes % 60;
    return when.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss ")) + sign +
           QStringLiteral("%1").arg(offset, 4, 10, QLatin1Char('0'));
}

} // namespace qv
