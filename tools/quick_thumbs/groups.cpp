#include "quick_thumbs/groups.h"

#include <cstdint>
#include <span>

namespace qv
{
namespace
{

constexpr int sliceOfOther = 1;
constexpr int sliceOfIdr = 5;

int unitType(std::uint8_t head)
{
    return head & 0x1f;
}

// Bytes of the length in front of each unit (ISO/IEC 14496-15); 0 where start codes divide them.
std::size_t lengthSize(const AVCodecParameters &parameters)
{
    const bool hasLengths = parameters.extradata_size > 4 && parameters.extradata[0] == 1;
    return hasLengths ? std::size_t{parameters.extradata[4]} % 4 + 1 : 0;
}

// The unit type of the first slice; 0 without a slice.
int sliceBehindLengths(std::span<const std::uint8_t> bytes, std::size_t lengthSize)
{
    while (bytes.size() > lengthSize) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < lengthSize; ++i) {
            length = length << 8 | bytes[i];
        }
        bytes = bytes.subspan(lengthSize);
        const int type = unitType(bytes.front());
        if (type == sliceOfOther || type == sliceOfIdr) {
            return type;
        }
        if (length == 0 || length >= bytes.size()) {
            break;
        }
        bytes = bytes.subspan(length);
    }
    return 0;
}

int sliceBehindStartCodes(std::span<const std::uint8_t> bytes)
{
    for (std::size_t i = 3; i < bytes.size(); ++i) {
        const bool isStart = bytes[i - 3] == 0 && bytes[i - 2] == 0 && bytes[i - 1] == 1;
        const int type = isStart ? unitType(bytes[i]) : 0;
        if (type == sliceOfOther || type == sliceOfIdr) {
            return type;
        }
    }
    return 0;
}

Groups groupsBy(const AVPacket &packet, const AVCodecParameters &parameters)
{
    const std::span bytes(packet.data, static_cast<std::size_t>(packet.size));
    const std::size_t size = lengthSize(parameters);
    const int type = size > 0 ? sliceBehindLengths(bytes, size) : sliceBehindStartCodes(bytes);
    return type == sliceOfIdr ? Groups::Closed : type == 0 ? Groups::Unknown : Groups::Open;
}

} // namespace

Groups groupsOf(Film &film, const std::vector<double> &keys)
{
    if (film.parameters().codec_id != AV_CODEC_ID_H264 || keys.size() < 2) {
        return Groups::Unknown;
    }
    // The first picture of a source is an IDR picture in any case.
    for (const double key : {keys[1], keys[(keys.size() + 1) / 2]}) {
        const PacketPtr packet = film.seekToListed(key) ? film.next() : nullptr;
        const Groups groups = packet ? groupsBy(*packet, film.parameters()) : Groups::Unknown;
        if (groups != Groups::Closed) {
            return groups;
        }
    }
    return Groups::Closed;
}

} // namespace qv
