#pragma once

#include "quick_thumbs/film.h"

#include <vector>

namespace qv
{

// A key picture as it is stored.
struct KeyPicture {
    double time = 0;                // seconds from the source's start
    std::vector<PacketPtr> packets; // and what may belong to it: its second field
};

// Turns packets into pictures, on the thread that calls.
class Decoder
{
public:
    static tl::expected<std::unique_ptr<Decoder>, std::string> open(const Film &film);

    // The picture without any that stand before or after it. Nothing when it can't be decoded so,
    // or only in part.
    FramePtr alone(const KeyPicture &key);

    // The first picture that is not shown before the instant, or the last one before the end, by
    // decoding all that it builds on. Goes on from where the last call came to, when that is on
    // the way. Nothing when it can't be decoded.
    FramePtr upTo(Film &film, double instant);

    // A packet, or null at the end, and the next picture in order, when it brings one.
    FramePtr step(const AVPacket *packet);

private:
    explicit Decoder(const Film &film) : m_film(film) {}
    void send(const AVPacket *packet);
    FramePtr receive();
    void restart();
    bool canGoOn(const Film &film, double instant) const;
    bool isWhole(const AVFrame &frame) const;
    FramePtr frameAt(Film &film, double instant);

    const Film &m_film;
    CodecPtr m_codec;
    std::optional<double> m_reached; // the last picture of upTo that stands in the decoder's past
    FramePtr m_ahead;                // of upTo, shown at m_reached
};

} // namespace qv
