#pragma once

#include "measuring.h"

#include <QList>
#include <QStringList>

#include <vector>

namespace bench
{

// Commands that are compared run in turns, so that the machine's load meets them alike.
class Turns
{
public:
    explicit Turns(QList<QStringList> commands);

    // False, with a message, as soon as a command fails.
    bool run(int times);
    // Medians, by the command's position.
    double milliseconds(std::size_t command) const;
    double processorMilliseconds(std::size_t command) const;

private:
    QList<QStringList> m_commands;
    std::vector<std::vector<Measured>> m_runs; // by command
};

// The run, with a message when it fails.
Measured runAndReport(const QStringList &command);

} // namespace bench
