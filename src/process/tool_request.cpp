#include "process/tool_request.h"

#include "process/tool_confinement.h"
#include "process/tool_environment.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/media_formats.h"

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

// Opens nothing from outside. It also updates the user's list of the movie framework's plug-ins,
// which confined runs only read.
bool asksAboutTheTool(const QStringList &command)
{
    return command.size() == 2 && command.last() == QLatin1String("-decoders");
}

bool isFfmpeg(const QString &executable)
{
    return lastPathComponent(executable) == QLatin1String("ffmpeg");
}

// Input options stand before the input: ffmpeg ... -i SOURCE ...
QStringList withoutLists(const QStringList &command)
{
    QStringList guarded = command;
    if (const qsizetype input = command.indexOf(QLatin1String("-i")); input > 0) {
        for (const QString &option :
             {QString::fromLatin1(openableFormats), QStringLiteral("-format_whitelist"),
              QString::fromLatin1(openableProtocols), QStringLiteral("-protocol_whitelist")}) {
            guarded.insert(input, option);
        }
    }
    return guarded;
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
    if (isFfmpeg(command.first())) {
        request.command = withoutLists(command);
    }
    if (isConfinementOn()) {
        request.environment = confinedEnvironment();
    }
    request.bounds->access = accessFor(command, outputFolder);
    return request;
}

} // namespace qv
