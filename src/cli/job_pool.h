#pragma once

#include "cli/worker_process.h"

#include <QByteArray>
#include <QObject>
#include <QStringList>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

// Copies of the command, started as there is work for them and replaced when they die. Each has one
// job at a time.
namespace qv
{

class JobPool : public QObject
{
    Q_OBJECT

public:
    struct Job {
        qsizetype number = 0;
        QByteArray request; // line
    };

    // At most `size` copies of the command.
    JobPool(QStringList command, int size);

    // From the event loop. The answer to a job's request; or why there will be none: its copy died
    // over it.
    std::function<void(qsizetype number, const QByteArray &line)> onAnswer;
    std::function<void(qsizetype number, const QString &reason)> onLost;
    // Something changed: there may be room, or no copy may be left.
    std::function<void()> onChange;

    // Whether a job that is given now is taken up at once.
    bool hasRoom() const;
    void give(Job job);
    QList<qsizetype> inProgress() const;

    // No more jobs come: the copies end when they have answered; or at once.
    void close();
    void stop();
    bool isEmpty() const { return m_workers.empty(); }

    // Why no copy works, when none can be started any more.
    std::optional<QString> failure() const;
    // Copies died over their jobs one after the other, and none was done in between.
    bool keepsDying() const;
    QString lastDeath() const { return m_lastDeath; }

private:
    struct Worker {
        std::unique_ptr<WorkerProcess> process;
        std::optional<Job> job;
        int place = 0; // among those that run at a time
        bool isReady = false;
        QString problem; // why it can't work
    };

    Worker *freeWorker();
    int freePlace() const;
    bool startWorker();
    void noteStartFailure(const QString &reason);
    void handOut();
    void heard(Worker &worker, const QByteArray &line);
    void ended(Worker &worker, const ToolOutcome &outcome);
    void remove(const Worker &worker);

    QStringList m_command;
    size_t m_size;
    const size_t m_places;
    std::vector<std::unique_ptr<Worker>> m_workers;
    std::vector<std::unique_ptr<WorkerProcess>> m_gone; // have ended
    std::deque<Job> m_waiting;
    int m_failedStarts = 0;   // in a row
    int m_deathsOverJobs = 0; // in a row
    bool m_isEnding = false;
    QString m_startFailure;
    QString m_lastDeath;
};

} // namespace qv
