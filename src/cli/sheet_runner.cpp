#include "cli/sheet_runner.h"

#include "controller/reasons.h"
#include "controller/sheet_freshness.h"
#include "controller/sheet_names.h"
#include "controller/sheet_owner.h"
#include "controller/store_keys.h"
#include "sheet/composer.h"
#include "support/files.h"
#include "support/log.h"
#include "support/variant_values.h"

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

void addRemark(SheetOutcome &outcome, const QString &remark)
{
    outcome.reason += (outcome.reason.isEmpty() ? QString() : QStringLiteral("; ")) + remark;
}

} // namespace

SheetOutcome unmade(SheetOutcome::Status status, const Source &source, const QString &reason)
{
    SheetOutcome outcome;
    outcome.status = status;
    outcome.source = source.named;
    outcome.number = source.number;
    outcome.reason = reason;
    return outcome;
}

SheetRunner::SheetRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                         QList<Source> sources, RunNames *names, Tell tell)
    : SourceRunner(session, options, streams, std::move(sources)), m_names(names),
      m_tell(std::move(tell))
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
    if (m_names == nullptr) {
        return false;
    }
    const auto outcome = settledOutcome(m_session, m_options, source, *m_names);
    if (outcome) {
        m_tell(*outcome, progress());
    } else {
        m_session.controller().giveSheetBase(source.path, m_names->placeOf(source.number).base);
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
    static_cast<SheetResult &>(outcome) = result;
    outcome.damage = stringIn(m_session.controller().table().row(0).dico, damageKey);
    outcome.seconds = secondsOnCurrent();
    if (outcome.status == SheetOutcome::Status::Made &&
        outcome.picturesDrawn < outcome.picturesAsked) {
        addRemark(outcome, QStringLiteral("%1 of %2 pictures could not be taken")
                               .arg(outcome.picturesAsked - outcome.picturesDrawn)
                               .arg(outcome.picturesAsked));
    }
    if (outcome.status == SheetOutcome::Status::Made && outcome.hasWrongColours) {
        addRemark(outcome, QStringLiteral("its colors can't be shown: Dolby Vision without a "
                                          "compatible base layer"));
    }
    if (m_names != nullptr) {
        noteName(outcome, current(), *m_names);
    }
    m_tell(outcome, progress());
}

std::optional<SheetOutcome> settledOutcome(HeadlessSession &session, const Options &options,
                                           const Source &source, RunNames &names)
{
    if (!source.problem.isNull()) {
        return unmade(SheetOutcome::Status::Skipped, source, source.problem);
    }
    const SheetPlace &place = names.placeOf(source.number);
    if (place.base.isEmpty()) {
        return unmade(SheetOutcome::Status::Failed, source, reasons::namesAreTaken);
    }
    const QString sheet =
        place.base + QLatin1Char('.') + sheetExtension(session.face().pictureChoice());
    // Another process may have made it since, or removed it. A file of others that has come there
    // is met when the sheet is delivered.
    const bool isThere = place.isMade ? standsThere(sheet)
                                      : claimOn(placeContent(sheet), source.path) != Claim::None;
    if (options.replace || !isThere || (options.update && !isFresh(session, source, sheet))) {
        return std::nullopt;
    }
    SheetOutcome outcome =
        unmade(SheetOutcome::Status::Kept, source,
               options.update ? QStringLiteral("its sheet is there already and up to date")
                              : reasons::sheetIsThere);
    outcome.sheet = sheet;
    noteName(outcome, source, names);
    return outcome;
}

void noteName(SheetOutcome &outcome, const Source &source, RunNames &names)
{
    if (outcome.sheet.isEmpty()) {
        return;
    }
    const QString base = withoutExtension(outcome.sheet);
    outcome.isRenamed = isRenamed(source.path, base);
    if (outcome.status != SheetOutcome::Status::Made || !outcome.isRenamed) {
        return;
    }
    const SheetPlace &place = names.placeOf(source.number);
    const QString why = base == place.base
                            ? place.why
                            : QStringLiteral("another file has come to the name %1 meanwhile")
                                  .arg(lastPathComponent(place.base));
    if (!why.isEmpty()) {
        addRemark(
            outcome,
            QStringLiteral("named %1, because %2").arg(lastPathComponent(outcome.sheet), why));
    }
}

} // namespace qv
