#include "process/tool_run.h"

#include "process/argument_array.h"
#include "process/child_process.h"
#include "process/tool_environment.h"
#include "process/tool_request.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/log.h"
#include "support/shell_word.h"

#include <QStringDecoder>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <functional>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace qv
{
namespace
{

constexpr size_t readSize = 65536;

std::atomic<bool> g_interrupted = false;
thread_local std::optional<Cancellation> t_cancellation;

// Milliseconds, at most, until a run on another thread sees that it is to end.
constexpr int endingInterval = 100;

bool isToEnd()
{
    return g_interrupted || (t_cancellation && t_cancellation->isCancelled());
}

// One read; nothing at the end of the stream.
std::optional<QByteArray> readChunk(int fd)
{
    QByteArray chunk(readSize, Qt::Uninitialized);
    ssize_t n = 0;
    do {
        n = ::read(fd, chunk.data(), readSize);
    } while (n < 0 && errno == EINTR);
    if (n <= 0) {
        return std::nullopt;
    }
    chunk.truncate(n);
    return chunk;
}

bool waitForInput(int fd, int milliseconds)
{
    pollfd request{fd, POLLIN, 0};
    return ::poll(&request, 1, milliseconds) > 0;
}

// In the pipe.
int waitingBytes(int fd)
{
    int bytes = 0;
    return ::ioctl(fd, FIONREAD, &bytes) == 0 ? bytes : 0;
}

// The processes of one blocking run.
class BlockingRun
{
public:
    // False (logged) when the tool can't be started; the caller then gives nothing.
    bool start(const SpawnRequest &request)
    {
        auto child = ChildProcess::spawn(request);
        if (!child) {
            logLine(QStringLiteral("task                :-( %1: %2")
                        .arg(request.command.value(0), child.error().text()));
            return false;
        }
        m_children.push_back(std::move(*child));
        return true;
    }

    void readToEnd(int fd, const std::function<void(const QByteArray &)> &take)
    {
        // Once killed it is not waited for: a child of the tool may hold the stream open for ever.
        qsizetype total = 0;
        while (true) {
            if (!waitForInput(fd, std::min(IdleWatch::askInterval(), endingInterval))) {
                if (killIfNeeded()) {
                    return;
                }
                continue;
            }
            const auto chunk = readChunk(fd);
            if (!chunk) {
                return;
            }
            m_watch.sawOutput();
            take(*chunk);
            total += chunk->size();
            if (isToEnd() || total > toolOutputLimit) {
                kill();
                return;
            }
        }
    }

    QByteArray readToEnd(int fd)
    {
        QByteArray output;
        readToEnd(fd, [&](const QByteArray &chunk) { output += chunk; });
        return output;
    }

    // What it prints stays in the pipe, but is a sign of life.
    void waitForEnd(int fd)
    {
        int printed = 0;
        for (int wait = 1; m_children.back().isRunning(); wait = std::min(wait * 2, 50)) {
            ::poll(nullptr, 0, wait);
            if (const int before = std::exchange(printed, waitingBytes(fd)); printed != before) {
                m_watch.sawOutput();
            }
            killIfNeeded();
        }
    }

private:
    bool killIfNeeded()
    {
        quint64 ticks = 0;
        for (const ChildProcess &child : m_children) {
            ticks += child.processorTicks();
        }
        if (!m_watch.isHung(ticks) && !isToEnd()) {
            return false;
        }
        kill();
        return true;
    }

    void kill()
    {
        logLine(QStringLiteral("task                :-( hung, endless or interrupted, killed"));
        for (ChildProcess &child : m_children) {
            child.sendSignal(SIGKILL);
        }
        m_watch.sawOutput();
    }

    std::vector<ChildProcess> m_children;
    IdleWatch m_watch;
};

// Null unless the bytes are UTF-8.
QString decodedUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    return decoder.hasError() ? QString() : text;
}

QString outputText(const QByteArray &bytes)
{
    const QString text = decodedUtf8(bytes);
    for (const char *blank : {"", " ", "\n", " \n"}) {
        if (text == QLatin1String(blank)) {
            return {};
        }
    }
    return text;
}

// The tools of a one-pipe run, or nothing when the array can't be run.
struct OnePipe {
    QStringList first;
    QStringList second;
};

std::optional<OnePipe> onePipe(const QStringList &arguments)
{
    OnePipe tools;
    tools.first.append(expandedArgument(arguments.first()));
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (arguments.at(i) != QLatin1String("|")) {
            (tools.second.isEmpty() ? tools.first : tools.second)
                .append(expandedArgument(arguments.at(i)));
            continue;
        }
        if (!tools.second.isEmpty()) {
            alertReport(
                QStringLiteral("taskArray1PipeMax is limited to one pipe only (actually) :-("),
                arguments.join(QLatin1Char(' ')), 2, AlertPlace::ApplicationModal);
            return std::nullopt;
        }
        if (++i == arguments.size() || !fileExists(expandedArgument(arguments.at(i)))) {
            return std::nullopt;
        }
        tools.second.append(expandedArgument(arguments.at(i)));
    }
    // A tool is never run bare.
    return tools.first.size() < 2 ? std::nullopt : std::optional(tools);
}

