#include "cli/worker.h"

#include "cli/exit_status.h"
#include "cli/headless_session.h"
#include "cli/option_values.h"
#include "cli/sheet_runner.h"
#include "cli/worker_protocol.h"
#include "process/interrupt.h"
#include "support/foreign_names.h"

#include <QSocketNotifier>

#include <cerrno>
#include <unistd.h>

namespace qv
{
namespace
{

class Worker : public SheetRunner
{
public:
    Worker(HeadlessSession &session, const Options &options, const Streams &streams)
        : SheetRunner(session, options, streams, {}, nullptr,
                      [&streams](const SheetOutcome &outcome, ProgressLine &) {
                          streams.out(outcomeLine(outcome));
                      }),
          m_notifier(streams.input, QSocketNotifier::Read)
    {
        connect(&m_notifier, &QSocketNotifier::activated, this, &Worker::read);
    }

protected:
    void fetch() override
    {
        m_isWaiting = true;
        takeRequest();
    }

private:
    void read()
    {
        char buffer[16384];
        const ssize_t n = ::read(m_streams.input, buffer, sizeof buffer);
        if (n < 0 && (errno == EINTR || errno == EAGAIN)) {
            return;
        }
        m_bytes.append(buffer, std::max<ssize_t>(n, 0));
        if (n <= 0 || m_bytes.size() > lineLimit) {
            end();
        } else if (m_isWaiting) {
            takeRequest();
        }
    }

    // Whoever asked has no more to ask, or is gone: then nobody waits for the one in progress.
    void end()
    {
        m_notifier.setEnabled(false);
        if (m_isWaiting) {
            finish(true);
        } else {
            interrupted();
        }
    }

    void takeRequest()
    {
        const auto line = takeLine(m_bytes);
        if (!line) {
            return;
        }
        const auto request = requestIn(*line);
        if (!request) {
            end();
            return;
        }
        m_isWaiting = false;
        const QString path = usablePath(request->source);
        m_session.controller().giveSheetBase(path, request->base);
        const bool isText = request->source.isValidUtf8();
        work({path, request->source, isText ? QString() : linkProblem(path)});
    }

    QSocketNotifier m_notifier;
    QByteArray m_bytes;
    bool m_isWaiting = false;
};

} // namespace

int runWorker(const Options &options, const Streams &streams)
{
    const auto session = HeadlessSession::start(options);
    if (!session) {
        streams.out(problemLine(session.error()));
        return CannotWork;
    }
    // What it does is shown by whoever asked for it.
    Streams quiet = streams;
    quiet.errIsTerminal = false;
    if (auto opened = (*session)->openDestination(); !opened) {
        streams.out(problemLine(opened.error()));
        return CannotWork;
    }
    (*session)->controller().setToolsPerRow(toolsPerJob(options.jobs));
    Worker worker(**session, options, quiet);
    streams.out(readyLine());
    return worker.run() ? int{AllDone} : SignalBase + Interrupt::signalNumber();
}

} // namespace qv
