#include "quick_thumbs/key_search.h"

#include <limits>

namespace qv
{
namespace
{

constexpr double rounding = 0.001;
constexpr double anywhere = -1e18;

} // namespace

// Some containers read their list at the first seek, or as far as a seek goes.
bool KeySearch::hasList(double instant)
{
    if (m_hasSought && !m_film.hasIndex()) {
        return false;
    }
    const bool isRead =
        m_hasSought && (m_film.listsAllKeys() || m_film.keysAround(instant).after.has_value());
    if (!isRead) {
        m_hasSought = true;
        m_film.seek(instant);
    }
    return m_film.hasIndex();
}

std::optional<KeyPicture> KeySearch::next(double instant, double limit)
{
    const double after = instant + 2 * rounding;
    if (!m_film.hasIndex()) {
        m_scan.loseItsPlace();
        return m_film.seek(after) ? keyFrom(m_film, after, limit) : std::nullopt;
    }
    const auto listed = m_film.keysAround(after).after;
    const bool isNear = listed && *listed <= limit;
    return isNear && m_film.seekToListed(*listed) ? keyFrom(m_film, anywhere, limit) : std::nullopt;
}

std::optional<KeyPicture> KeySearch::nearest(double instant, double reach)
{
    if (!hasList(instant)) {
        return m_scan.nearest(instant, reach);
    }
    const auto [before, after] = m_film.keysAround(instant);
    if (!before && !after) {
        return std::nullopt;
    }
    const bool takesAfter = !before || (after && *after - instant < instant - *before);
    if (!m_film.seekToListed(takesAfter ? *after : *before)) {
        return std::nullopt;
    }
    // The seek has led to the very packet, whose time may be a little off the list's.
    return keyFrom(m_film, anywhere, std::numeric_limits<double>::max());
}

std::optional<double> KeySearch::before(double instant, std::optional<double> known)
{
    return hasList(instant) ? m_film.keysAround(instant).before : m_scan.before(instant, known);
}

} // namespace qv
