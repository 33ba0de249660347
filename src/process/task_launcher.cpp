#include "process/task_launcher.h"

#include "process/argument_array.h"
#include "process/tool_request.h"
#include "support/alerts.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/log.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace qv
{
namespace
{

constexpr qsizetype chunkSize = 65536;
// More than a pipe can hold.
constexpr int drainedChunks = 32;

// The executable as given, else a resource of that name in the bundle; empty when neither exists.
QString resolvedExecutable(const QString &element)
{
    if (fileExists(element)) {
        return element;
    }
    return Bundle::main().resource(withoutExtension(element), pathExtension(element));
}

// One read: empty at the end of the stream, null when it failed (errno says why).
QByteArray chunkOf(int fd)
{
    QByteArray chunk(chunkSize, Qt::Uninitialized);
    const ssize_t n = ::read(fd, chunk.data(), static_cast<size_t>(chunkSize));
    if (n < 0) {
        return {};
    }
    chunk.truncate(n);
    return chunk;
}

// Two connected sockets. Writing to a pipe whose reader has died would raise SIGPIPE.
struct SocketPair {
    FileDescriptor ours;
    FileDescriptor theirs;

    static SocketPair create()
    {
        int sockets[2] = {-1, -1};
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets);
        return {FileDescriptor(sockets[0]), FileDescriptor(sockets[1])};
    }
};

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

bool isAscii(const QByteArray &data)
{
    return std::none_of(data.begin(), data.end(),
                        [](char c) { return static_cast<unsigned char>(c) > 127; });
}

} // namespace

TaskBroadcast &TaskBroadcast::instance()
{
    static TaskBroadcast broadcast;
    return broadcast;
}

void TaskBroadcast::post(const QString &name, const std::shared_ptr<const int> &identifier)
{
    Q_EMIT posted(name, identifier);
}

taskLauncher::taskLauncher(QObject *parent) : QObject(parent)
{
    connect(&m_watchTimer, &QTimer::timeout, this, &taskLauncher::watch);
    connect(&m_exitTimer, &QTimer::timeout, this, &taskLauncher::pollForExit);
    m_exitTimer.setInterval(1);
}

taskLauncher::~taskLauncher()
{
    if (!m_tasks) {
        alertReport(QStringLiteral("taskLauncher.m :-( try to release a yet-released task"),
                    QString(), 0, AlertPlace::ApplicationModal);
    }
}

int taskLauncher::launchTasksWithArguments(const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        return NoArguments;
    }
    m_hasEnded = false;
    m_isSuspended = false;
    m_isRunning = true;
    const auto groups = splitPipeline(arguments);
    if (!groups) {
        return EmptyGroup;
    }
    QList<QStringList> resolved = *groups;
    m_tasks.emplace();
    for (QStringList &group : resolved) {
        group.first() = resolvedExecutable(group.first());
        if (group.first().isEmpty()) {
            return ToolNotFound;
        }
    }
    if (const int result = createTasks(resolved); result != Launched) {
        m_tasks->clear();
        return result;
    }
    startListening();
    return Launched;
}

void taskLauncher::startListening()
{
    startReading(m_stdErr);
    startReading(m_output);
    m_watch.sawOutput();
    m_watchTimer.start(IdleWatch::askInterval());
}

int taskLauncher::continueTool(WaitingTool tool, const QStringList &arguments)
{
    m_tasks.emplace();
    if (!tool.process.isRunning() || !sendArguments(tool.input, arguments)) {
        return CannotStart;
    }
    m_isRunning = true;
    m_tasks->push_back(std::move(tool.process));
    m_output.handle = std::move(tool.output);
    m_stdErr.handle = std::move(tool.error);
    startListening();
    return Launched;
}

