#include "process/argument_array.h"

#include "support/files.h"

namespace qv
{

QString expandedArgument(const QString &element)
{
    return element.contains(QLatin1String("://")) ? element : expandTilde(element);
}

tl::expected<QList<QStringList>, PipelineError> splitPipeline(const QStringList &arguments)
{
    if (arguments.isEmpty()) {
        return tl::make_unexpected(PipelineError::Empty);
    }
    QList<QStringList> groups;
    QStringList group;
    for (const QString &element : arguments) {
        if (element != QLatin1String("|")) {
            group.append(expandedArgument(element));
            continue;
        }
        if (group.isEmpty()) {
            return tl::make_unexpected(PipelineError::EmptyGroup);
        }
        groups.append(std::exchange(group, {}));
    }
    if (group.isEmpty()) {
        return tl::make_unexpected(PipelineError::EmptyGroup);
    }
    groups.append(group);
    return groups;
}

} // namespace qv
