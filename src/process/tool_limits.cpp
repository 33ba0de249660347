#include "process/tool_limits.h"

#include <algorithm>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>

namespace qv
{
namespace
{

// Seconds for a tool that catches the first warning.
constexpr rlim_t processorGrace = 5;

bool lower(decltype(RLIMIT_CPU) resource, rlim_t soft, rlim_t hard)
{
    rlimit limit{};
    if (::getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, hard);
    limit.rlim_cur = std::min({limit.rlim_cur, soft, limit.rlim_max});
    return ::setrlimit(resource, &limit) == 0;
}

bool lower(decltype(RLIMIT_CPU) resource, rlim_t limit)
{
    return lower(resource, limit, limit);
}

QString megabytes(quint64 bytes)
{
    return QString::number(bytes >> 20);
}

QString duration(quint64 seconds)
{
    return seconds % 3600 == 0 ? QStringLiteral("%1 h").arg(seconds / 3600)
                               : QStringLiteral("%1 s").arg(seconds);
}

// No signal tells of it: the tool is refused memory and gives up in its own way.
bool hasStarved(const ToolLimits &limits, int status, quint64 peakMemory)
{
    return status != 0 && peakMemory >= limits.memory / 4 * 3;
}

} // namespace

bool applyLimits(const ToolLimits &limits)
{
    return lower(RLIMIT_CORE, 0) && lower(RLIMIT_AS, limits.memory) &&
           lower(RLIMIT_CPU, limits.processorTime, limits.processorTime + processorGrace) &&
           lower(RLIMIT_FSIZE, limits.fileSize);
}

QString limitMet(const ToolLimits &limits, int status, quint64 peakMemory)
{
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    if (signal == SIGXFSZ) {
        return QStringLiteral("wrote a file of more than %1 MB").arg(megabytes(limits.fileSize));
    }
    if (signal == SIGXCPU) {
        return QStringLiteral("computed for more than %1 and was ended")
            .arg(duration(limits.processorTime));
    }
    if (hasStarved(limits, status, peakMemory)) {
        return QStringLiteral("used more than %1 MB of memory").arg(megabytes(limits.memory));
    }
    return {};
}

} // namespace qv
