#pragma once

#include <atomic>
#include <memory>
#include <optional>

// How blocking runs of tools are ended from elsewhere.
namespace qv
{

// While set, the blocking run in progress ends, and every later one as soon as it starts: the
// process is asked to stop. May be called from a signal handler.
void setBlockingRunsInterrupted(bool interrupted);

// Ends the blocking runs of one piece of work from another thread. Copies share their state.
class Cancellation
{
public:
    void cancel() { *m_isCancelled = true; }
    bool isCancelled() const { return *m_isCancelled; }

private:
    std::shared_ptr<std::atomic<bool>> m_isCancelled = std::make_shared<std::atomic<bool>>(false);
};

// While it exists, the blocking runs of this thread end when the cancellation is requested, and
// later ones as soon as they start.
class CancellableRuns
{
public:
    explicit CancellableRuns(Cancellation cancellation);
    ~CancellableRuns();
    CancellableRuns(const CancellableRuns &) = delete;
    CancellableRuns &operator=(const CancellableRuns &) = delete;

private:
    std::optional<Cancellation> m_before;
};

// The cancellation that holds on this thread, for a thread that continues its work.
std::optional<Cancellation> currentCancellation();

// Whether a blocking run of this thread is to end.
bool isBlockingRunCancelled();

} // namespace qv
