#include "cli/record_commands.h"

#include "cli/exit_status.h"
#include "cli/results.h"
#include "process/interrupt.h"
#include "process/tool_environment.h"
#include "support/files.h"

#include <functional>

namespace qv
{
namespace
{

using RecordText = std::function<QByteArray(const Source &, const MediaInfoRecord &)>;

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
        print(m_text(source, m_session.controller().table().row(0).dico));
        next();
    }

    void skipped(const Source &source, const QString &reason) override
    {
        m_bad = true;
        say(QStringLiteral("skipped: %1: %2").arg(source.named, reason));
    }

private:
    RecordText m_text;
    bool m_bad = false;
};

} // namespace

int runInfoCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources)
{
    bool first = true;
    RecordRunner runner(session, options, streams, sources,
                        [&](const Source &source, const MediaInfoRecord &record) {
                            if (options.json) {
                                return jsonLine(infoJson(source.named, record)) + '\n';
                            }
                            const QString gap =
                                std::exchange(first, false) ? QString() : QStringLiteral("\n");
                            return (gap + infoText(source.named, record)).toUtf8();
                        });
    return runner.printAll();
}

int runPlanCommand(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QList<Source> &sources)
{
    const int out = static_cast<int>(options.layout);
    RecordRunner runner(
        session, options, streams, sources,
        [&](const Source &source, const MediaInfoRecord &record) {
            QVariantMap input = record;
            input.insert(QStringLiteral("thNumberInt"), session.face().thumbnailCount(out));
            input.insert(QStringLiteral("dstPathStr"),
                         appendPath(toolFolder(), QStringLiteral("stills-1")));
            const ExtractionPlan plan = planExtraction(out, input);
            return options.json ? jsonLine(planJson(source.named, options.layout, plan)) + '\n'
                                : planText(source.named, options.layout, plan).toUtf8();
        });
    return runner.printAll();
}

} // namespace qv
