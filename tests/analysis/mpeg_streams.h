#pragma once

#include <QByteArray>
#include <QIODevice>

#include <algorithm>
#include <cstring>

// MPEG video written bit by bit.
namespace qv::tests
{

class BitWriter
{
public:
    BitWriter &bits(quint32 value, int count)
    {
        for (int i = count - 1; i >= 0; --i) {
            if (m_used == 0) {
                m_bytes.append('\0');
            }
            const auto bit = static_cast<char>((value >> i & 1U) << (7 - m_used));
            m_bytes.back() = static_cast<char>(m_bytes.back() | bit);
            m_used = (m_used + 1) % 8;
        }
        return *this;
    }
    QByteArray bytes() const { return m_bytes; }

private:
    QByteArray m_bytes;
    int m_used = 0;
};

inline QByteArray startCode(quint32 code)
{
    return BitWriter().bits(1, 24).bits(code, 8).bytes();
}

struct SequenceHeader {
    quint32 width = 720;
    quint32 height = 576;
    quint32 aspect = 2;
    quint32 rateCode = 3;
    quint32 bitRate = 15000; // times 400

    QByteArray bytes() const
    {
        const BitWriter fields =
            BitWriter().bits(width, 12).bits(height, 12).bits(aspect, 4).bits(rateCode, 4);
        return startCode(0xB3) + BitWriter(fields).bits(bitRate, 18).bits(1U << 13, 14).bytes();
    }
};

inline QByteArray sequenceExtension(quint32 progressive, quint32 chroma)
{
    const BitWriter fields = BitWriter().bits(1, 4).bits(0x48, 8).bits(progressive, 1);
    return startCode(0xB5) + BitWriter(fields).bits(chroma, 2).bits(0x1FFFFFF, 25).bytes();
}

struct Time {
    quint32 hours = 0;
    quint32 minutes = 0;
    quint32 seconds = 0;
    quint32 pictures = 0;
};

inline QByteArray group(const Time &time)
{
    const BitWriter high = BitWriter().bits(0, 1).bits(time.hours, 5).bits(time.minutes, 6);
    const BitWriter low = BitWriter(high).bits(1, 1).bits(time.seconds, 6).bits(time.pictures, 6);
    return startCode(0xB8) + BitWriter(low).bits(0x40, 7).bytes();
}

// Each with one slice.
inline QByteArray pictures(int count)
{
    const QByteArray one = startCode(0x00) + QByteArray(4, '\x55') + startCode(0x01) + "slice";
    return one.repeated(count);
}

inline QByteArray elementary(const Time &first, const Time &last, int picturesAfter,
                             quint32 rateCode = 3)
{
    SequenceHeader header;
    header.rateCode = rateCode;
    return header.bytes() + group(first) + pictures(2) + group(last) + pictures(picturesAfter);
}

inline QByteArray packet(quint32 code, const QByteArray &content)
{
    return startCode(code) + BitWriter().bits(static_cast<quint32>(content.size()), 16).bytes() +
           content;
}

// Zeros between a beginning and an end. Counts what is read.
class SparseDevice : public QIODevice
{
public:
    SparseDevice(const QByteArray &head, const QByteArray &tail, qint64 size)
        : m_head(head), m_tail(tail), m_size(size)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    qint64 size() const override { return m_size; }
    qint64 bytesRead() const { return m_bytesRead; }

protected:
    qint64 readData(char *data, qint64 maxSize) override
    {
        const qint64 count = std::clamp<qint64>(m_size - pos(), 0, maxSize);
        std::memset(data, 0, static_cast<size_t>(count));
        lay(m_head, -pos(), data, count);
        lay(m_tail, m_size - m_tail.size() - pos(), data, count);
        m_bytesRead += count;
        return count;
    }
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    static void lay(const QByteArray &part, qint64 at, char *data, qint64 count)
    {
        for (qint64 i = std::max<qint64>(at, 0); i < std::min(count, at + part.size()); ++i) {
            data[i] = part[i - at];
        }
    }

    QByteArray m_head;
    QByteArray m_tail;
    qint64 m_size;
    qint64 m_bytesRead = 0;
};

} // namespace qv::tests
