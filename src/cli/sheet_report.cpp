#include "cli/sheet_report.h"

#include "cli/exit_status.h"

#include <QFile>

#include <limits>
#include <numeric>

namespace qv
{
namespace
{

bool hasSheet(const SheetOutcome &outcome)
{
    return outcome.status == SheetOutcome::Status::Made ||
           outcome.status == SheetOutcome::Status::Kept;
}

// Of a source that is the same file as another one, which has its outcome.
SheetOutcome repeatedOutcome(const Source &source, const SheetOutcome &first)
{
    SheetOutcome outcome;
    outcome.source = source.named;
    outcome.number = source.number;
    outcome.reason = QStringLiteral("the same file as ") + QString::fromUtf8(first.source);
    if (hasSheet(first)) {
        outcome.status = SheetOutcome::Status::Kept;
        outcome.sheet = first.sheet;
        outcome.isRenamed = first.isRenamed;
        outcome.damage = first.damage;
    } else {
        outcome.status = first.status;
        outcome.reason += QStringLiteral(": ") + first.reason;
    }
    return outcome;
}

} // namespace

SheetReport::SheetReport(const Options &options, const Streams &streams, QList<Source> sources)
    : m_options(options), m_streams(streams), m_sources(std::move(sources))
{
    for (const Source &source : m_sources) {
        if (source.isRepeated()) {
            m_wanted.insert(source.sameAs);
        }
    }
}

void SheetReport::tell(const SheetOutcome &outcome, ProgressLine &progress)
{
    progress.clear();
    tellRepeatedBefore(outcome.number);
    print(outcome);
    if (m_wanted.contains(outcome.number)) {
        m_firsts.insert(outcome.number, outcome);
    }
}

void SheetReport::finish()
{
    tellRepeatedBefore(std::numeric_limits<qsizetype>::max());
}

void SheetReport::tellRepeatedBefore(qsizetype number)
{
    for (; m_next < m_sources.size() && m_sources.at(m_next).number < number; ++m_next) {
        const Source &source = m_sources.at(m_next);
        if (const auto first = m_firsts.constFind(source.sameAs); first != m_firsts.cend()) {
            print(repeatedOutcome(source, *first));
        }
    }
}

void SheetReport::print(const SheetOutcome &outcome)
{
    ++m_counts[static_cast<size_t>(outcome.status)];
    if (!outcome.damage.isEmpty() && !m_options.quiet) {
        m_streams.message(damageWarning(QString::fromUtf8(outcome.source), outcome.damage));
    }
    if (!outcome.reason.isEmpty() && (!m_options.quiet || !hasSheet(outcome))) {
        m_streams.message(QStringLiteral("%1: %2: %3")
                              .arg(statusWord(outcome.status), QString::fromUtf8(outcome.source),
                                   outcome.reason));
    }
    if (m_options.json) {
        m_streams.out(jsonLine(sheetJson(outcome)) + '\n');
    } else if (hasSheet(outcome)) {
        printSheet(outcome.sheet);
    }
}

void SheetReport::printSheet(const QString &sheet) const
{
    if (m_options.print0) {
        m_streams.out(QFile::encodeName(sheet) + '\0');
    } else {
        m_streams.result(sheet);
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

QString SheetReport::summary() const
{
    QString text = QStringLiteral("%1 made, %2 kept, %3 skipped, %4 failed")
                       .arg(count(SheetOutcome::Status::Made))
                       .arg(count(SheetOutcome::Status::Kept))
                       .arg(count(SheetOutcome::Status::Skipped))
                       .arg(count(SheetOutcome::Status::Failed));
    if (const qsizetype left = m_sources.size() - told(); left > 0) {
        text += QStringLiteral(", %1 not done").arg(left);
    }
    return text;
}

} // namespace qv
