#include "process/tool_request.h"

#include "process/tool_confinement.h"
#include "process/tool_environment.h"
#include "support/bundle.h"
#include "support/files.h"

namespace qv
{
namespace
{

bool opensMedia(const QString &executable)
{
    const Bundle &bundle = Bundle::main();
    return executable == bundle.toolPath(lastPathComponent(executable)) ||
           executable == ffmpegPath();
}

// Asked what it can do, a tool opens nothing from outside, and the movie framework notes its
// plug-ins for the user as it does for every program. Runs that are confined only read that list.
bool asksAboutTheTool(const QStringList &command)
{
    return command.size() == 2 && command.last() == QLatin1String("-decoders");
}

} // namespace

SpawnRequest toolRequest(const QStringList &command, const QString &outputFolder)
{
    SpawnRequest request;
    request.command = command;
    request.environment = toolEnvironment();
    if (command.isEmpty() || !opensMedia(command.first())) {
        return request;
    }
    request.bounds = ToolBounds{};
    if (asksAboutTheTool(command)) {
        return request;
    }
    if (isConfinementOn()) {
        request.environment = confinedEnvironment();
    }
    request.bounds->writableFolders = {temporaryFolder()};
    if (!outputFolder.isEmpty()) {
        request.bounds->writableFolders->append(outputFolder);
    }
    return request;
}

} // namespace qv
