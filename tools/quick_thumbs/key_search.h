#pragma once

#include "quick_thumbs/key_scan.h"

namespace qv
{

// Finds key pictures in a film, reading as little of it as its container allows.
class KeySearch
{
public:
    explicit KeySearch(Film &film) : m_film(film), m_scan(film) {}

    // The key picture nearest to the instant; of a film without an index it is looked for up to
    // `reach` seconds behind it. Nothing when there is none.
    std::optional<KeyPicture> nearest(double instant, double reach);
    // Seconds of the last key picture by the instant. Looks no further back than `known`, a time
    // from which on there is one to be had. Nothing when there is none.
    std::optional<double> before(double instant, std::optional<double> known);
    // The first key picture behind the instant and not behind the limit.
    std::optional<KeyPicture> next(double instant, double limit);

private:
    bool hasList(double instant);

    Film &m_film;
    KeyScan m_scan; // without a list
    bool m_hasSought = false;
};

} // namespace qv
