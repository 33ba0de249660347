#pragma once

#include "thumbs/watchdog.h"

#include <ctime>

namespace qv
{

// How long to wait for a picture: as long as something is computed, up to a limit.
class Patience
{
public:
    bool isOver()
    {
        const double cpu = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
        if (cpu > m_cpu + leastWork) {
            m_cpu = cpu;
            m_lastSign = watchdog::now();
        }
        return watchdog::now() > m_lastSign + idleLimit || watchdog::now() > m_start + limit;
    }

    static constexpr double idleLimit = 10;
    static constexpr double limit = 60;

private:
    static constexpr double leastWork = 0.1; // more than the waiting itself costs in ten seconds

    double m_start = watchdog::now();
    double m_lastSign = watchdog::now();
    double m_cpu = static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
};

} // namespace qv
