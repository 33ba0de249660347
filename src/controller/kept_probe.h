#pragma once

#include "process/task_launcher.h"

#include <QString>
#include <QStringList>

#include <optional>

namespace qv
{

// The quick tool that has described a source and waits to take its pictures, too: a start of the
// tool costs more processor time than the pictures of a short clip.
class KeptProbe
{
public:
    // Whether the key pictures of a source are taken as soon as it is analysed. Without it no tool
    // stays.
    void setAllowed(bool isAllowed) { m_isAllowed = isAllowed; }

    bool mayStay(const QStringList &command) const;
    // The command with the wish to stay.
    static QStringList stayingCommand(const QStringList &command);
    // Keeps the tool that was started by the command, if it waits.
    void keep(const QStringList &command, std::optional<WaitingTool> tool);

    // The tool if it can do this command: pictures of the source that it has described, in a folder
    // that it may write to. Any other one that waits is ended.
    std::optional<WaitingTool> takeFor(const QStringList &command, const QString &outputFolder);
    void endTool() { m_tool.reset(); }

private:
    bool m_isAllowed = false;
    QString m_program;
    QString m_source;
    std::optional<WaitingTool> m_tool;
};

} // namespace qv