// The first tool sees an open, silent input rather than the application's.
struct OnePipeEnds {
    Pipe silence = Pipe::create();
    Pipe between = Pipe::create();
    Pipe result = Pipe::create();

    bool areOpen() const
    {
        return silence.readEnd.isOpen() && between.readEnd.isOpen() && result.readEnd.isOpen();
    }
};

bool startTools(BlockingRun &run, const OnePipe &tools, OnePipeEnds &pipes, ErrorText errorText)
{
    const int error = errorText == ErrorText::Merged ? pipes.result.writeEnd.get() : -1;
    const bool isPiped = !tools.second.isEmpty();
    SpawnRequest first = toolRequest(tools.first);
    first.standardInput = pipes.silence.readEnd.get();
    first.standardOutput = (isPiped ? pipes.between : pipes.result).writeEnd.get();
    first.standardError = isPiped ? -1 : error;
    if (!run.start(first)) {
        return false;
    }
    pipes.between.writeEnd.close();
    SpawnRequest second = toolRequest(tools.second);
    second.environment = applicationEnvironment();
    second.standardInput = pipes.between.readEnd.get();
    second.standardOutput = pipes.result.writeEnd.get();
    second.standardError = error;
    return !isPiped || run.start(second);
}

// The folder that a command line is to work in; empty: the application's.
QString enteredFolder(const QString &wanted)
{
    if (wanted.isEmpty() || !fileExists(wanted)) {
        return {};
    }
    const QString folder = expandTilde(wanted);
    logLine(QStringLiteral("cd : %1").arg(folder));
    return folder;
}

// One read of what the pipe holds by now: this is for answers that fit into its buffer.
QString shortAnswer(int fd)
{
    const bool isThere = waitForInput(fd, 0);
    QString text = decodedUtf8(isThere ? readChunk(fd).value_or(QByteArray()) : QByteArray());
    if (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
    return text;
}

// What the blocking runner's thread works on; process-wide, hence one run at a time.
struct BlockingRunnerSlots {
    QStringList arguments;
    QString text;
    std::optional<Cancellation> cancellation; // of the thread that waits
};
BlockingRunnerSlots &runnerSlots()
{
    static BlockingRunnerSlots instance;
    return instance;
}

// The part of a chunk before its first zero byte.
QString eightBitText(const QByteArray &chunk)
{
    const qsizetype zero = chunk.indexOf('\0');
    return QString::fromLatin1(zero < 0 ? chunk : chunk.left(zero));
}

void *runShellOnThread(void *inputReadEnd)
{
    BlockingRunnerSlots &shared = runnerSlots();
    t_cancellation = shared.cancellation;
    Pipe output = Pipe::create();
    BlockingRun run;
    const QStringList command =
        QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c")} + shared.arguments;
    const int out = output.writeEnd.get();
    if (!output.readEnd.isOpen() ||
        !run.start(
            {command, applicationEnvironment(), *static_cast<int *>(inputReadEnd), out, out, {}})) {
        return nullptr;
    }
    output.writeEnd.close();
    run.readToEnd(output.readEnd.get(), [&](const QByteArray &chunk) {
        shared.text += eightBitText(chunk);
        logLine(QStringLiteral("str release"));
    });
    return nullptr;
}

} // namespace

