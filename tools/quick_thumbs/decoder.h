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
    // For the film's video; its packets may come from another opening of it.
    static tl::expected<std::unique_ptr<Decoder>, std::string> open(const Film &film);

    // The picture without any that stand before or after it. Nothing when it can't be decoded so,
    // or only in part.
    FramePtr alone(const KeyPicture &key);

    // In order: a packet, or null at the end, and then the pictures that are ready. A packet that
    // is refused is skipped, as the ones that follow may still be good.
    void send(const AVPacket *packet);
    FramePtr receive();
    // Leaves out what no other picture builds on.
    void hurry(bool isInHurry);
    // Forgets all that was sent.
    void restart();

private:
    Decoder() = default;

    CodecPtr m_codec;
};

// Whether nothing of it was lost.
bool isWhole(const AVFrame &frame);

} // namespace qv
