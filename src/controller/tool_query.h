#pragma once

#include "process/event_loop_run.h"

#include <QByteArray>
#include <QObject>

#include <functional>

// One short question to a tool, answered by what it prints. Nobody waits: the answer comes through
// the event loop, always, and never after the query is gone, whose end kills the tool.
namespace qv
{

class ToolQuery : public QObject
{
    Q_OBJECT

public:
    using Answer = std::function<void(const QByteArray &printed)>;

    explicit ToolQuery(QObject *parent = nullptr) : QObject(parent) {}

    // Once a query. Empty when the tool is not there or printed nothing. A tool that prints without
    // end is cut.
    void ask(const QStringList &command, Answer answer);

private:
    void answerLater(const QByteArray &printed);

    EventLoopRun m_run;
    Answer m_answer;
};

} // namespace qv
