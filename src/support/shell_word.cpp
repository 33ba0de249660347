#include "support/shell_word.h"

namespace qv
{

// A single quote can't stand inside of single quotes.
QString shellWord(const QString &text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + escaped + QLatin1Char('\'');
}

} // namespace qv
