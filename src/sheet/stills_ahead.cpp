#include "sheet/stills_ahead.h"

#include <algorithm>
#include <thread>

namespace qv
{
namespace
{

std::size_t workers()
{
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
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
