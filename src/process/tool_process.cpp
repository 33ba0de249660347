#include "process/tool_process.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qv
{
namespace
{

using Ending = ToolOutcome::Ending;

constexpr qsizetype chunkSize = 65536;
// More than a pipe can hold.
constexpr int drainedChunks = 32;

// Two connected sockets. Writing to a pipe whose reader has died would raise SIGPIPE.
Pipe socketPair()
{
    int sockets[2] = {-1, -1};
    ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets);
    return {FileDescriptor(sockets[0]), FileDescriptor(sockets[1])};
}

// Each argument ended by NUL, and an empty one. False when not all could be sent at once.
bool sendArguments(const FileDescriptor &socket, const QStringList &arguments)
{
    QByteArray message;
    for (const QString &argument : arguments) {
        if (argument.isEmpty()) {
            return false;
        }
        message += QFile::encodeName(argument) + '\0';
    }
    message += '\0';
    return ::send(socket.get(), message.constData(), static_cast<size_t>(message.size()),
                  MSG_NOSIGNAL | MSG_DONTWAIT) == message.size();
}

int unreadBytes(int fd)
{
    int bytes = 0;
    return fd >= 0 && ::ioctl(fd, FIONREAD, &bytes) == 0 ? bytes : 0;
}

ToolStartFailure startFailure(const SpawnRequest &tool, const SpawnFailure &reason)
{
    return {tool.command.value(0), reason};
}

} // namespace

ToolOutcome ToolStartFailure::outcome() const
{
    ToolOutcome outcome;
    outcome.error = reason.error;
    outcome.cause = reason.text();
    return outcome;
}

ToolProcess::ToolProcess(ToolRules rules)
    : m_rules(std::move(rules)),
      m_deadline(m_rules.timeout > 0 ? QDeadlineTimer(m_rules.timeout * 1000)
                                     : QDeadlineTimer(QDeadlineTimer::Forever))
{
}

tl::expected<ToolProcess, ToolStartFailure> ToolProcess::start(const ToolCommand &command,
                                                               ToolRules rules)
{
    ToolProcess run(std::move(rules));
    if (const auto spawned = run.spawnAll(command); !spawned) {
        return tl::make_unexpected(spawned.error());
    }
    return run;
}

// Each tool writes into the next one's input.
tl::expected<void, ToolStartFailure> ToolProcess::spawnAll(const ToolCommand &command)
{
    const bool isApart = command.errorText == ErrorText::Apart;
    Pipe errors = isApart ? Pipe::create() : Pipe();
    FileDescriptor input = command.mayWait ? openToolInput() : FileDescriptor();
    if (isApart != errors.readEnd.isOpen() || command.mayWait != input.isOpen()) {
        return tl::make_unexpected(startFailure(command.tools.front(), {errno}));
    }
    for (const SpawnRequest &tool : command.tools) {
        Pipe output = Pipe::create();
        if (!output.readEnd.isOpen()) {
            return tl::make_unexpected(startFailure(tool, {errno}));
        }
        SpawnRequest request = tool;
        request.standardInput = input.isOpen() ? input.get() : tool.standardInput;
        request.standardOutput = output.writeEnd.get();
        if (&tool == &command.tools.back() && command.errorText != ErrorText::Inherited) {
            request.standardError = (isApart ? errors : output).writeEnd.get();
        }
        auto child = ChildProcess::spawn(request);
        if (!child) {
            return tl::make_unexpected(startFailure(tool, child.error()));
        }
        m_tools.push_back(std::move(*child));
        input = std::move(output.readEnd);
    }
    listen(std::move(input), std::move(errors.readEnd));
    return {};
}

FileDescriptor ToolProcess::openToolInput()
{
    Pipe sockets = socketPair();
    m_toolInput = std::move(sockets.readEnd);
    return std::move(sockets.writeEnd);
}

std::optional<ToolProcess> ToolProcess::continueTool(WaitingTool tool, const QStringList &arguments)
{
    if (!tool.process.isRunning() || !sendArguments(tool.input, arguments)) {
        return std::nullopt;
    }
    ToolProcess run(ToolRules{});
    run.m_tools.push_back(std::move(tool.process));
    run.listen(std::move(tool.output), std::move(tool.error));
    return run;
}

void ToolProcess::listen(FileDescriptor output, FileDescriptor errors)
{
    m_output.handle = std::move(output);
    m_errors.handle = std::move(errors);
    for (const Stream *stream : {&m_output, &m_errors}) {
        if (const int fd = stream->handle.get(); fd >= 0) {
            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        }
    }
    m_watch.sawOutput();
}

