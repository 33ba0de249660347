#include "cli/sheet_runner.h"

#include "controller/reasons.h"
#include "controller/sheet_freshness.h"
#include "controller/sheet_names.h"
#include "controller/store_keys.h"
#include "support/files.h"
#include "support/log.h"

#include <QFile>
#include <QFileInfo>

namespace qv
{
namespace
{

SheetOutcome::Status statusOf(const RowResult &result)
{
    switch (result.status) {
    case RowResult::Status::Made:
        return SheetOutcome::Status::Made;
    case RowResult::Status::Kept:
        return SheetOutcome::Status::Kept;
    default:
        return SheetOutcome::Status::Failed;
    }
}

SheetOutcome unmade(SheetOutcome::Status status, const Source &source, const QString &reason)
{
    SheetOutcome outcome;
    outcome.status = status;
    outcome.source = source.named;
    outcome.reason = reason;
    return outcome;
}

// Whether the sheet tells that one made now would be the same.
bool isFresh(HeadlessSession &session, const Source &source, const QString &sheet)
{
    const auto carried = readProvenance(QFile::encodeName(sheet));
    const QString why =
        carried
            ? staleReason(*carried, wantedSheet(session.face(), session.preferences(), source.path))
            : carried.error();
    if (!why.isNull()) {
        logLine(QStringLiteral("sheet is made anew  : %1: %2").arg(sheet, why));
    }
    return why.isNull();
}

} // namespace

SheetRunner::SheetRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                         QList<Source> sources, Tell tell)
    : SourceRunner(session, options, streams, std::move(sources)), m_tell(std::move(tell))
{
    session.face().onRowFinished = [this](const RowResult &result) { rowFinished(result); };
    session.face().onBatchOver = [this] { next(); };
}

SheetRunner::~SheetRunner()
{
    m_session.face().onRowFinished = nullptr;
    m_session.face().onBatchOver = nullptr;
}

bool SheetRunner::settle(const Source &source)
{
    const auto outcome = settledOutcome(m_session, m_options, source);
    if (outcome) {
        m_tell(*outcome, progress());
    }
    return outcome.has_value();
}

void SheetRunner::rowMade(const Source &source)
{
    // It may have gone since the last sheet.
    if (!QFileInfo(m_session.controller().destinationFolder()).isDir()) {
        if (auto opened = m_session.openDestination(); !opened) {
            tellUnmade(SheetOutcome::Status::Failed, source, opened.error());
            next();
            return;
        }
    }
    m_session.preferences().prefWrite(keys::replaceFiles,
                                      m_options.replace || m_options.update ? 1 : 0);
    m_session.controller().iba_batchGoBt();
}

void SheetRunner::skipped(const Source &source, const QString &reason)
{
    tellUnmade(SheetOutcome::Status::Skipped, source, reason);
}

void SheetRunner::tellUnmade(SheetOutcome::Status status, const Source &source,
                             const QString &reason)
{
    SheetOutcome outcome = unmade(status, source, reason);
    outcome.seconds = secondsOnCurrent();
    m_tell(outcome, progress());
}

void SheetRunner::rowFinished(const RowResult &result)
{
    if (result.status == RowResult::Status::Stopped) {
        return;
    }
    SheetOutcome outcome = unmade(statusOf(result), current(), result.reason);
    outcome.sheet = result.sheet;
    outcome.asked = result.picturesAsked;
    outcome.moved = result.picturesMoved;
    outcome.drawn = result.picturesDrawn;
    outcome.quick = result.isQuick;
    outcome.instants = result.instants;
    outcome.duration = result.duration;
    outcome.seconds = secondsOnCurrent();
    addRemarks(outcome);
    m_tell(outcome, progress());
}

// What a sheet that was made is to be read with.
void SheetRunner::addRemarks(SheetOutcome &outcome) const
{
    if (outcome.status != SheetOutcome::Status::Made) {
        return;
    }
    QStringList remarks;
    const QString base = withoutExtension(outcome.sheet);
    if (isRenamed(current().path, base)) {
        remarks << QStringLiteral("named %1, because another source of this run has the plain "
                                  "name")
                       .arg(lastPathComponent(outcome.sheet));
    }
    if (outcome.drawn < outcome.asked) {
        remarks << QStringLiteral("%1 of %2 pictures could not be taken")
                       .arg(outcome.asked - outcome.drawn)
                       .arg(outcome.asked);
    }
    outcome.reason = remarks.join(QStringLiteral("; "));
}

QString sheetOf(HeadlessSession &session, const Source &source)
{
    return session.controller().sheetPath(source.path, session.face().pictureChoice());
}

std::optional<SheetOutcome> settledOutcome(HeadlessSession &session, const Options &options,
                                           const Source &source)
{
    if (!source.problem.isNull()) {
        return unmade(SheetOutcome::Status::Skipped, source, source.problem);
    }
    const QString sheet = sheetOf(session, source);
    const QFileInfo standing(sheet);
    if (standing.isDir()) {
        return unmade(SheetOutcome::Status::Failed, source,
                      QStringLiteral("a folder has its sheet's name: %1").arg(sheet));
    }
    if (options.replace || !standing.exists()) {
        return std::nullopt;
    }
    if (options.update && !isFresh(session, source, sheet)) {
        return std::nullopt;
    }
    SheetOutcome outcome =
        unmade(SheetOutcome::Status::Kept, source,
               options.update ? QStringLiteral("its sheet is there already and up to date")
                              : reasons::sheetIsThere);
    outcome.sheet = sheet;
    return outcome;
}

} // namespace qv
