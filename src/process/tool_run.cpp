#include "process/tool_run.h"

#include "process/argument_array.h"
#include "process/blocking_run.h"
#include "process/tool_environment.h"
#include "process/tool_request.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/log.h"
#include "support/shell_word.h"

#include <QStringDecoder>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <poll.h>
#include <pthread.h>
#include <utility>

namespace qv
{
namespace
{

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

// Gets "nothing" when the tools can't be started.
QString outputText(const ToolCommand &command)
{
    return outputText(outputOfTool(command).value_or(QByteArray()));
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

// Doesn't read meanwhile: this is for answers that fit into the pipe's buffer.
void waitForExit(ToolProcess &tool)
{
    for (int wait = 1; !tool.isOver() && !tool.hasExited(); wait = std::min(wait * 2, 50)) {
        ::poll(nullptr, 0, wait);
        tool.enforceRules();
    }
    if (tool.isOver()) {
        logEarlyEnd();
    }
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
    const CancellableRuns runs(shared.cancellation.value_or(Cancellation()));
    SpawnRequest shell;
    shell.command = QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c")} + shared.arguments;
    shell.environment = applicationEnvironment();
    shell.standardInput = *static_cast<int *>(inputReadEnd);
    outputOfTool({{shell}, ErrorText::Merged}, [&](ToolStream, const QByteArray &chunk) {
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
    // The first tool sees an open, silent input rather than the application's.
    const Pipe silence = Pipe::create();
    if (!silence.readEnd.isOpen()) {
        return {};
    }
    ToolCommand command{{toolRequest(tools->first)}, errorText};
    command.tools.front().standardInput = silence.readEnd.get();
    if (!tools->second.isEmpty()) {
        command.tools.push_back(toolRequest(tools->second));
        command.tools.back().environment = applicationEnvironment();
    }
    return outputText(command);
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
    ToolCommand command;
    for (const QStringList &group : *groups) {
        command.tools.push_back(toolRequest(group));
    }
    return outputText(command);
}

QString taskWithStr(const QString &commandLine, const QString &workingFolder)
{
    SpawnRequest shell;
    shell.command = {QStringLiteral("/bin/sh"), QStringLiteral("-c"), commandLine};
    shell.environment = toolEnvironment();
    shell.workingFolder = enteredFolder(workingFolder);
    auto tool = startBlockingTool({{shell}, ErrorText::Inherited});
    if (!tool) {
        return {};
    }
    waitForExit(*tool);
    tool->read(ToolStream::Output);
    QString text = decodedUtf8(tool->report().output);
    if (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
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
    shared = {arguments, {}, currentCancellation()};
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

} // namespace qv
