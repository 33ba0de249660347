#pragma once

#include "process/task_launcher.h"

#include <memory>

namespace qv
{

// Wishes to whichever launcher answers to an identifier: "fabKillTasks", "fabPauseTasks",
// "fabResumeTasks". The identifier is compared as an object, not by its number.
class TaskBroadcast : public QObject
{
    Q_OBJECT

public:
    static TaskBroadcast &instance();
    void post(const QString &name, const std::shared_ptr<const int> &identifier);

Q_SIGNALS:
    void posted(const QString &name, const std::shared_ptr<const int> &identifier);
};

class BroadcastTaskLauncher : public taskLauncher
{
    Q_OBJECT

public:
    using taskLauncher::taskLauncher;

    // The identifier under which TaskBroadcast reaches this launcher while it runs, made at the
    // first call.
    std::shared_ptr<const int> uid();

private:
    std::shared_ptr<const int> m_nuid;
};

} // namespace qv
