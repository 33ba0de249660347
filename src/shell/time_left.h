#pragma once

#include <QString>

#include <functional>
#include <optional>

// How long a batch will still take, from how fast it went so far; a pause does not count.
namespace qv
{

class TimeLeft
{
public:
    // Milliseconds of a clock that only goes forward; the system's unless a test gives one.
    explicit TimeLeft(std::function<qint64()> clock = {});

    void start();
    void stop();
    void setPaused(bool paused);

    // Seconds, for the part (0 to 1) of the work that is done; nothing while too little is done to
    // tell, or while nothing runs.
    std::optional<double> seconds(double donePart) const;

private:
    qint64 worked() const;

    std::function<qint64()> m_clock;
    std::optional<qint64> m_since; // when the present stretch of work began
    qint64 m_before = 0;           // milliseconds of the stretches before
    bool m_running = false;
};

// "about 2 min left", in the user's language.
QString timeLeftText(double seconds);

} // namespace qv
