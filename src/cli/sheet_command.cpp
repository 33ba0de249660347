#include "cli/sheet_command.h"

#include "cli/exit_status.h"
#include "controller/sheet_names.h"
#include "controller/store_keys.h"
#include "process/interrupt.h"
#include "sheet/composer.h"
#include "support/files.h"

#include <QFileInfo>

#include <numeric>

namespace qv
{
namespace
{

class SheetRunner : public SourceRunner
{
public:
    SheetRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                QList<Source> sources)
        : SourceRunner(session, options, streams, sources)
    {
        // Names are given in the order of the sources, whatever becomes of each, so that a
        // repeated run gives the same ones.
        for (const Source &source : sources) {
            if (source.problem.isNull()) {
                sheetOf(source);
            }
        }
        session.face().onRowFinished = [this](const RowResult &result) { rowFinished(result); };
        session.face().onBatchOver = [this] { next(); };
    }
    ~SheetRunner() override
    {
        m_session.face().onRowFinished = nullptr;
        m_session.face().onBatchOver = nullptr;
    }

    int exitStatus() const { return m_bad > 0 ? SomeFailed : AllDone; }

    QString summary() const
    {
        QString text = QStringLiteral("%1 made, %2 kept, %3 skipped, %4 failed")
                           .arg(count(SheetOutcome::Status::Made))
                           .arg(count(SheetOutcome::Status::Kept))
                           .arg(count(SheetOutcome::Status::Skipped))
                           .arg(count(SheetOutcome::Status::Failed));
        const int left =
            sourceCount() - std::accumulate(std::begin(m_counts), std::end(m_counts), 0);
        if (left > 0) {
            text += QStringLiteral(", %1 not done").arg(left);
        }
        return text;
    }

protected:
    bool settle(const Source &source) override
    {
        const QString sheet = sheetOf(source);
        if (QFileInfo(sheet).isDir()) {
            failed(source,
                   QStringLiteral("a folder has its sheet's name: %1").arg(printable(sheet)));
            return true;
        }
        if (m_options.replace || !fileExists(sheet)) {
            return false;
        }
        SheetOutcome outcome;
        outcome.status = SheetOutcome::Status::Kept;
        outcome.source = source.named;
        outcome.sheet = sheet;
        outcome.reason = QStringLiteral("a sheet of that name is there already");
        tell(outcome);
        return true;
    }

    void rowMade(const Source &source) override
    {
        // It may have gone since the last sheet.
        if (auto opened = m_session.openDestination(); !opened) {
            failed(source, opened.error());
            next();
            return;
        }
        m_session.preferences().prefWrite(keys::replaceFiles, m_options.replace ? 1 : 0);
        m_session.controller().iba_batchGoBt();
    }

    void skipped(const Source &source, const QString &reason) override
    {
        tellUnmade(SheetOutcome::Status::Skipped, source, reason);
    }

private:
    void failed(const Source &source, const QString &reason)
    {
        tellUnmade(SheetOutcome::Status::Failed, source, reason);
    }

    void tellUnmade(SheetOutcome::Status status, const Source &source, const QString &reason)
    {
        SheetOutcome outcome;
        outcome.status = status;
        outcome.source = source.named;
        outcome.reason = reason;
        outcome.seconds = secondsOnCurrent();
        tell(outcome);
    }

    QString sheetOf(const Source &source)
    {
        return m_session.controller().sheetPath(source.path, m_session.face().pictureChoice());
    }

    void rowFinished(const RowResult &result)
    {
        if (result.status == RowResult::Status::Stopped) {
            return;
        }
        SheetOutcome outcome;
        outcome.status = result.status == RowResult::Status::Made   ? SheetOutcome::Status::Made
                         : result.status == RowResult::Status::Kept ? SheetOutcome::Status::Kept
                                                                    : SheetOutcome::Status::Failed;
        outcome.source = current().named;
        outcome.sheet = result.sheet;
        outcome.reason = result.reason;
        outcome.asked = result.picturesAsked;
        outcome.moved = result.picturesMoved;
        outcome.drawn = result.picturesDrawn;
        outcome.quick = result.isQuick;
        outcome.instants = result.instants;
        outcome.duration = result.duration;
        outcome.seconds = secondsOnCurrent();
        addRemarks(outcome);
        tell(outcome);
    }

    // What a sheet that was made is to be read with.
    void addRemarks(SheetOutcome &outcome) const
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

    void tell(const SheetOutcome &outcome)
    {
        ++m_counts[static_cast<size_t>(outcome.status)];
        const bool good = outcome.status == SheetOutcome::Status::Made ||
                          outcome.status == SheetOutcome::Status::Kept;
        m_bad += good ? 0 : 1;
        if (!outcome.reason.isEmpty() && (wantsMessages() || !good)) {
            say(QStringLiteral("%1: %2: %3")
                    .arg(statusWord(outcome.status), printable(outcome.source), outcome.reason));
        }
        if (m_options.json) {
            print(jsonLine(sheetJson(outcome)) + '\n');
        } else if (good) {
            print((m_streams.outIsTerminal ? printable(outcome.sheet) : outcome.sheet).toUtf8() +
                  '\n');
        }
    }

    int count(SheetOutcome::Status status) const { return m_counts[static_cast<size_t>(status)]; }

    int m_counts[4] = {0, 0, 0, 0};
    int m_bad = 0;
};

} // namespace

int runSheetCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                    const QList<Source> &sources)
{
    if (auto opened = session.openDestination(); !opened) {
        streams.message(opened.error());
        return CannotWork;
    }
    SheetRunner runner(session, options, streams, sources);
    const bool complete = runner.run();
    if (!complete) {
        streams.message(QStringLiteral("stopped: ") + runner.summary());
        return SignalBase + Interrupt::signalNumber();
    }
    if (sources.size() > 1 && !options.quiet) {
        streams.message(runner.summary());
    }
    return runner.exitStatus();
}

} // namespace qv
