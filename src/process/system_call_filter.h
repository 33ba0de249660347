#pragma once

// What a confined tool may not ask of the kernel: sockets of any kind, and changes of files that
// need no permission to write them (mode, owner, times, attributes, length by name), nor typing
// into the user's terminal. Such a call fails with "permission denied".
namespace qv
{

class SystemCallFilter
{
public:
    // Whether this system has it; false on processors that we know no call numbers of.
    static bool isOffered();
    // For the rest of the calling process's life, after PR_SET_NO_NEW_PRIVS; true without doing
    // anything where it is not offered. Only system calls once isOffered() was asked.
    static bool enter();
};

} // namespace qv
