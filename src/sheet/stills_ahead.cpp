#include "sheet/stills_ahead.h"

#include <QThread>

#include <algorithm>

namespace qv
{
namespace
{

// As many as the processors that this process may use.
std::size_t workers()
{
    return static_cast<std::size_t>(std::clamp(QThread::idealThreadCount(), 1, 8));
}

} // namespace

StillsAhead::StillsAhead(int count, std::function<QImage(int)> make)
    : m_make(std::move(make)), m_count(count)
{
    fill();
}

QImage StillsAhead::next()
{
    if (m_inFlight.empty()) {
        return {};
    }
    QImage picture = m_inFlight.front().get();
    m_inFlight.pop_front();
    fill();
    return picture;
}

void StillsAhead::fill()
{
    while (m_inFlight.size() < workers() && m_started < m_count) {
        m_inFlight.push_back(std::async(std::launch::async, m_make, m_started++));
    }
}

} // namespace qv
