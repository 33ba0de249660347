#include "shell/time_left.h"

#include "support/localized_strings.h"

#include <chrono>
#include <cmath>

namespace qv
{
namespace
{

constexpr qint64 shortestSample = 2000; // milliseconds
constexpr double smallestPart = 0.01;
constexpr double longestEstimate = 30.0 * 24 * 3600;

qint64 systemClock()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

TimeLeft::TimeLeft(std::function<qint64()> clock) : m_clock(clock ? std::move(clock) : systemClock)
{
}

void TimeLeft::start()
{
    m_running = true;
    m_before = 0;
    m_since = m_clock();
}

void TimeLeft::stop()
{
    m_running = false;
    m_since.reset();
}

void TimeLeft::setPaused(bool paused)
{
    if (!m_running || paused == !m_since.has_value()) {
        return;
    }
    if (paused) {
        m_before = worked();
        m_since.reset();
    } else {
        m_since = m_clock();
    }
}

qint64 TimeLeft::worked() const
{
    return m_before + (m_since ? m_clock() - *m_since : 0);
}

std::optional<double> TimeLeft::seconds(double donePart) const
{
    const qint64 spent = worked();
    if (!m_running || spent < shortestSample || !(donePart >= smallestPart) || donePart > 1) {
        return std::nullopt;
    }
    const double left = static_cast<double>(spent) / 1000 * (1 - donePart) / donePart;
    return left < longestEstimate ? std::optional(left) : std::nullopt;
}

QString timeLeftText(double seconds)
{
    constexpr int minute = 60;
    constexpr int hour = 60;
    if (seconds < minute) {
        return localized(QStringLiteral("timeLeftSoon"));
    }
    const int minutes = static_cast<int>(std::lround(seconds / minute));
    if (minutes < hour) {
        return localized(QStringLiteral("timeLeftMinutes")).arg(minutes);
    }
    return localized(QStringLiteral("timeLeftHours")).arg(minutes / hour).arg(minutes % hour);
}

} // namespace qv
