#include "cli/job_pool.h"

#include "cli/worker_protocol.h"
#include "support/log.h"
#include "support/platform.h"

#include <algorithm>

namespace qv
{
namespace
{

constexpr int failedStartsLimit = 3;
constexpr int deathsLimit = 10;

} // namespace

JobPool::JobPool(QStringList command, int size)
    : m_command(std::move(command)), m_size(static_cast<size_t>(size)), m_places(m_size)
{
}

bool JobPool::hasRoom() const
{
    const bool isAnyFree = std::any_of(m_workers.begin(), m_workers.end(),
                                       [](const auto &worker) { return !worker->job; });
    return !m_isEnding && m_waiting.empty() && (isAnyFree || m_workers.size() < m_size);
}

void JobPool::give(Job job)
{
    m_waiting.push_back(std::move(job));
    handOut();
}

QList<qsizetype> JobPool::inProgress() const
{
    QList<qsizetype> numbers;
    for (const auto &worker : m_workers) {
        if (worker->job) {
            numbers.append(worker->job->number);
        }
    }
    std::sort(numbers.begin(), numbers.end());
    return numbers;
}

void JobPool::close()
{
    m_isEnding = true;
    for (const auto &worker : m_workers) {
        worker->process->close();
    }
}

void JobPool::stop()
{
    m_isEnding = true;
    for (const auto &worker : m_workers) {
        worker->process->stop();
    }
}

std::optional<QString> JobPool::failure() const
{
    return m_workers.empty() && m_size == 0 ? std::optional(m_startFailure) : std::nullopt;
}

bool JobPool::keepsDying() const
{
    return m_deathsOverJobs >= deathsLimit;
}

JobPool::Worker *JobPool::freeWorker()
{
    const auto found = std::find_if(m_workers.begin(), m_workers.end(),
                                    [](const auto &worker) { return !worker->job; });
    return found == m_workers.end() ? nullptr : found->get();
}

void JobPool::handOut()
{
    while (!m_waiting.empty() && !m_isEnding) {
        Worker *worker = freeWorker();
        if (worker == nullptr) {
            if (m_workers.size() >= m_size || !startWorker()) {
                return;
            }
            continue;
        }
        worker->job = std::move(m_waiting.front());
        m_waiting.pop_front();
        worker->process->send(worker->job->request);
    }
}

int JobPool::freePlace() const
{
    int place = 0;
    const auto isTaken = [&](const auto &worker) { return worker->place == place; };
    while (std::any_of(m_workers.begin(), m_workers.end(), isTaken)) {
        ++place;
    }
    return place;
}

bool JobPool::startWorker()
{
    const int place = freePlace();
    // A tool that counts the processors takes its share of them, not all again for each copy.
    const platform::ProcessorShare share(place, static_cast<int>(m_places));
    auto process = WorkerProcess::start(m_command);
    if (!process) {
        m_failedStarts = failedStartsLimit;
        noteStartFailure(qt_error_string(process.error()));
        return false;
    }
    auto worker = std::make_unique<Worker>();
    worker->place = place;
    worker->process = std::move(*process);
    worker->process->onLine = [this, w = worker.get()](const QByteArray &line) { heard(*w, line); };
    worker->process->onEnded = [this, w = worker.get()](const ToolOutcome &how) { ended(*w, how); };
    logLine(QStringLiteral("worker              : process %1").arg(worker->process->pid()));
    m_workers.push_back(std::move(worker));
    return true;
}

// Those that run go on; no further one is tried.
void JobPool::noteStartFailure(const QString &reason)
{
    m_startFailure = reason;
    logLine(QStringLiteral("worker              :-( not started: ") + reason);
    if (m_failedStarts >= failedStartsLimit) {
        m_size = m_workers.size();
    }
    if (m_workers.empty() && m_size == 0) {
        QMetaObject::invokeMethod(
            this, [this] { onChange(); }, Qt::QueuedConnection);
    }
}

void JobPool::heard(Worker &worker, const QByteArray &line)
{
    if (!worker.isReady) {
        worker.isReady = isReady(line);
        worker.problem = problemIn(line);
        m_failedStarts = worker.isReady ? 0 : m_failedStarts;
        return;
    }
    if (!worker.job) {
        return;
    }
    m_deathsOverJobs = 0;
    const qsizetype number = worker.job->number;
    worker.job.reset();
    onAnswer(number, line);
    handOut();
    onChange();
}

void JobPool::ended(Worker &worker, const ToolOutcome &outcome)
{
    const auto job = std::exchange(worker.job, {});
    const QString how = worker.problem.isEmpty() ? outcomeText(outcome) : worker.problem;
    const bool wasReady = worker.isReady;
    remove(worker);
    m_lastDeath = how;
    if (wasReady && job && !m_isEnding) {
        logLine(QStringLiteral("worker              :-( ") + how);
        ++m_deathsOverJobs;
        onLost(job->number, how);
    } else if (!wasReady && !m_isEnding) {
        if (job) {
            m_waiting.push_front(*job);
        }
        ++m_failedStarts;
        noteStartFailure(how);
    }
    handOut();
    onChange();
}

// From within its own notice, so it goes a turn later.
void JobPool::remove(const Worker &worker)
{
    const auto found = std::find_if(m_workers.begin(), m_workers.end(),
                                    [&](const auto &each) { return each.get() == &worker; });
    m_gone.push_back(std::move((*found)->process));
    m_workers.erase(found);
    QMetaObject::invokeMethod(
        this, [this] { m_gone.clear(); }, Qt::QueuedConnection);
}

} // namespace qv
