#include "controller/tool_pool.h"

#include "support/log.h"

#include <algorithm>

namespace qv
{
namespace
{

// Bytes that are kept of a run's output: it may take as many pictures as a dozen runs of one each.
constexpr qsizetype keptOutput = 16 * tailLength;

} // namespace

ToolPool::~ToolPool()
{
    endAll();
}

void ToolPool::start(std::vector<QStringList> commands, int atOnce, const QString &outputFolder)
{
    m_runs.clear();
    for (QStringList &command : commands) {
        m_runs.push_back({std::move(command), nullptr, {}});
    }
    m_begun = 0;
    m_atOnce = static_cast<std::size_t>(std::max(atOnce, 1));
    m_outputFolder = outputFolder;
    m_isRunning = true;
    m_wasTerminated = false;
    startWaiting();
    // Not from inside of this call, when no tool could be started.
    QMetaObject::invokeMethod(this, &ToolPool::endIfAllHave, Qt::QueuedConnection);
}

QByteArray ToolPool::printedBy(std::size_t run) const
{
    return run < m_runs.size() && m_runs[run].tool ? m_runs[run].printed : QByteArray();
}

void ToolPool::startWaiting()
{
    while (!m_isSuspended && m_working < m_atOnce && m_begun < m_runs.size()) {
        launch(m_runs[m_begun++]);
    }
}

void ToolPool::launch(Run &run)
{
    run.tool = std::make_unique<taskLauncher>();
    run.tool->setDelegate(this);
    run.tool->setOutputFolder(m_outputFolder);
    run.tool->dontConvertDataToString(true);
    ++m_working;
    const int code = run.tool->launchTasksWithArguments(run.command);
    if (code != taskLauncher::Launched) {
        logLine(QStringLiteral("tlStart launch error:-( = %1 (from: %2)")
                    .arg(QString::number(code), run.command.join(QLatin1Char(' '))));
        end(numberOf(*run.tool));
    }
}

bool ToolPool::suspend()
{
    if (!m_isRunning || m_isSuspended) {
        return false;
    }
    m_isSuspended = true;
    for (const Run &run : m_runs) {
        if (run.tool) {
            run.tool->suspend();
        }
    }
    return true;
}

bool ToolPool::resume()
{
    if (!std::exchange(m_isSuspended, false)) {
        return false;
    }
    for (const Run &run : m_runs) {
        if (run.tool) {
            run.tool->resume();
        }
    }
    startWaiting();
    return true;
}

void ToolPool::terminate()
{
    if (!m_isRunning) {
        return;
    }
    m_isSuspended = false;
    m_wasTerminated = true;
    m_begun = m_runs.size();
    for (std::size_t i = 0; i < m_runs.size(); ++i) {
        if (m_runs[i].tool) {
            m_runs[i].tool->tasklauncherTerminate();
        }
    }
    endIfAllHave();
}

void ToolPool::endAll()
{
    m_isSuspended = false;
    m_isRunning = false;
    for (Run &run : m_runs) {
        if (run.tool) {
            run.tool->setDelegate(nullptr);
            run.tool->tasklauncherTerminate();
            run.tool.reset();
        }
    }
    m_runs.clear();
    m_begun = m_working = 0;
}

std::size_t ToolPool::numberOf(const taskLauncher &tool) const
{
    return static_cast<std::size_t>(
        std::find_if(m_runs.begin(), m_runs.end(),
                     [&](const Run &run) { return run.tool.get() == &tool; }) -
        m_runs.begin());
}

void ToolPool::didReceiveNewData(taskLauncher &tool, const QByteArray &data)
{
    QByteArray &kept = m_runs[numberOf(tool)].printed;
    kept = (kept + data).right(keptOutput);
    if (printed) {
        printed();
    }
}

void ToolPool::taskLauncherTaskDidEnd(taskLauncher &tool)
{
    end(numberOf(tool));
    startWaiting();
    endIfAllHave();
}

void ToolPool::end(std::size_t number)
{
    Run &run = m_runs[number];
    run.tool->setDelegate(nullptr);
    run.tool->tasklauncherTerminate();
    const RunReport report{run.tool->outcome(), QString::fromUtf8(run.printed), {}};
    // It may be the one that is calling.
    run.tool.release()->deleteLater();
    --m_working;
    runEnded(number, report);
}

void ToolPool::endIfAllHave()
{
    if (m_isRunning && m_working == 0 && m_begun == m_runs.size()) {
        m_isRunning = false;
        allEnded();
    }
}

} // namespace qv
