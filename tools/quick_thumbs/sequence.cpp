#include "quick_thumbs/sequence.h"

#include <algorithm>

namespace qv
{
namespace
{

// Time stamps are rounded on their way.
constexpr double rounding = 0.001;

} // namespace

tl::expected<std::unique_ptr<Sequence>, std::string> Sequence::open(const std::string &path,
                                                                    const Film &first)
{
    auto film = Film::open(path, &first);
    if (!film) {
        return tl::make_unexpected(film.error());
    }
    auto decoder = Decoder::open(**film);
    if (!decoder) {
        return tl::make_unexpected(decoder.error());
    }
    std::unique_ptr<Sequence> sequence(new Sequence);
    sequence->m_film = std::move(*film);
    sequence->m_decoder = std::move(*decoder);
    return sequence;
}

FramePtr Sequence::upTo(double instant, std::optional<double> key, double slack)
{
    m_goal = instant - std::max({rounding, m_film->frameDuration() / 4, slack});
    const bool isOnTheWay =
        m_reached && *m_reached <= instant + rounding && *m_reached >= key.value_or(0) - rounding;
    if (!isOnTheWay) {
        forget();
        m_awaitedKey = key;
        if (!(key && m_film->hasIndex() ? m_film->seekToListed(*key)
                                        : m_film->seek(key.value_or(0)))) {
            return nullptr;
        }
    }
    while (!m_reached || *m_reached < m_goal) {
        FramePtr frame = next();
        if (!frame) {
            break;
        }
        m_reached = m_film->timeOf(*frame).value_or(m_reached.value_or(instant));
        m_last = std::move(frame);
    }
    return m_last ? FramePtr(av_frame_clone(m_last.get())) : nullptr;
}

void Sequence::forget()
{
    m_decoder->restart();
    m_isAtEnd = false;
    m_reached.reset();
    m_last.reset();
}

// The next picture that is whole, as far as to the film's end.
FramePtr Sequence::next()
{
    while (true) {
        while (FramePtr frame = m_decoder->receive()) {
            if (isWhole(*frame)) {
                return frame;
            }
        }
        if (m_isAtEnd) {
            return nullptr;
        }
        sendNext();
    }
}

bool Sequence::isAwaitedKey(const AVPacket &packet) const
{
    const double listRounding = m_film->hasIndex() ? 1 : rounding; // the seek has led to it
    return (packet.flags & AV_PKT_FLAG_KEY) != 0 &&
           m_film->timeOf(packet).value_or(*m_awaitedKey) >= *m_awaitedKey - listRounding;
}

void Sequence::sendNext()
{
    const PacketPtr packet = m_film->next();
    m_isAtEnd = !packet;
    const auto time = packet ? m_film->timeOf(*packet) : std::nullopt;
    if (m_awaitedKey && packet && !isAwaitedKey(*packet)) {
        return;
    }
    m_awaitedKey.reset();
    m_decoder->hurry(time && *time < m_goal);
    m_decoder->send(packet.get());
}

} // namespace qv
