#include "controller/tool_query.h"

#include <utility>

namespace qv
{
namespace
{

constexpr qsizetype longestAnswer = 256 * 1024;

} // namespace

ToolQuery::~ToolQuery()
{
    if (m_launcher) {
        m_launcher->setDelegate(nullptr);
        m_launcher->tasklauncherTerminate();
    }
}

void ToolQuery::ask(const QStringList &command, Answer answer)
{
    m_answer = std::move(answer);
    if (command.isEmpty() || command.first().isEmpty()) {
        answerLater();
        return;
    }
    m_launcher = std::make_unique<taskLauncher>();
    m_launcher->setDelegate(this);
    m_launcher->dontConvertDataToString(true);
    if (m_launcher->launchTasksWithArguments(command) != taskLauncher::Launched) {
        answerLater();
    }
}

void ToolQuery::didReceiveNewData(taskLauncher &launcher, const QByteArray &data)
{
    m_printed += data.left(longestAnswer - m_printed.size());
    if (m_printed.size() >= longestAnswer) {
        launcher.tasklauncherTerminate();
    }
}

void ToolQuery::taskLauncherTaskDidEnd(taskLauncher &)
{
    answerLater();
}

void ToolQuery::answerLater()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_launcher.reset();
            std::exchange(m_answer, nullptr)(m_printed);
        },
        Qt::QueuedConnection);
}

} // namespace qv
