#include "analysis/media_info_record.h"

namespace qv
{

QString streamKey(const char *kind, int index, const char *field)
{
    return QLatin1String(kind) + QString::number(index) + u'_' + QLatin1String(field);
}

} // namespace qv
