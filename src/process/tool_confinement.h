#pragma once

#include "process/child_process.h"
#include "process/tool_access.h"

#include <QString>

#include <tl/expected.hpp>

#include <optional>

// Takes from a tool what it has no use for, so that a source that takes control of a decoder gains
// nothing: files other than the source's, sockets, other processes, changes of what permissions and
// times of files say. By Landlock and a system call filter, on Linux; where the kernel has only one
// of them, that one does its part.
namespace qv
{

// On at first, unless QUORVANTEL_CONFINEMENT is "off".
bool isConfinementOn();
void setConfinementOn(bool on);

// What confines tools here, for the log: "landlock 7, no network", "off", "not offered by this
// system". The first call tries it out.
QString confinementText();
void logConfinement();
// What the kernel does not offer of it, for people; a null text when all is there, and when
// confinement is off.
QString confinementGap();

// One tool's confinement. Made by the application, entered by the tool's process.
class Confinement
{
public:
    // The system's error number when it can't be made: the tool must not run then.
    static tl::expected<Confinement, int> make(const ToolAccess &access);
    // For the rest of the calling process's life. Only system calls, so it may run between clone
    // and exec. False: errno says why, and the tool must not run.
    bool enter() const;

private:
    std::optional<FileDescriptor> m_ruleset;
    bool m_isFiltered = false;
    bool m_mayStartProcesses = false;
};

} // namespace qv
