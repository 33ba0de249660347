#include "analysis/report_text.h"

namespace qv
{

QString before(const QString &text, QLatin1String marker)
{
    const qsizetype end = text.indexOf(marker);
    return end < 0 ? text : text.left(end);
}

QString after(const QString &text, QLatin1String marker)
{
    const qsizetype found = text.indexOf(marker);
    if (found < 0) {
        return {};
    }
    const qsizetype start = found + marker.size();
    const qsizetype end = text.indexOf(marker, start);
    return end < 0 ? text.mid(start) : text.mid(start, end - start);
}

} // namespace qv
