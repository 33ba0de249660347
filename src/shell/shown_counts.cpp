#include "shell/shown_counts.h"

#include "support/localized_strings.h"

#include <QLocale>

namespace qv
{

QString countText(const QString &key, int count)
{
    return count == 1 ? localized(key)
                      : localized(key + QLatin1Char('s')).arg(QLocale(language()).toString(count));
}

} // namespace qv
