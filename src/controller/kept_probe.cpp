#include "controller/kept_probe.h"

#include "process/tool_environment.h"
#include "support/files.h"

#include <utility>

namespace qv
{
namespace
{

// quickThumbs -probe SOURCE ...
const QString probeOption = QStringLiteral("-probe");
// quickThumbs -i SOURCE ...
const QString picturesOption = QStringLiteral("-i");

bool isQuickTool(const QStringList &command, const QString &option)
{
    return command.size() > 2 && command.at(1) == option &&
           lastPathComponent(command.at(0)) == QLatin1String("quickThumbs");
}

} // namespace

bool KeptProbe::mayStay(const QStringList &command) const
{
    return m_isAllowed && isQuickTool(command, probeOption);
}

QStringList KeptProbe::stayingCommand(const QStringList &command)
{
    return command + QStringList{QStringLiteral("-stay")};
}

void KeptProbe::keep(const QStringList &command, std::optional<WaitingTool> tool)
{
    m_program = command.value(0);
    m_source = command.value(2);
    m_tool = std::move(tool);
}

std::optional<WaitingTool> KeptProbe::takeFor(const QStringList &command,
                                              const QString &outputFolder)
{
    std::optional<WaitingTool> tool = std::exchange(m_tool, std::nullopt);
    // What it may write to was settled at its start.
    const bool isWritable = outputFolder.startsWith(toolFolder() + u'/');
    const bool isForIt = isQuickTool(command, picturesOption) && command.at(0) == m_program &&
                         command.at(2) == m_source;
    return isForIt && isWritable ? std::move(tool) : std::nullopt;
}

} // namespace qv
