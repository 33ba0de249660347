#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

// Argument arrays: the full path of a tool, then its arguments; "|" separates the tools of a pipe.
namespace qv
{

// An element as a tool receives it: a leading "~" is the home folder, unless the element is a URL
// (holds "://").
QString expandedArgument(const QString &element);

enum class PipelineError { Empty, EmptyGroup };

// One list for each process of the pipe, elements expanded. A "|" that closes an empty group is an
// error; the element after the last "|" must exist, or its group is empty, too.
tl::expected<QList<QStringList>, PipelineError> splitPipeline(const QStringList &arguments);

} // namespace qv
