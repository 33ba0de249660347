#include "process/tool_run.h"

#include "process/argument_array.h"
#include "process/blocking_run.h"
#include "process/tool_environment.h"
#include "process/tool_request.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/log.h"

#include <optional>
#include <utility>

namespace qv
{
namespace
{

QString outputText(const QByteArray &bytes)
{
    const QString text = textOfOutput(bytes);
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

} // namespace qv
