#include "controller/tool_query.h"

#include "process/tool_request.h"

#include <utility>

namespace qv
{

void ToolQuery::ask(const QStringList &command, Answer answer)
{
    m_answer = std::move(answer);
    m_run.onEnd = [this](const ToolReport &report) { answerLater(report.output); };
    const ToolRules rules{.outputLimit = 1};
    const bool isNamed = !command.value(0).isEmpty();
    if (!isNamed || !m_run.start({{toolRequest(command)}}, rules)) {
        answerLater({});
    }
}

void ToolQuery::answerLater(const QByteArray &printed)
{
    QMetaObject::invokeMethod(
        this, [this, printed] { std::exchange(m_answer, nullptr)(printed); }, Qt::QueuedConnection);
}

} // namespace qv
