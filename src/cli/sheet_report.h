#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/results.h"
#include "cli/source_list.h"
#include "cli/streams.h"

#include <QHash>
#include <QSet>

// What the user hears of the sheets: a line for each source, and a summary.
namespace qv
{

class SheetReport
{
public:
    // `sources` with the repeated ones, whose results follow from those of the first ones.
    SheetReport(const Options &options, const Streams &streams, QList<Source> sources);

    // In the progress line's place. Outcomes come in the order of the sources, without the repeated
    // ones; some may be missing.
    void tell(const SheetOutcome &outcome, ProgressLine &progress);
    // No more come.
    void finish();

    int exitStatus() const;
    QString summary() const;

private:
    void tellRepeatedBefore(qsizetype number);
    void print(const SheetOutcome &outcome);
    void printSheet(const QString &sheet) const;
    int count(SheetOutcome::Status status) const { return m_counts[static_cast<size_t>(status)]; }
    int told() const;

    const Options &m_options;
    const Streams &m_streams;
    const QList<Source> m_sources;
    QSet<qsizetype> m_wanted;                // numbers of the first ones
    QHash<qsizetype, SheetOutcome> m_firsts; // their outcomes
    qsizetype m_next = 0;                    // index of the source to tell of
    int m_counts[4] = {0, 0, 0, 0};
};

} // namespace qv
