#include "cli/sheet_command.h"

#include "cli/exit_status.h"
#include "cli/option_values.h"
#include "cli/parallel_sheets.h"
#include "cli/sheet_report.h"
#include "cli/sheet_runner.h"
#include "controller/sheet_delivery.h"
#include "process/interrupt.h"
#include "sheet/composer.h"

#include <algorithm>

namespace qv
{
namespace
{

// By the numbers of the sources; null for those that get no sheet of their own.
QStringList pathsToName(const QList<Source> &sources)
{
    QStringList paths;
    for (const Source &source : sources) {
        const bool isNamed = source.problem.isNull() && !source.isRepeated();
        paths.append(isNamed ? source.path : QString());
    }
    return paths;
}

QString emptyShard(const Options &options, qsizetype total)
{
    return QStringLiteral("shard %1/%2 has no source: there are %3 in all")
        .arg(options.shard->part)
        .arg(options.shard->parts)
        .arg(total);
}

RunEnd makeSheets(HeadlessSession &session, const Options &options, const Streams &streams,
                  const QList<Source> &sources, RunNames &names, SheetReport &report)
{
    const auto jobs = static_cast<int>(std::min<qsizetype>(options.jobs, sources.size()));
    if (jobs > 1 && !streams.workerProgram.isEmpty()) {
        return makeSheetsInParallel(session, options, streams, sources, names, jobs, report);
    }
    session.controller().setToolsPerRow(toolsPerJob(1));
    SheetRunner runner(session, options, streams, sources, &names,
                       [&](const SheetOutcome &outcome, ProgressLine &progress) {
                           report.tell(outcome, progress);
                       });
    return runner.run() ? RunEnd::Complete : RunEnd::Interrupted;
}

} // namespace

int runSheetCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                    const QList<Source> &all)
{
    if (auto opened = session.openDestination(); !opened) {
        streams.message(opened.error());
        return CannotWork;
    }
    removeForgottenDeliveries(session.controller().destinationFolder());
    // Over the whole list, so that every shard gives the same names.
    RunNames names(pathsToName(all), session.controller().destinationFolder(),
                   sheetExtension(session.face().pictureChoice()),
                   [&] { return session.isStopped(); });
    if (session.isStopped()) {
        streams.message(QStringLiteral("stopped"));
        return SignalBase + Interrupt::signalNumber();
    }
    const QList<Source> sources = options.shard ? sourcesOfShard(all, *options.shard) : all;
    if (sources.isEmpty()) {
        if (!options.quiet) {
            streams.message(emptyShard(options, withoutRepeated(all).size()));
        }
        return AllDone;
    }
    SheetReport report(options, streams, sources);
    const RunEnd end =
        makeSheets(session, options, streams, withoutRepeated(sources), names, report);
    report.finish();
    if (end != RunEnd::Complete) {
        streams.message(QStringLiteral("stopped: ") + report.summary());
        return end == RunEnd::GivenUp ? int{CannotWork} : SignalBase + Interrupt::signalNumber();
    }
    if (sources.size() > 1 && !options.quiet) {
        streams.message(report.summary());
    }
    return report.exitStatus();
}

} // namespace qv
