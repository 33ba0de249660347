#pragma once

#include "process/child_process.h"

#include <QDeadlineTimer>

#include <functional>
#include <vector>

// The life of a tool, or of a pipeline of tools, from its start to its end, with the rules that end
// it early. It never waits: blocking_run.h drives it on the calling thread, event_loop_run.h from
// the event loop.
namespace qv
{

// The last tool's error text: on the application's own standard error, in the output, or apart.
enum class ErrorText { Inherited, Merged, Apart };

struct ToolCommand {
    std::vector<SpawnRequest> tools{}; // in pipe order, at least one
    ErrorText errorText = ErrorText::Merged;
    // A single tool may stay after its work, which it announces by a chunk "waiting\n" on its
    // output. Its standard input is then a socket that takes further commands.
    bool mayWait = false;
};

struct ToolRules {
    int outputLimit = 64;                // megabytes, on both streams together
    int timeout = 0;                     // seconds for the whole run; 0: none
    std::function<bool()> isCancelled{}; // may be empty
};

struct ToolStartFailure {
    QString tool; // path of the executable
    SpawnFailure reason;
    ToolOutcome outcome() const;
};

enum class ToolStream { Output, Errors };

struct ToolReport {
    ToolOutcome outcome; // the last tool's
    QByteArray output{};
    QByteArray errors{}; // with ErrorText::Apart
};

// A tool that has done one command and waits for another one on its standard input. It is killed
// and reaped with this.
struct WaitingTool {
    ChildProcess process;
    FileDescriptor input;
    FileDescriptor output;
    FileDescriptor error;
};

// What still runs is killed and reaped when this is destroyed.
class ToolProcess
{
public:
    // A chunk as it was read, not split into lines. The receiver may stop the run, but not destroy
    // it.
    using Receiver = std::function<void(ToolStream, const QByteArray &)>;

    // The first tool keeps the standard input of its request; all other streams are set here.
    static tl::expected<ToolProcess, ToolStartFailure> start(const ToolCommand &command,
                                                             ToolRules rules = {});
    // The waiting tool goes on with these arguments. Nothing when it has ended meanwhile, or can't
    // take so many.
    static std::optional<ToolProcess> continueTool(WaitingTool tool, const QStringList &arguments);

    // Takes the chunks from now on; the report then holds none.
    void setReceiver(Receiver receiver) { m_receiver = std::move(receiver); }

    // To wait for; -1 when there is no such stream, or it is at its end.
    int descriptor(ToolStream stream) const;
    // Takes a chunk of at most 64 KB if there is one, even after the end; doesn't wait. False when
    // nothing was there.
    bool read(ToolStream stream);
    // Ends the run if a rule says so. To be called every IdleWatch::askInterval() at least.
    void enforceRules();

    // Whether the last tool has ended by itself. finish() is then due.
    bool hasExited();
    // Takes what is left in the streams, and the outcome. Does not wait for whoever else holds the
    // streams open.
    void finish();
    // Kills what runs.
    void stop();

    // Stops every tool, the consumer end of the pipe first, and continues them in pipe order.
    // Suspended tools don't count as idle.
    void suspend();
    void resume();
    bool isSuspended() const { return m_isSuspended; }

    // Once the run has ended in any way; nothing runs any more.
    bool isOver() const { return m_isOver; }
    const ToolReport &report() const { return m_report; }
    // After such an end: the tool that waits.
    std::optional<WaitingTool> takeWaitingTool() { return std::exchange(m_waiting, std::nullopt); }

private:
    struct Stream {
        FileDescriptor handle;
        bool isAtEnd = false;
    };

    explicit ToolProcess(ToolRules rules);
    tl::expected<void, ToolStartFailure> spawnAll(const ToolCommand &command);
    FileDescriptor openToolInput(); // the tool's end
    void listen(FileDescriptor output, FileDescriptor errors);
    void take(ToolStream stream, const QByteArray &chunk);
    void deliver(ToolStream stream, const QByteArray &chunk);
    void drain(ToolStream stream);
    void endIfDue();
    bool isHung();
    void endAsWaiting();
    void end(const ToolOutcome &outcome);

    std::vector<ChildProcess> m_tools; // in pipe order
    Stream m_output;
    Stream m_errors;
    FileDescriptor m_toolInput; // of a tool that may wait
    std::optional<WaitingTool> m_waiting;
    ToolRules m_rules;
    Receiver m_receiver;
    IdleWatch m_watch;
    QDeadlineTimer m_deadline;
    qsizetype m_printed = 0; // bytes that were read
    qsizetype m_seen = 0;    // with those that were in the pipes at the last look
    bool m_isSuspended = false;
    bool m_isOver = false;
    ToolReport m_report;
};

} // namespace qv