// Each process writes into the next one's input; the last one's output and error text come here.
int taskLauncher::createTasks(const QList<QStringList> &groups)
{
    Pipe error = Pipe::create();
    FileDescriptor input;
    if (m_mayWait && groups.size() == 1) {
        SocketPair sockets = SocketPair::create();
        if (!sockets.ours.isOpen()) {
            return CannotStart;
        }
        m_toolInput = std::move(sockets.ours);
        input = std::move(sockets.theirs);
    }
    for (qsizetype i = 0; i < groups.size(); ++i) {
        Pipe output = Pipe::create();
        if (!output.readEnd.isOpen() || !error.readEnd.isOpen()) {
            return CannotStart;
        }
        const bool last = i + 1 == groups.size();
        SpawnRequest request = toolRequest(groups.at(i), m_outputFolder);
        request.standardInput = input.get();
        request.standardOutput = output.writeEnd.get();
        request.standardError = last ? error.writeEnd.get() : -1;
        auto child = ChildProcess::spawn(request);
        if (!child) {
            m_outcome.cause = child.error().text();
            logLine(QStringLiteral("taskLauncher        :-( %1: %2")
                        .arg(groups.at(i).first(), m_outcome.cause));
            return CannotStart;
        }
        m_tasks->push_back(std::move(*child));
        input = std::move(output.readEnd);
    }
    m_output.handle = std::move(input);
    m_stdErr.handle = std::move(error.readEnd);
    return Launched;
}

void taskLauncher::startReading(Stream &stream)
{
    const int fd = stream.handle.get();
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    stream.notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
    connect(stream.notifier.get(), &QSocketNotifier::activated, this,
            [this, &stream] { gotData(stream); });
}

void taskLauncher::gotData(Stream &stream)
{
    const QByteArray data = chunkOf(stream.handle.get());
    if (data.isNull() && (errno == EAGAIN || errno == EINTR)) {
        return;
    }
    if (data.isEmpty()) {
        atEndOfFile(stream);
        return;
    }
    if (isWaitingMark(stream, data)) {
        endAsWaiting();
        return;
    }
    m_watch.sawOutput();
    m_printed += data.size();
    if (m_printed > toolOutputLimit) {
        endEndless();
        return;
    }
    deliver(data);
}

void taskLauncher::endEndless()
{
    logLine(QStringLiteral("taskLauncher        :-( endless, killed"));
    m_outcome.cause =
        QStringLiteral("printed more than %1 MB and was ended").arg(toolOutputLimit >> 20);
    m_hung = true;
    tasklauncherTerminate();
}

void taskLauncher::deliver(const QByteArray &data)
{
    if (m_isRaw) {
        sendNotificationWithData(data);
        return;
    }
    // Not ASCII: dropped without a word.
    if (!isAscii(data)) {
        return;
    }
    sendNotificationWithString(QString::fromLatin1(data));
}

bool taskLauncher::isWaitingMark(const Stream &stream, const QByteArray &data) const
{
    return m_toolInput.isOpen() && &stream == &m_output && data == "waiting\n";
}

// What the tool has printed before it began to wait is in the pipe.
void taskLauncher::endAsWaiting()
{
    drain(m_stdErr);
    if (!m_isRunning) {
        return;
    }
    m_outcome.ending = ToolOutcome::Ending::Exited;
    m_hasEnded = true;
    stopListening();
    m_waiting.emplace(WaitingTool{std::move(m_tasks->back()), std::move(m_toolInput),
                                  std::move(m_output.handle), std::move(m_stdErr.handle)});
    m_tasks->clear();
    tasklauncherTerminate();
}

// A stream may close long before its process ends, and the process may end while the other stream
// still holds text. So the end of a stream only starts to ask for the process's end.
void taskLauncher::atEndOfFile(Stream &stream)
{
    stream.atEnd = true;
    stream.notifier->setEnabled(false);
    if (m_output.atEnd && m_stdErr.atEnd) {
        pollForExit();
    }
}

void taskLauncher::pollForExit()
{
    if (!m_tasks || m_alreadyNotified) {
        m_exitTimer.stop();
        return;
    }
    if (m_tasks->back().isRunning()) {
        m_exitTimer.start();
        return;
    }
    endNaturally();
}

// What is left in a stream after its process has gone. Whoever else holds it open is not waited
// for, nor read for ever.
void taskLauncher::drain(Stream &stream)
{
    for (int chunk = 0; chunk < drainedChunks && !stream.atEnd && m_isRunning; ++chunk) {
        const QByteArray data = chunkOf(stream.handle.get());
        if (data.isEmpty()) {
            return;
        }
        deliver(data);
    }
}

