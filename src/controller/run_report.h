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

// Characters that are kept of the output of a run of one picture, to explain a failure.
inline constexpr qsizetype tailLength = 65536;

} // namespace qv
