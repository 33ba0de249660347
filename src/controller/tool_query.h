#pragma once

#include "process/task_launcher.h"

#include <QByteArray>
#include <QObject>

#include <functional>
#include <memory>

// One short question to a tool, answered by what it prints. Nobody waits: the answer comes through
// the event loop, always, and never after the query is gone.
namespace qv
{

class ToolQuery : public QObject, private TaskLauncherDelegate
{
    Q_OBJECT

public:
    using Answer = std::function<void(const QByteArray &printed)>;

    explicit ToolQuery(QObject *parent = nullptr) : QObject(parent) {}
    ~ToolQuery() override;

    // Once a query. Empty when the tool is not there or printed nothing. A tool that prints without
    // end is cut.
    void ask(const QStringList &command, Answer answer);

private:
    void didReceiveNewData(taskLauncher &launcher, const QByteArray &data) override;
    void taskLauncherTaskDidEnd(taskLauncher &launcher) override;
    void answerLater();

    std::unique_ptr<taskLauncher> m_launcher;
    Answer m_answer;
    QByteArray m_printed;
};

} // namespace qv