void taskLauncher::endNaturally()
{
    m_exitTimer.stop();
    drain(m_stdErr);
    drain(m_output);
    if (!m_isRunning) {
        return;
    }
    m_outcome = m_tasks->back().outcome();
    m_terminationStatus =
        m_outcome.ending == ToolOutcome::Ending::Crashed ? m_outcome.signal : m_outcome.exitCode;
    m_hasEnded = true;
    tasklauncherTerminate();
}

void taskLauncher::watch()
{
    if (!m_tasks || m_isSuspended) {
        m_watch.sawOutput();
        return;
    }
    if (!m_tasks->back().isRunning()) {
        endNaturally();
        return;
    }
    quint64 ticks = 0;
    for (const ChildProcess &task : *m_tasks) {
        ticks += task.processorTicks();
    }
    if (m_watch.isHung(ticks)) {
        logLine(QStringLiteral("taskLauncher        :-( hung, killed"));
        m_hung = true;
        tasklauncherTerminate();
    }
}

void taskLauncher::sendNotificationWithString(const QString &text)
{
    if (m_delegate != nullptr) {
        m_delegate->didReceiveNewString(*this, text);
    }
}

void taskLauncher::sendNotificationWithData(const QByteArray &data)
{
    if (m_delegate != nullptr) {
        m_delegate->didReceiveNewData(*this, data);
    }
}

void taskLauncher::stopListening()
{
    m_watchTimer.stop();
    m_exitTimer.stop();
    for (Stream *stream : {&m_output, &m_stdErr}) {
        if (stream->notifier) {
            stream->notifier->setEnabled(false);
        }
    }
    disconnect(&TaskBroadcast::instance(), nullptr, this, nullptr);
}

void taskLauncher::tasklauncherTerminate()
{
    m_isRunning = false;
    if (!m_tasks) {
        return;
    }
    stopListening();
    resume();
    for (ChildProcess &task : *m_tasks) {
        if (task.isRunning()) {
            task.sendSignal(SIGKILL);
        }
    }
    if (!m_hasEnded) {
        m_terminationStatus = killMark;
    }
    if (!m_hasEnded && !m_tasks->empty()) {
        m_outcome.ending = m_hung ? ToolOutcome::Ending::Hung : ToolOutcome::Ending::Stopped;
    }
    notifyThatTaskEnded();
}

void taskLauncher::notifyThatTaskEnded()
{
    if (m_delegate != nullptr && !m_alreadyNotified) {
        m_alreadyNotified = true;
        m_delegate->taskLauncherTaskDidEnd(*this);
    }
}

void taskLauncher::suspend()
{
    if (!m_tasks || m_isSuspended) {
        return;
    }
    std::for_each(m_tasks->rbegin(), m_tasks->rend(),
                  [](ChildProcess &task) { task.sendSignal(SIGSTOP); });
    m_isSuspended = true;
    if (m_delegate != nullptr) {
        m_delegate->taskLauncherTaskDidSuspend(*this);
    }
}

void taskLauncher::resume()
{
    if (!m_tasks || !m_isSuspended) {
        return;
    }
    for (ChildProcess &task : *m_tasks) {
        task.sendSignal(SIGCONT);
    }
    m_isSuspended = false;
    m_watch.sawOutput();
    if (m_delegate != nullptr) {
        m_delegate->taskLauncherTaskDidResume(*this);
    }
}

std::shared_ptr<const int> taskLauncher::uid()
{
    if (m_nuid) {
        return m_nuid;
    }
    m_nuid = std::make_shared<const int>(static_cast<int>(std::time(nullptr)));
    connect(&TaskBroadcast::instance(), &TaskBroadcast::posted, this,
            [this](const QString &name, const std::shared_ptr<const int> &identifier) {
                if (identifier != m_nuid) {
                    return;
                }
                if (name == QLatin1String("fabKillTasks")) {
                    tasklauncherTerminate();
                } else if (name == QLatin1String("fabPauseTasks")) {
                    suspend();
                } else if (name == QLatin1String("fabResumeTasks")) {
                    resume();
                }
            });
    return m_nuid;
}

} // namespace qv
