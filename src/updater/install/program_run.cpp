#include "updater/install/program_run.h"

#include "process/blocking_run.h"
#include "process/tool_environment.h"

namespace qv
{

ToolReport runProgram(const QStringList &command, const std::atomic<bool> &isCancelled)
{
    if (isCancelled) {
        return {{.ending = ToolOutcome::Ending::Stopped}};
    }
    SpawnRequest program;
    program.command = command;
    program.environment = applicationEnvironment();
    auto tool = ToolProcess::start(
        {{program}, ErrorText::Merged},
        {.outputLimit = 1, .timeout = 120, .isCancelled = [&] { return isCancelled.load(); }});
    if (!tool) {
        return {tool.error().outcome()};
    }
    waitForTool(*tool, RunUntil::ToolExits);
    return tool->report();
}

QString programEndText(const ToolOutcome &outcome)
{
    return outcome.error != 0 ? qt_error_string(outcome.error) : outcomeText(outcome);
}

} // namespace qv
