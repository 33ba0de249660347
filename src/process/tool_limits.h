#pragma once

#include "process/tool_access.h"
#include "support/sanitized.h"

#include <QString>

#include <limits>
#include <optional>

// What one tool may use of the machine. Honest sources stay far below; one that is made to exhaust
// the machine, or that meets an endless loop in a decoder, ends its own tool only.
namespace qv
{

struct ToolLimits {
    // Bytes of address space, which is more than what is really used: ffmpeg takes 3.3 GB for 8K by
    // the 16 threads that it starts at most, 6 GB by 64.
    quint64 memory = isSanitized ? std::numeric_limits<quint64>::max() : quint64{16} << 30;
    // Seconds, of all threads together: a film of four hours that can't be sought and is decoded
    // from its start for the last picture takes a part of it.
    quint64 processorTime = 12 * 3600;
    // Bytes of one file: ten decoded frames of 8K are half a gigabyte.
    quint64 fileSize = quint64{4} << 30;
};

// What a tool is held to.
struct ToolBounds {
    ToolLimits limits;
    std::optional<ToolAccess> access; // nothing: it isn't confined
};

// Sets the limits, and that no core is dumped, for the calling process; never above what holds
// already. Nothing but system calls, so it may run between clone and exec. False: errno says why.
bool applyLimits(const ToolLimits &limits);

// In words for people, which limit a run met: "wrote a file of more than 4096 MB". Empty when it
// met none. `status` is that of waitpid, `peakMemory` in bytes.
QString limitMet(const ToolLimits &limits, int status, quint64 peakMemory);

} // namespace qv
