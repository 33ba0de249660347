#include "quick_thumbs/key_search.h"

#include <algorithm>
#include <limits>

namespace qv
{
namespace
{

constexpr double rounding = 0.001;
constexpr double anywhere = -1e18;

bool isKey(const AVPacket &packet)
{
    return (packet.flags & AV_PKT_FLAG_KEY) != 0 && (packet.flags & AV_PKT_FLAG_CORRUPT) == 0 &&
           packet.size > 0;
}

bool mayHaveFields(const AVCodecParameters &parameters)
{
    return parameters.codec_id == AV_CODEC_ID_H264 &&
           parameters.field_order != AV_FIELD_PROGRESSIVE;
}

} // namespace

// A picture of two fields may come in two packets.
std::optional<KeyPicture> KeySearch::keyOf(PacketPtr packet, double time)
{
    KeyPicture key;
    key.time = time;
    key.packets.push_back(std::move(packet));
    if (mayHaveFields(m_film.parameters())) {
        if (PacketPtr second = m_film.next()) {
            key.packets.push_back(std::move(second));
        }
    }
    return key;
}

std::optional<KeyPicture> KeySearch::firstFrom(double instant, double limit)
{
    while (PacketPtr packet = m_film.next()) {
        const auto time = m_film.timeOf(*packet);
        if (time && *time > limit) {
            return std::nullopt;
        }
        if (time && *time >= instant - rounding && isKey(*packet)) {
            return keyOf(std::move(packet), *time);
        }
    }
    return std::nullopt;
}

std::optional<KeyPicture> KeySearch::next(double instant, double limit)
{
    const double after = instant + 2 * rounding;
    if (!m_film.hasIndex()) {
        return m_film.seek(after) ? firstFrom(after, limit) : std::nullopt;
    }
    const auto listed = m_film.keysAround(after).after;
    const bool isNear = listed && *listed <= limit;
    return isNear && m_film.seekToListed(*listed) ? firstFrom(anywhere, limit) : std::nullopt;
}

// Some containers read their list at the first seek, or as far as a seek goes.
void KeySearch::readList(double instant)
{
    const bool isRead = m_hasSought && m_film.hasIndex() &&
                        (m_film.listsAllKeys() || m_film.keysAround(instant).after.has_value());
    if (!isRead) {
        m_hasSought = true;
        m_film.seek(instant);
    }
}

std::optional<KeyPicture> KeySearch::nearest(double instant, double reach)
{
    readList(instant);
    if (!m_film.hasIndex()) {
        return nearestRead(instant, reach);
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
    return firstFrom(anywhere, std::numeric_limits<double>::max());
}

// The last key picture by the instant and the first one behind it.
KeySearch::Neighbours KeySearch::readAround(double from, double instant, double limit)
{
    Neighbours found;
    while (auto key = firstFrom(from, limit)) {
        if (key->time > instant) {
            found.after = std::move(key);
            break;
        }
        from = key->time + 2 * rounding;
        found.before = std::move(key);
    }
    return found;
}

std::optional<double> KeySearch::before(double instant, std::optional<double> known)
{
    readList(instant);
    if (m_film.hasIndex()) {
        return m_film.keysAround(instant).before;
    }
    for (double back = m_distance;; back *= 2) {
        const double from = std::max(known.value_or(0), instant - back);
        const bool isWhole = from == known.value_or(0);
        if (!m_film.seek(from)) {
            return std::nullopt;
        }
        const Neighbours found = readAround(isWhole ? anywhere : from, instant, instant);
        if (found.before) {
            return found.before->time;
        }
        if (isWhole) {
            return known;
        }
    }
}

// Reads from a little before the instant to the first key picture behind it. When none came before
// and one nearer than the one behind may stand further back, it is looked for there.
std::optional<KeyPicture> KeySearch::nearestRead(double instant, double reach)
{
    for (double back = m_distance;; back *= 2) {
        const double from = std::max(0.0, instant - back);
        if (!m_film.seek(from)) {
            return std::nullopt;
        }
        Neighbours found = readAround(from > 0 ? from : anywhere, instant, instant + reach);
        const double ahead = found.after ? found.after->time - instant : reach;
        if (found.before) {
            const double behind = instant - found.before->time;
            m_distance = std::max(m_distance, behind + 0.1);
            return found.after && ahead < behind ? std::move(found.after) : std::move(found.before);
        }
        if (from == 0 || back >= ahead) {
            return std::move(found.after);
        }
    }
}

} // namespace qv