int ToolProcess::descriptor(ToolStream stream) const
{
    const Stream &wanted = stream == ToolStream::Output ? m_output : m_errors;
    return wanted.isAtEnd ? -1 : wanted.handle.get();
}

bool ToolProcess::read(ToolStream stream)
{
    const int fd = descriptor(stream);
    if (fd < 0) {
        return false;
    }
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    const ssize_t size = ::read(fd, chunk.data(), static_cast<size_t>(chunkSize));
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
        return false;
    }
    if (size <= 0) {
        (stream == ToolStream::Output ? m_output : m_errors).isAtEnd = true;
        return false;
    }
    chunk.truncate(size);
    if (m_toolInput.isOpen() && stream == ToolStream::Output && chunk == "waiting\n") {
        endAsWaiting();
    } else {
        take(stream, chunk);
    }
    return true;
}

void ToolProcess::take(ToolStream stream, const QByteArray &chunk)
{
    m_watch.sawOutput();
    const qsizetype limit = qsizetype{m_rules.outputLimit} << 20;
    const qsizetype room = limit - m_printed;
    m_printed += chunk.size();
    deliver(stream, chunk.left(room));
    if (chunk.size() > room) {
        end({.ending = Ending::Hung,
             .cause =
                 QStringLiteral("printed more than %1 MB and was ended").arg(m_rules.outputLimit)});
    } else {
        endIfDue();
    }
}

void ToolProcess::deliver(ToolStream stream, const QByteArray &chunk)
{
    if (m_receiver) {
        m_receiver(stream, chunk);
    } else {
        (stream == ToolStream::Output ? m_report.output : m_report.errors) += chunk;
    }
}

void ToolProcess::endIfDue()
{
    if (m_rules.isCancelled && m_rules.isCancelled()) {
        end({.ending = Ending::Stopped});
    } else if (m_deadline.hasExpired()) {
        end({.ending = Ending::Hung,
             .cause = QStringLiteral("did not end within %1 s").arg(m_rules.timeout)});
    }
}

void ToolProcess::enforceRules()
{
    endIfDue();
    if (!m_isOver && isHung()) {
        end({.ending = Ending::Hung});
    }
}

// Output that nobody has read yet is a sign of life, too.
bool ToolProcess::isHung()
{
    const qsizetype seen =
        m_printed + unreadBytes(m_output.handle.get()) + unreadBytes(m_errors.handle.get());
    if (m_isSuspended || std::exchange(m_seen, seen) != seen) {
        m_watch.sawOutput();
    }
    quint64 ticks = 0;
    for (const ChildProcess &tool : m_tools) {
        ticks += tool.processorTicks();
    }
    return m_watch.isHung(ticks);
}

bool ToolProcess::hasExited()
{
    return !m_isOver && !m_tools.back().isRunning();
}

void ToolProcess::finish()
{
    drain(ToolStream::Errors);
    drain(ToolStream::Output);
    if (!m_isOver) {
        end(m_tools.back().outcome());
    }
}

void ToolProcess::drain(ToolStream stream)
{
    for (int chunk = 0; chunk < drainedChunks && !m_isOver && read(stream); ++chunk) {
    }
}

// What the tool printed before it began to wait is in the pipe.
void ToolProcess::endAsWaiting()
{
    drain(ToolStream::Errors);
    if (m_isOver) {
        return;
    }
    m_waiting.emplace(WaitingTool{std::move(m_tools.back()), std::move(m_toolInput),
                                  std::move(m_output.handle), std::move(m_errors.handle)});
    m_tools.clear();
    end({.ending = Ending::Exited});
}

void ToolProcess::stop()
{
    end({.ending = Ending::Stopped});
}

void ToolProcess::end(const ToolOutcome &outcome)
{
    if (m_isOver) {
        return;
    }
    m_isOver = true;
    m_report.outcome = outcome;
    resume();
    for (ChildProcess &tool : m_tools) {
        if (tool.isRunning()) {
            tool.sendSignal(SIGKILL);
        }
    }
}

void ToolProcess::suspend()
{
    if (!std::exchange(m_isSuspended, true)) {
        std::for_each(m_tools.rbegin(), m_tools.rend(),
                      [](ChildProcess &tool) { tool.sendSignal(SIGSTOP); });
    }
}

void ToolProcess::resume()
{
    if (std::exchange(m_isSuspended, false)) {
        for (ChildProcess &tool : m_tools) {
            tool.sendSignal(SIGCONT);
        }
        m_watch.sawOutput();
    }
}

} // namespace qv
