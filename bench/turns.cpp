#include "turns.h"

#include <cstdio>
#include <utility>

namespace bench
{
namespace
{

double medianOf(const std::vector<Measured> &runs, double Measured::*value)
{
    std::vector<double> values;
    for (const Measured &run : runs) {
        values.push_back(run.*value);
    }
    return median(values);
}

} // namespace

Turns::Turns(QList<QStringList> commands)
    : m_commands(std::move(commands)), m_runs(static_cast<std::size_t>(m_commands.size()))
{
}

bool Turns::run(int times)
{
    for (int i = 0; i < times; ++i) {
        for (qsizetype command = 0; command < m_commands.size(); ++command) {
            const Measured measured = runAndReport(m_commands.at(command));
            if (measured.status != 0) {
                return false;
            }
            m_runs[static_cast<std::size_t>(command)].push_back(measured);
        }
    }
    return true;
}

double Turns::milliseconds(std::size_t command) const
{
    return medianOf(m_runs.at(command), &Measured::milliseconds);
}

double Turns::processorMilliseconds(std::size_t command) const
{
    return medianOf(m_runs.at(command), &Measured::processorMilliseconds);
}

Measured runAndReport(const QStringList &command)
{
    const Measured measured = run(command);
    if (measured.status != 0) {
        std::printf("  FAILED with status %d: %s\n", measured.status,
                    qUtf8Printable(command.join(QLatin1Char(' ')).left(300)));
    }
    return measured;
}

} // namespace bench
