// The layers from blocks of the file up to start codes and bits.
#include "analysis/mpeg_info.h"

#include "analysis/mpeg_codes.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>

namespace qv
{

mpegInfo::mpegInfo() = default;
mpegInfo::~mpegInfo() = default;

void mpegInfo::attach(QIODevice &device, quint64 size)
{
    m_file = &device;
    m_size = size;
    m_mux = false;
    m_videoLength = 0;
    m_position = 0;
    clearBuffer();
    m_file->seek(0);
}

void mpegInfo::clearBuffer()
{
    m_dataOffset = 0;
    m_dataLength = 0;
    m_bitOffset = 0;
}

// --- bytes of the file ---------------------------------------------------------------------------

int mpegInfo::readBlock()
{
    const qint64 count =
        m_file ? m_file->read(reinterpret_cast<char *>(m_bytes.data()), blockSize) : 0;
    return static_cast<int>(std::max<qint64>(count, 0));
}

quint8 mpegInfo::getRealByte()
{
    if (m_dataOffset >= m_dataLength) {
        m_dataOffset = 0;
        m_dataLength = readBlock();
    }
    m_byte = m_dataLength > 0 ? m_bytes[static_cast<size_t>(m_dataOffset++)] : 0;
    return m_byte;
}

// An offset at the very end of a block stays: the next byte read brings the next block.
void mpegInfo::skipRealByte(int count)
{
    if (m_dataLength == 0) {
        return;
    }
    qint64 offset = qint64{m_dataOffset} + std::max(count, 0);
    while (offset > m_dataLength && m_dataLength > 0) {
        offset -= m_dataLength;
        m_dataLength = readBlock();
    }
    m_dataOffset = m_dataLength > 0 ? static_cast<qint32>(offset) : 0;
}

// A block at the beginning of the file may be a short one. The file is left standing behind it, so
// that reading forwards goes on there and meets every byte once.
bool mpegInfo::readBlockBackward()
{
    const auto chunk = static_cast<qint32>(std::min<quint64>(blockSize, m_position));
    if (chunk == 0 || !m_file) {
        return false;
    }
    m_position -= static_cast<quint64>(chunk);
    if (!m_file->seek(static_cast<qint64>(m_position)) ||
        m_file->read(reinterpret_cast<char *>(m_bytes.data()), chunk) != chunk) {
        return false;
    }
    m_dataLength = chunk;
    m_dataOffset = chunk;
    return true;
}

quint8 mpegInfo::getByteBackward()
{
    if (m_dataOffset == 0 && !readBlockBackward()) {
        m_dataLength = 0;
        return 0;
    }
    m_byte = m_bytes[static_cast<size_t>(--m_dataOffset)];
    return m_byte;
}

bool mpegInfo::findByteBackward(quint8 byte)
{
    for (;;) {
        const void *found = ::memrchr(m_bytes.data(), byte, static_cast<size_t>(m_dataOffset));
        if (found) {
            m_dataOffset =
                static_cast<qint32>(static_cast<const quint8 *>(found) - m_bytes.data()) + 1;
            getByteBackward();
            return true;
        }
        m_dataOffset = 0;
        if (!readBlockBackward()) {
            m_dataLength = 0;
            return false;
        }
    }
}

bool mpegInfo::findCodeBackward(quint8 code)
{
    static constexpr std::array<quint8, 3> prefixReversed{1, 0, 0};
    m_bitOffset = 0;
    if (!findByteBackward(code)) {
        return false;
    }
    for (size_t matched = 0; matched < prefixReversed.size();) {
        const quint8 byte = getByteBackward();
        if (m_dataLength == 0) {
            return false;
        }
        if (byte == prefixReversed[matched]) {
            ++matched;
        } else if (byte == code || findByteBackward(code)) {
            matched = 0;
        } else {
            return false;
        }
    }
    for (size_t i = 0; i <= prefixReversed.size(); ++i) {
        getByte();
    }
    return true;
}

// --- packets of a program stream -----------------------------------------------------------------

quint8 mpegInfo::getByte()
{
    if (m_mux) {
        while (m_videoLength <= 0) {
            if (!enterPacket()) {
                return 0;
            }
        }
        --m_videoLength;
    }
    return getRealByte();
}

// Goes to the next packet and, when it is one of video, past its header. False at the end.
bool mpegInfo::enterPacket()
{
    using namespace mpegCodes;
    const quint8 code = findRealCode();
    if (code == 0 || code == sequenceEnd || code == programEnd) {
        return false;
    }
    if (code < systemHeader || code > lastVideoStream) {
        return true;
    }
    const int high = getRealByte();
    const int length = high << 8 | getRealByte();
    if (code < firstVideoStream) {
        skipRealByte(length);
        return true;
    }
    const quint8 first = getRealByte();
    const bool isMpeg2 = (first & 0xC0) == 0x80;
    m_videoLength = isMpeg2 ? mpeg2PayloadLength(length) : mpeg1PayloadLength(length, first);
    return true;
}

// ISO/IEC 13818-1 clause 2.4.3.6. The count has one byte beyond the payload: the first zero of the
// next start code passes as video. Packs begin with a pack header, which takes the loss; a packet
// that follows without one is overlooked.
int mpegInfo::mpeg2PayloadLength(int length)
{
    skipRealByte(1);
    const int headerLength = getRealByte();
    skipRealByte(headerLength);
    return length - 2 - headerLength;
}

// ISO/IEC 11172-1 clause 2.4.3.3: buffer size, then one time stamp, two, or none.
int mpegInfo::mpeg1PayloadLength(int length, quint8 first)
{
    int left = length - 1;
    if ((first & 0xC0) == 0x40) {
        skipRealByte(1);
        first = getRealByte();
        left = length - 3;
    }
    const int mark = first & 0xF0;
    const int stamps = mark == 0x20 ? 4 : mark == 0x30 ? 9 : 0;
    skipRealByte(stamps);
    return left - stamps;
}

// --- start codes ---------------------------------------------------------------------------------

quint8 mpegInfo::findRealCode()
{
    return searchCode(Layer::File, 0);
}

quint8 mpegInfo::findCode()
{
    return searchCode(Layer::Video, mpegCodes::sequenceEnd);
}

quint8 mpegInfo::searchCode(Layer layer, quint8 atEnd)
{
    const auto next = [&] { return layer == Layer::File ? getRealByte() : getByte(); };
    m_bitOffset = 0;
    for (int zeros = 0;;) {
        skipRun(layer, zeros);
        const quint8 byte = next();
        if (m_dataLength == 0) {
            return atEnd;
        }
        if (byte == 1 && zeros == 2) {
            const quint8 code = next();
            return m_dataLength == 0 ? atEnd : code;
        }
        zeros = byte == 0 ? std::min(zeros + 1, 2) : 0;
    }
}

// Passes over what can't change the number of zeros met so far, as far as the block goes: bytes
// that aren't zero after none, zeros after two.
void mpegInfo::skipRun(Layer layer, int zeros)
{
    const bool isPacket = m_mux && layer == Layer::Video;
    const int left = m_dataLength - m_dataOffset;
    const int count = isPacket ? std::min(left, m_videoLength) : left;
    if (count <= 0 || zeros == 1) {
        return;
    }
    const quint8 *begin = m_bytes.data() + m_dataOffset;
    const quint8 *end = begin + count;
    const quint8 *stop = zeros == 0
                             ? std::find(begin, end, quint8{0})
                             : std::find_if(begin, end, [](quint8 byte) { return byte != 0; });
    const auto passed = static_cast<qint32>(stop - begin);
    m_dataOffset += passed;
    m_videoLength -= isPacket ? passed : 0;
}

// --- numbers -------------------------------------------------------------------------------------

quint32 mpegInfo::getLong()
{
    quint32 value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8 | getByte();
    }
    m_bitOffset = 0;
    return value;
}

quint32 mpegInfo::getBits(int count)
{
    constexpr int most = 24;
    if (m_bitOffset == 0) {
        getByte();
    }
    quint32 value = m_byte & (0xFFU >> m_bitOffset);
    // Kept apart: entering the next packet on the way looks for a start code, which resets the
    // member.
    int offset = m_bitOffset + std::clamp(count, 0, most);
    while (offset > 7) {
        offset -= 8;
        if (offset != 0) {
            value = value << 8 | getByte();
        }
    }
    m_bitOffset = offset;
    return offset == 0 ? value : value >> (8 - offset);
}

// ISO/IEC 13818-2 clause 6.3.8
MpegTimeCode mpegInfo::readTimeCode()
{
    const auto field = [this](int bits) { return static_cast<quint8>(getBits(bits)); };
    MpegTimeCode time;
    field(1); // drop_frame_flag
    time.hours = field(5);
    time.minutes = field(6);
    field(1); // marker
    time.seconds = field(6);
    time.pictures = field(6);
    return time;
}

} // namespace qv
