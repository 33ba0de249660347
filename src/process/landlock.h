#pragma once

#include "process/child_process.h"
#include "process/tool_access.h"

#include <tl/expected.hpp>

// Landlock: what files a process and its children may open, decided by the process itself
// (Linux, landlock(7)).
namespace qv::landlock
{

// The version of the kernel's interface; 0 when the kernel has none or refuses it.
int version();

// A set of rules for enter(), or the system's error number. Files and folders that are missing are
// left out; so are those that the application itself may not reach.
tl::expected<FileDescriptor, int> makeRuleset(const ToolAccess &access);

// Restricts the calling thread, and what it starts, for the rest of its life; after
// PR_SET_NO_NEW_PRIVS. One system call, so it may run between clone and exec. False: errno says
// why.
bool enter(const FileDescriptor &ruleset);

} // namespace qv::landlock