QString taskArray1PipeMax(const QStringList &arguments, ErrorText errorText)
{
    logLine(QStringLiteral("taskArray1PipeMax   - deb"));
    if (arguments.isEmpty() || !fileExists(arguments.first())) {
        return {};
    }
    const auto tools = onePipe(arguments);
    if (!tools) {
        return {};
    }
    OnePipeEnds pipes;
    BlockingRun run;
    if (!pipes.areOpen() || !startTools(run, *tools, pipes, errorText)) {
        return {};
    }
    pipes.between.readEnd.close();
    pipes.result.writeEnd.close();
    return outputText(run.readToEnd(pipes.result.readEnd.get()));
}

QString taskArrayPipes(const QStringList &arguments)
{
    logLine(QStringLiteral("taskArrayPipes      - deb"));
    if (arguments.isEmpty() || !fileExists(arguments.first())) {
        return {};
    }
    const auto groups = splitPipeline(arguments);
    if (!groups) {
        return {};
    }
    for (const QStringList &group : *groups) {
        if (!fileExists(group.first())) {
            logLine(
                QStringLiteral("taskArrayPipes      :-( tool !present '%1'").arg(group.first()));
            return {};
        }
    }
    BlockingRun run;
    FileDescriptor input;
    for (qsizetype i = 0; i < groups->size(); ++i) {
        Pipe output = Pipe::create();
        const bool last = i + 1 == groups->size();
        SpawnRequest request = toolRequest(groups->at(i));
        request.standardInput = input.get();
        request.standardOutput = output.writeEnd.get();
        request.standardError = last ? output.writeEnd.get() : -1;
        if (!output.readEnd.isOpen() || !run.start(request)) {
            return {};
        }
        input = std::move(output.readEnd);
    }
    return outputText(run.readToEnd(input.get()));
}

QString taskWithStr(const QString &commandLine, const QString &workingFolder)
{
    Pipe result = Pipe::create();
    if (!result.readEnd.isOpen()) {
        return {};
    }
    BlockingRun run;
    if (!run.start({{QStringLiteral("/bin/sh"), QStringLiteral("-c"), commandLine},
                    toolEnvironment(),
                    -1,
                    result.writeEnd.get(),
                    -1,
                    enteredFolder(workingFolder)})) {
        return {};
    }
    result.writeEnd.close();
    run.waitForEnd(result.readEnd.get());
    const QString text = shortAnswer(result.readEnd.get());
    if (!text.isNull() && text.isEmpty()) {
        logLine(QStringLiteral("stringOutput        :-/ '%1'").arg(text));
    }
    return text.isEmpty() ? QString() : text;
}

bool isStringSafe4Task(const QString &text)
{
    if (text.isNull()) {
        return false;
    }
    if (text == QLatin1String("|")) {
        return true;
    }
    for (const QChar unsafe : QStringLiteral(" ()&`><")) {
        if (text.contains(unsafe)) {
            return false;
        }
    }
    // The echo only serves the trace; whatever it says, the answer is no.
    if (isDebug()) {
        const QString echoed =
            taskWithStr(QStringLiteral("/bin/echo %1 2>&1").arg(shellWord(text)), QString());
        if (echoed == text) {
            logLine(QStringLiteral("isStringSafe4TaskWit:-( '%1' > '%2'").arg(text, echoed));
        }
    }
    return false;
}

QString taskBloquante::verbose(const QStringList &arguments)
{
    logLine(QStringLiteral("verboseStr argsArray : %1").arg(arguments.join(QLatin1Char(' '))));
    BlockingRunnerSlots &shared = runnerSlots();
    shared = {arguments, {}, t_cancellation};
    Pipe input = Pipe::create();
    int inputEnd = input.readEnd.get();
    pthread_t thread{};
    if ((errno = ::pthread_create(&thread, nullptr, runShellOnThread, &inputEnd)) != 0) {
        std::perror("pthread_create failed");
        return {};
    }
    if ((errno = ::pthread_join(thread, nullptr)) != 0) {
        std::perror("pthread_join failed");
        return {};
    }
    QString text = std::exchange(shared, {}).text;
    if (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
    logLine(QStringLiteral("newstr def : %1").arg(text));
    return text.isEmpty() ? QString() : text;
}

void setBlockingRunsInterrupted(bool interrupted)
{
    g_interrupted = interrupted;
}

CancellableRuns::CancellableRuns(Cancellation cancellation)
    : m_before(std::exchange(t_cancellation, std::move(cancellation)))
{
}

CancellableRuns::~CancellableRuns()
{
    t_cancellation = std::move(m_before);
}

} // namespace qv
