#include "published/task_broadcast.h"

#include <ctime>

namespace qv
{

TaskBroadcast &TaskBroadcast::instance()
{
    static TaskBroadcast broadcast;
    return broadcast;
}

void TaskBroadcast::post(const QString &name, const std::shared_ptr<const int> &identifier)
{
    Q_EMIT posted(name, identifier);
}

std::shared_ptr<const int> BroadcastTaskLauncher::uid()
{
    if (m_nuid) {
        return m_nuid;
    }
    m_nuid = std::make_shared<const int>(static_cast<int>(std::time(nullptr)));
    connect(&TaskBroadcast::instance(), &TaskBroadcast::posted, this,
            [this](const QString &name, const std::shared_ptr<const int> &identifier) {
                if (identifier != m_nuid || !isRunning()) {
                    return;
                }
                if (name == QLatin1String("fabKillTasks")) {
                    tasklauncherTerminate();
                } else if (name == QLatin1String("fabPauseTasks")) {
                    suspend();
                } else if (name == QLatin1String("fabResumeTasks")) {
                    resume();
                }
            });
    return m_nuid;
}

} // namespace qv
