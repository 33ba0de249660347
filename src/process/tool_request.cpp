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

// Input options stand before their input: ffmpeg ... -i SOURCE -i SOURCE ...
QStringList withoutLists(const QStringList &command)
{
    const QStringList lists{
        QStringLiteral("-protocol_whitelist"), QString::fromLatin1(openableProtocols),
        QStringLiteral("-format_whitelist"), QString::fromLatin1(openableFormats)};
    QStringList guarded;
    for (const QString &argument : command) {
        if (argument == QLatin1String("-i") && !guarded.isEmpty()) {
            guarded += lists;
        }
        guarded += argument;
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
