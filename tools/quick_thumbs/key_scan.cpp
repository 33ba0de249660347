#include "quick_thumbs/key_scan.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace qv
{
namespace
{

constexpr double rounding = 0.001;
constexpr double anywhere = -1e18;
constexpr double behindAll = std::numeric_limits<double>::infinity();

// Where frames of one film are all key pictures, older ones are dropped.
constexpr std::size_t mostKept = 16;

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

// A picture of two fields may come in two packets.
KeyPicture keyOf(Film &film, PacketPtr packet, double time)
{
    KeyPicture key;
    key.time = time;
    key.packets.push_back(std::move(packet));
    if (mayHaveFields(film.parameters())) {
        if (PacketPtr second = film.next()) {
            key.packets.push_back(std::move(second));
        }
    }
    return key;
}

KeyPicture copyOf(const KeyPicture &key)
{
    KeyPicture copy;
    copy.time = key.time;
    for (const PacketPtr &packet : key.packets) {
        copy.packets.emplace_back(av_packet_clone(packet.get()));
    }
    return copy;
}

} // namespace

std::optional<KeyPicture> keyFrom(Film &film, double from, double limit)
{
    while (PacketPtr packet = film.next()) {
        const auto time = film.timeOf(*packet);
        if (time && *time > limit) {
            return std::nullopt;
        }
        if (time && *time >= from - rounding && isKey(*packet)) {
            return keyOf(film, std::move(packet), *time);
        }
    }
    return std::nullopt;
}

// Of the last key picture by the instant and the first one behind it the nearer one. It is looked
// for further back until that would not be nearer.
std::optional<KeyPicture> KeyScan::nearest(double instant, double reach)
{
    if (!coverUpTo(instant, instant + reach)) {
        return std::nullopt;
    }
    const KeyPicture *after = keyAfter(instant, instant + reach);
    const double ahead = after != nullptr ? after->time - instant : reach;
    while (keyBefore(instant) == nullptr && m_from > 0 && instant - m_from < ahead) {
        if (!readBack(fartherBack(instant))) {
            return std::nullopt;
        }
    }
    after = keyAfter(instant, instant + reach);
    const KeyPicture *found = keyBefore(instant);
    if (found != nullptr) {
        m_distance = std::max(m_distance, instant - found->time + 0.1);
    }
    if (found == nullptr || (after != nullptr && ahead < instant - found->time)) {
        found = after;
    }
    return found != nullptr ? std::optional(copyOf(*found)) : std::nullopt;
}

std::optional<double> KeyScan::before(double instant, std::optional<double> known)
{
    const double earliest = known.value_or(0);
    if (!coverUpTo(instant, instant)) {
        return std::nullopt;
    }
    while (keyBefore(instant) == nullptr && m_from > earliest) {
        if (!readBack(std::max(earliest, fartherBack(instant)))) {
            return std::nullopt;
        }
    }
    const KeyPicture *found = keyBefore(instant);
    return found != nullptr ? std::optional(std::max(found->time, known.value_or(anywhere)))
                            : known;
}

// The stretch holds the instant, and reaches to the first key picture behind it or to the limit.
bool KeyScan::coverUpTo(double instant, double limit)
{
    const bool isNear =
        m_from <= instant && (instant <= m_to || (m_isInPlace && instant - m_to <= 2 * m_distance));
    if (!isNear && !beginAt(std::max(0.0, instant - m_distance))) {
        return false;
    }
    return readOn(instant, limit);
}

bool KeyScan::beginAt(double from)
{
    m_keys.clear();
    m_from = from;
    m_to = from;
    m_isInPlace = m_film.seek(from);
    return m_isInPlace;
}

bool KeyScan::readOn(double instant, double limit)
{
    if (m_to >= limit || keyAfter(instant, limit) != nullptr) {
        return true;
    }
    if (!returnToEnd()) {
        return false;
    }
    const double from = firstUnknown();
    while (m_to < limit && keyAfter(instant, limit) == nullptr) {
        PacketPtr packet = m_film.next();
        const auto time = packet ? m_film.timeOf(*packet) : std::nullopt;
        m_to = packet ? std::max(m_to, time.value_or(m_to)) : behindAll;
        if (time && *time >= from && isKey(*packet)) {
            keep(keyOf(m_film, std::move(packet), *time));
        }
    }
    return true;
}

bool KeyScan::returnToEnd()
{
    m_isInPlace = m_isInPlace || m_film.seek(m_to);
    return m_isInPlace;
}

// Where seeks lead to what has been read already, seconds of the first key picture that is new.
double KeyScan::firstUnknown() const
{
    if (!m_keys.empty()) {
        return m_keys.back().time + 2 * rounding;
    }
    return m_from > 0 ? m_from - rounding : anywhere;
}

void KeyScan::keep(KeyPicture key)
{
    m_keys.push_back(std::move(key));
    if (m_keys.size() > mostKept) {
        m_keys.pop_front();
        m_from = m_keys.front().time;
    }
}

// Extends the stretch at its beginning.
bool KeyScan::readBack(double from)
{
    m_isInPlace = false;
    if (!m_film.seek(from)) {
        return false;
    }
    std::deque<KeyPicture> found;
    double next = from > 0 ? from : anywhere;
    while (auto key = keyFrom(m_film, next, m_from - 2 * rounding)) {
        next = key->time + 2 * rounding;
        found.push_back(std::move(*key));
        if (found.size() > mostKept) {
            found.pop_front();
        }
    }
    std::move(found.rbegin(), found.rend(), std::front_inserter(m_keys));
    m_from = from;
    return true;
}

double KeyScan::fartherBack(double instant) const
{
    return std::max(0.0, instant - std::max(m_distance, 2 * (instant - m_from)));
}

const KeyPicture *KeyScan::keyBefore(double instant) const
{
    const auto found = std::find_if(m_keys.rbegin(), m_keys.rend(),
                                    [&](const KeyPicture &key) { return key.time <= instant; });
    return found != m_keys.rend() ? &*found : nullptr;
}

const KeyPicture *KeyScan::keyAfter(double instant, double limit) const
{
    const auto found = std::find_if(m_keys.begin(), m_keys.end(),
                                    [&](const KeyPicture &key) { return key.time > instant; });
    return found != m_keys.end() && found->time <= limit ? &*found : nullptr;
}

} // namespace qv
