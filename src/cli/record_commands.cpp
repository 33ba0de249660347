#include "cli/record_commands.h"

#include "analysis/quick_probe.h"
#include "cli/exit_status.h"
#include "cli/results.h"
#include "process/interrupt.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/variant_values.h"

#include <functional>

namespace qv
{
namespace
{

// Makes the text that is printed for a source, from its record or the reason why it has no record.
using RecordText = std::function<QByteArray(const Source &, const RecordResult &)>;

// Analyses each source and prints what is made of its record.
class RecordRunner : public SourceRunner
{
public:
    RecordRunner(HeadlessSession &session, const Options &options, const Streams &streams,
                 QList<Source> sources, RecordText text)
        : SourceRunner(session, options, streams, std::move(sources)), m_text(std::move(text))
    {
    }

    // Gives the command's exit status.
    int printAll()
    {
        if (!run()) {
            m_streams.message(QStringLiteral("stopped"));
            return SignalBase + Interrupt::signalNumber();
        }
        return m_bad ? SomeFailed : AllDone;
    }

protected:
    void rowMade(const Source &source) override
    {
        const MediaInfoRecord &record = m_session.controller().table().row(0).dico;
        if (const QString damage = stringIn(record, damageKey);
            !damage.isEmpty() && !m_options.quiet) {
            say(damageWarning(source.shown(), damage));
        }
        print(m_text(source, record));
        next();
    }

    void skipped(const Source &source, const QString &reason) override
    {
        m_bad = true;
        say(QStringLiteral("skipped: %1: %2").arg(source.shown(), reason));
        print(m_text(source, tl::make_unexpected(reason)));
    }

private:
    RecordText m_text;
    bool m_bad = false;
};

// Texts are parted by an empty line.
class TextGap
{
public:
    QString next() { return std::exchange(m_first, false) ? QString() : QStringLiteral("\n"); }

private:
    bool m_first = true;
};

PlanResult planOf(HeadlessSession &session, const Options &options, const MediaInfoRecord &record)
{
    const int out = static_cast<int>(options.layout);
    QVariantMap input = record;
    input.insert(QStringLiteral("thNumberInt"), session.face().thumbnailCount(out));
    input.insert(QStringLiteral("dstPathStr"),
                 appendPath(toolFolder(), QStringLiteral("stills-1")));
    const bool isQuick = options.quick && hasQuickTool() &&
                         intIn(record, QStringLiteral("decSkip")).value_or(0) == 0;
    if (isQuick) {
        input.insert(QStringLiteral("quick"), 1);
    }
    return {planExtraction(out, input), isQuick};
}

} // namespace

int runInfoCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources)
{
    TextGap gap;
    RecordRunner runner(session, options, streams, sources,
                        [&](const Source &source, const RecordResult &record) -> QByteArray {
                            if (options.json) {
                                return jsonLine(infoJson(source.named, record)) + '\n';
                            }
                            return record ? (gap.next() + infoText(source.named, *record)).toUtf8()
                                          : QByteArray();
                        });
    return runner.printAll();
}

int runPlanCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources)
{
    TextGap gap;
    RecordRunner runner(
        session, options, streams, sources,
        [&](const Source &source, const RecordResult &record) -> QByteArray {
            const auto plan = record.map(
                [&](const MediaInfoRecord &known) { return planOf(session, options, known); });
            if (options.json) {
                return jsonLine(planJson(source.named, options.layout, plan)) + '\n';
            }
            return plan ? (gap.next() + planText(source.named, options.layout, *plan)).toUtf8()
                        : QByteArray();
        });
    return runner.printAll();
}

} // namespace qv
