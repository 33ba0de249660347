#pragma once

#include "quick_thumbs/decoder.h"

#include <optional>

namespace qv
{

// Finds key pictures in a film, reading as little of it as its container allows.
class KeySearch
{
public:
    explicit KeySearch(Film &film) : m_film(film) {}

    // The key picture nearest to the instant; of a film without an index it is looked for up to
    // `reach` seconds behind it. Nothing when there is none.
    std::optional<KeyPicture> nearest(double instant, double reach);
    // Seconds of the last key picture by the instant. Looks no further back than `known`, a time
    // from which on there is one to be had. Nothing when there is none.
    std::optional<double> before(double instant, std::optional<double> known);
    // The first key picture behind the instant and not behind the limit.
    std::optional<KeyPicture> next(double instant, double limit);

private:
    void readList(double instant);
    struct Neighbours {
        std::optional<KeyPicture> before;
        std::optional<KeyPicture> after;
    };
    Neighbours readAround(double from, double instant, double limit);
    std::optional<KeyPicture> firstFrom(double instant, double limit);
    std::optional<KeyPicture> nearestRead(double instant, double reach);
    std::optional<KeyPicture> keyOf(PacketPtr packet, double time);

    Film &m_film;
    bool m_hasSought = false;
    double m_distance = 0.6; // the longest one seen between an instant and the key before it
};

} // namespace qv
