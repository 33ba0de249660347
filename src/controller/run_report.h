#pragma once

#include "process/child_process.h"

#include <QMap>
#include <QString>

namespace qv
{

// What became of a tool's run.
struct RunReport {
    ToolOutcome outcome;
    QString tail;               // the last lines that the tool printed
    QMap<int, double> instants; // of the pictures that it told, by index, seconds
};

// Characters or bytes that are kept of a run's output to explain a failure.
inline constexpr qsizetype tailLength = 65536;

} // namespace qv
