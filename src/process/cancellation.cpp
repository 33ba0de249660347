#include "process/cancellation.h"

#include <utility>

namespace qv
{
namespace
{

std::atomic<bool> g_interrupted = false;
thread_local std::optional<Cancellation> t_cancellation;

} // namespace

void setBlockingRunsInterrupted(bool interrupted)
{
    g_interrupted = interrupted;
}

CancellableRuns::CancellableRuns(Cancellation cancellation)
    : m_before(std::exchange(t_cancellation, std::move(cancellation)))
{
}

CancellableRuns::~CancellableRuns()
{
    t_cancellation = std::move(m_before);
}

std::optional<Cancellation> currentCancellation()
{
    return t_cancellation;
}

bool isBlockingRunCancelled()
{
    return g_interrupted || (t_cancellation && t_cancellation->isCancelled());
}

} // namespace qv
