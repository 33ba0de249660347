#include "media/results_table.h"

#include <QSaveFile>

namespace
{

QString cell(const QString &text)
{
    QString escaped = text;
    escaped.replace(u'\n', u' ');
    return escaped.replace(u'|', "\\|");
}

QString value(const Seen &seen, const char *key)
{
    return seen.record.value(QLatin1String(key)).toString();
}

QString expectedOf(const Source &source)
{
    return source.expect.refusal == nullptr ? "sheet"
                                            : "refused: " + QLatin1String(source.expect.refusal);
}

QString sizeOf(const Seen &seen)
{
    return seen.isRow() ? value(seen, "v0_width") + " x " + value(seen, "v0_height") : QString();
}

} // namespace

ResultsTable &ResultsTable::instance()
{
    static ResultsTable table;
    return table;
}

void ResultsTable::add(const Source &source, const Seen &seen, std::optional<double> farthest,
                       bool isGood)
{
    const QStringList cells{QString::fromUtf8(titleOf(source)),
                            value(seen, "wrapper") + " / " + value(seen, "v0_codec"),
                            expectedOf(source),
                            seen.isRow() ? "sheet" : seen.status + ": " + seen.reason,
                            sizeOf(seen),
                            value(seen, "w_duration"),
                            value(seen, "v0_dar"),
                            value(seen, "v0_fields"),
                            seen.isRow() ? QString::number(seen.drawn) : QString(),
                            farthest ? QString::number(*farthest, 'f', 2) : QString(),
                            isGood ? "yes" : "**no**"};
    QStringList escaped;
    for (const QString &text : cells) {
        escaped.append(cell(text));
    }
    m_lines.append(QStringLiteral("| %1 |").arg(escaped.join(" | ")));
    m_good += isGood ? 1 : 0;
}

bool ResultsTable::write(const QString &path) const
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    const QString head =
        QStringLiteral("# Sources and what became of them\n\n%1 of %2 as expected.\n\n"
                       "| source | container / codec | expected | got | size | seconds | aspect | "
                       "fields | cells | farthest from stamp (s) | good |\n"
                       "|---|---|---|---|---|---|---|---|---|---|---|\n")
            .arg(QString::number(m_good), QString::number(m_lines.size()));
    file.write((head + m_lines.join(u'\n') + u'\n').toUtf8());
    return file.commit();
}
