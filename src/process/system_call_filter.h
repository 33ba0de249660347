#pragma once

// What a confined tool may not ask of the kernel, whatever Landlock's version: sockets and shared
// segments, changes of files that need no permission to write them (mode, owner, times, attributes,
// length), signals to and limits for other processes, leaving its process group, new processes,
// mounts and the like, and typing into the user's terminal. Such a call fails with EACCES or EPERM.
namespace qv
{

class SystemCallFilter
{
public:
    // For the rest of the calling thread's life, after PR_SET_NO_NEW_PRIVS. Only system calls, so
    // it may run between clone and exec. False: errno says why; ENOSYS on processors whose call
    // numbers are unknown here. Threads may be started either way.
    static bool enter(bool mayStartProcesses);
};

} // namespace qv
