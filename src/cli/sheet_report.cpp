#include "cli/sheet_report.h"

#include "cli/exit_status.h"

#include <numeric>

namespace qv
{

void SheetReport::tell(const SheetOutcome &outcome, ProgressLine &progress)
{
    progress.clear();
    ++m_counts[static_cast<size_t>(outcome.status)];
    const bool good = outcome.status == SheetOutcome::Status::Made ||
                      outcome.status == SheetOutcome::Status::Kept;
    if (!outcome.reason.isEmpty() && (!m_options.quiet || !good)) {
        m_streams.message(QStringLiteral("%1: %2: %3")
                              .arg(statusWord(outcome.status), outcome.source, outcome.reason));
    }
    if (m_options.json) {
        m_streams.out(jsonLine(sheetJson(outcome)) + '\n');
    } else if (good) {
        m_streams.result(outcome.sheet);
    }
}

int SheetReport::exitStatus() const
{
    const int bad = count(SheetOutcome::Status::Skipped) + count(SheetOutcome::Status::Failed);
    return bad > 0 ? SomeFailed : AllDone;
}

int SheetReport::told() const
{
    return std::accumulate(std::begin(m_counts), std::end(m_counts), 0);
}

QString SheetReport::summary(qsizetype total) const
{
    QString text = QStringLiteral("%1 made, %2 kept, %3 skipped, %4 failed")
                       .arg(count(SheetOutcome::Status::Made))
                       .arg(count(SheetOutcome::Status::Kept))
                       .arg(count(SheetOutcome::Status::Skipped))
                       .arg(count(SheetOutcome::Status::Failed));
    if (const qsizetype left = total - told(); left > 0) {
        text += QStringLiteral(", %1 not done").arg(left);
    }
    return text;
}

} // namespace qv
