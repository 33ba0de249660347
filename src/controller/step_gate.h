#pragma once

// The one place that decides whether a step of the analysis or of the encoding runs, waits or
// vanishes, and which wishes of the user still count.
namespace qv
{

class StepGate
{
public:
    enum class Verdict { Run, Wait, Vanish };

    // A run of the machine begins, with nothing left of the one before, or is over.
    void begin();
    void end();
    // Each returns whether it counts. A stop ends a pause; nothing but the end follows a stop.
    bool pause();
    bool resume();
    bool stop();
    // A question to the user is open. The event loop runs meanwhile.
    void setAsking(bool isAsking) { m_isAsking = isAsking; }
    // The application quits: no step follows.
    void close() { m_state = State::Closed; }

    bool isIdle() const { return m_state == State::Idle; }
    bool isPaused() const { return m_state == State::Paused; }
    bool isStopping() const { return m_state == State::Stopping; }
    // Stopping or closed: what a step began is not worth continuing.
    bool isOver() const { return isStopping() || m_state == State::Closed; }

    // What becomes of a step that is due now. While the machine is busy with a tool or on another
    // thread, the end of that brings the next step.
    Verdict verdict(bool isBusy) const;

private:
    enum class State { Idle, Running, Paused, Stopping, Closed };

    bool moveOn(State from, State to);

    State m_state = State::Idle;
    bool m_isAsking = false;
};

} // namespace qv
