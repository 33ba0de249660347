#include "published/shell_run.h"

#include "process/blocking_run.h"
#include "process/cancellation.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/log.h"
#include "support/shell_word.h"

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
    QString text = textOfOutput(tool->report().output);
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
