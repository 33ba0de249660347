#include "controller/step_gate.h"

namespace qv
{

void StepGate::begin()
{
    moveOn(State::Idle, State::Running);
}

void StepGate::end()
{
    if (m_state != State::Closed) {
        m_state = State::Idle;
    }
}

bool StepGate::pause()
{
    return moveOn(State::Running, State::Paused);
}

bool StepGate::resume()
{
    return moveOn(State::Paused, State::Running);
}

bool StepGate::stop()
{
    return moveOn(State::Running, State::Stopping) || moveOn(State::Paused, State::Stopping);
}

StepGate::Verdict StepGate::verdict(bool isBusy) const
{
    if (m_state == State::Closed || isBusy) {
        return Verdict::Vanish;
    }
    return m_isAsking || isPaused() ? Verdict::Wait : Verdict::Run;
}

bool StepGate::moveOn(State from, State to)
{
    if (m_state != from) {
        return false;
    }
    m_state = to;
    return true;
}

} // namespace qv
