#pragma once

#include "quick_thumbs/decoder.h"

#include <deque>
#include <optional>

namespace qv
{

// Reading on, the first key picture between these seconds. Nothing when the film passes `limit` or
// ends without one.
std::optional<KeyPicture> keyFrom(Film &film, double from, double limit);

// Finds key pictures by reading, in a film whose container does not list them. Remembers the
// stretch that it has read, so that instants in ascending order cost each part of the film once.
class KeyScan
{
public:
    explicit KeyScan(Film &film) : m_film(film) {}

    // The key picture nearest to the instant; the one behind it at most `reach` seconds behind.
    std::optional<KeyPicture> nearest(double instant, double reach);
    // Seconds of the last key picture by the instant, or `known`, a time from which on there is one
    // to be had, when it is later.
    std::optional<double> before(double instant, std::optional<double> known);
    // The film has been moved by others.
    void loseItsPlace() { m_isInPlace = false; }

private:
    bool coverUpTo(double instant, double limit);
    bool beginAt(double from);
    bool readOn(double instant, double limit);
    bool returnToEnd();
    double firstUnknown() const;
    void keep(KeyPicture key);
    bool readBack(double from);
    double fartherBack(double instant) const;
    const KeyPicture *keyBefore(double instant) const;
    const KeyPicture *keyAfter(double instant, double limit) const;

    Film &m_film;
    // The stretch, seconds; empty when it ends before it begins.
    double m_from = 0;
    double m_to = -1;
    bool m_isInPlace = false; // the film stands at the end of the stretch
    std::deque<KeyPicture> m_keys;
    double m_distance = 0.6; // the longest one seen between an instant and the key before it
};

} // namespace qv
