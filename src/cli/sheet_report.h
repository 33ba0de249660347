#pragma once

#include "cli/options.h"
#include "cli/progress_line.h"
#include "cli/results.h"
#include "cli/streams.h"

// What the user hears of the sheets: a line for each source, and a summary.
namespace qv
{

class SheetReport
{
public:
    SheetReport(const Options &options, const Streams &streams)
        : m_options(options), m_streams(streams)
    {
    }

    // In the progress line's place.
    void tell(const SheetOutcome &outcome, ProgressLine &progress);

    int exitStatus() const;
    int told() const;
    // Of `total` sources.
    QString summary(qsizetype total) const;

private:
    int count(SheetOutcome::Status status) const { return m_counts[static_cast<size_t>(status)]; }

    const Options &m_options;
    const Streams &m_streams;
    int m_counts[4] = {0, 0, 0, 0};
};

} // namespace qv
