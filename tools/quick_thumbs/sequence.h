#pragma once

#include "quick_thumbs/decoder.h"

namespace qv
{

// Decodes a film up to instants, in an opening of its own, so that it can go on from where it came.
class Sequence
{
public:
    static tl::expected<std::unique_ptr<Sequence>, std::string> open(const std::string &path,
                                                                     const Film &first);

    // The first picture that is not shown more than `slack` seconds before the instant, or the last
    // one before the end, by decoding from `key`, the second of the key picture before it, if there
    // is one, or from where the last call came to. Nothing when it can't be decoded.
    FramePtr upTo(double instant, std::optional<double> key, double slack);
    // The second up to which the last call came.
    std::optional<double> reached() const { return m_reached; }

    double timeOf(const AVFrame &frame) const { return m_film->timeOf(frame).value_or(0); }

private:
    Sequence() = default;
    FramePtr next();
    bool isAwaitedKey(const AVPacket &packet) const;
    void sendNext();
    void forget();

    std::unique_ptr<Film> m_film;
    std::unique_ptr<Decoder> m_decoder;
    double m_goal = 0;
    bool m_isAtEnd = false;
    std::optional<double> m_awaitedKey; // what comes before it lacks what it builds on
    std::optional<double> m_reached;
    FramePtr m_last; // shown at m_reached
};

} // namespace qv
