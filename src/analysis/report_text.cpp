#include "analysis/report_text.h"

#include "support/files.h"

#include <algorithm>

namespace qv
{

bool has(const QString &text, const char *marker)
{
    return text.contains(QLatin1String(marker));
}

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

QStringList outerParts(const QString &text)
{
    QStringList parts(QString{});
    int depth = 0;
    for (const QChar c : text) {
        depth += c == u'(' ? 1 : c == u')' ? -1 : 0;
        if (c == u',' && depth <= 0) {
            parts.append(QString());
        } else {
            parts.last().append(c);
        }
    }
    return parts;
}

bool TagBlocks::isTag(const QString &line)
{
    const auto end = std::find_if(line.begin(), line.end(), [](QChar c) { return c != u' '; });
    const qsizetype indent = end - line.begin();
    if (m_headingIndent >= 0 && indent > m_headingIndent) {
        return true;
    }
    m_headingIndent = line.trimmed() == QLatin1String("Metadata:") ? indent : -1;
    return false;
}

QString lastProgressLine(const QString &report)
{
    const QStringList lines = linesOf(report);
    const auto last = std::find_if(lines.rbegin(), lines.rend(),
                                   [](const QString &line) { return has(line, "time="); });
    return last == lines.rend() ? QString() : *last;
}

QString progressTime(const QString &line)
{
    return before(after(line, QLatin1String("time=")), QLatin1String(" "));
}

} // namespace qv
