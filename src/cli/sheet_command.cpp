#include "cli/sheet_command.h"

#include "cli/exit_status.h"
#include "cli/parallel_sheets.h"
#include "cli/sheet_report.h"
#include "cli/sheet_runner.h"
#include "process/interrupt.h"

#include <algorithm>

namespace qv
{
namespace
{

// Names are given in the order of all sources, whatever becomes of each, so that a repeated run and
// every shard give the same ones.
void nameSheets(HeadlessSession &session, const QList<Source> &sources)
{
    for (const Source &source : sources) {
        if (session.isStopped()) {
            return;
        }
        if (source.problem.isNull()) {
            session.controller().sheetBase(source.path);
        }
    }
}

QString emptyShard(const Options &options, qsizetype total)
{
    return QStringLiteral("shard %1/%2 has no source: there are %3 in all")
        .arg(options.shard->part)
        .arg(options.shard->parts)
        .arg(total);
}

} // namespace

int runSheetCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                    const QList<Source> &all)
{
    if (auto opened = session.openDestination(); !opened) {
        streams.message(opened.error());
        return CannotWork;
    }
    nameSheets(session, all);
    if (session.isStopped()) {
        streams.message(QStringLiteral("stopped"));
        return SignalBase + Interrupt::signalNumber();
    }
    const QList<Source> sources = options.shard ? sourcesOfShard(all, *options.shard) : all;
    if (sources.isEmpty()) {
        if (!options.quiet) {
            streams.message(emptyShard(options, all.size()));
        }
        return AllDone;
    }
    SheetReport report(options, streams);
    const auto jobs = static_cast<int>(std::min<qsizetype>(options.jobs, sources.size()));
    RunEnd end = RunEnd::Complete;
    if (jobs > 1 && !streams.workerProgram.isEmpty()) {
        end = makeSheetsInParallel(session, options, streams, sources, jobs, report);
    } else {
        SheetRunner runner(session, options, streams, sources,
                           [&](const SheetOutcome &outcome, ProgressLine &progress) {
                               report.tell(outcome, progress);
                           });
        end = runner.run() ? RunEnd::Complete : RunEnd::Interrupted;
    }
    if (end != RunEnd::Complete) {
        streams.message(QStringLiteral("stopped: ") + report.summary(sources.size()));
        return end == RunEnd::GivenUp ? int{CannotWork} : SignalBase + Interrupt::signalNumber();
    }
    if (sources.size() > 1 && !options.quiet) {
        streams.message(report.summary(sources.size()));
    }
    return report.exitStatus();
}

} // namespace qv
