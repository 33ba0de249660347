#pragma once

#include <QString>

#include <array>
#include <memory>

class QIODevice;

// A reader of MPEG-1 and MPEG-2 video files (ISO/IEC 11172-2, 13818-2) that needs no tool: picture
// size, aspect, rates and, for a bare video stream, the time codes of its beginning and end. Of a
// program stream (ISO/IEC 13818-1, 11172-1) it reads the parameters only.
namespace qv
{

// A time of day as a group of pictures states it; passes as 32 bits, the hours lowest.
struct MpegTimeCode {
    quint8 hours = 0;
    quint8 minutes = 0;
    quint8 seconds = 0;
    quint8 pictures = 0;

    friend bool operator==(const MpegTimeCode &, const MpegTimeCode &) = default;
};
static_assert(sizeof(MpegTimeCode) == sizeof(quint32));

// One reader reads one file: make it, call readInformations once, ask it.
class mpegInfo
{
public:
    mpegInfo();
    ~mpegInfo();
    mpegInfo(const mpegInfo &) = delete;
    mpegInfo &operator=(const mpegInfo &) = delete;

    // Zero for a program stream. The end is the instant after the last picture.
    MpegTimeCode duration() const { return m_duration; }
    MpegTimeCode end() const { return m_end; }
    MpegTimeCode begin() const { return m_begin; }
    int chromaFormat() const { return m_chromaFormat; } // 1 4:2:0, 2 4:2:2, 3 4:4:4; 0 unknown
    bool isProgressive() const { return m_isProgressive; }
    int bitRate() const { return m_bitRate; }            // bits a second
    double frameRate() const { return m_frameRate; }     // frames a second; 0 for a reserved code
    bool isWideScreen() const { return m_isWideScreen; } // 16:9
    int verticalSize() const { return m_verticalSize; }  // pixels
    int horizontalSize() const { return m_horizontalSize; }
    bool isMPeg2() const { return m_isMPeg2; }
    bool isMuxed() const { return m_mux; } // a program stream

    // Reads all of the above. A null text on success, or what is wrong: "File not found", "File of
    // length 0", "Reading error" (also for what is no regular file), "Not an MPEG-2 file" (not
    // beginning with a sequence header), "No GOP found".
    QString readInformations(const QString &path);
    // The same from an open random-access device of `size` bytes, which stays open.
    QString readInformations(QIODevice &device, quint64 size);

    // What the reading is made of. Reads beyond the end give 0.

    // Starts at the first byte of the device; not as a program stream.
    void attach(QIODevice &device, quint64 size);
    // A time code from the current bit on.
    MpegTimeCode readTimeCode();
    // Looks for the start code from the current block backwards and stands after it when found.
    bool findCodeBackward(quint8 code);
    quint8 getByteBackward();
    // The code byte of the next start code; the sequence end code when there is none.
    quint8 findCode();
    // The next bits, at most 24, most significant first.
    quint32 getBits(int count);
    quint32 getLong();
    // The next byte of video: in a program stream, of the payload of its video packets.
    quint8 getByte();
    // As findCode and getByte on the bytes of the file; 0 when there is no further start code.
    quint8 findRealCode();
    void skipRealByte(int count);
    quint8 getRealByte();

private:
    static constexpr int blockSize = 2048;
    enum class Layer { File, Video };

    void clearBuffer();
    int readBlock();
    bool readBlockBackward();
    quint8 searchCode(Layer layer, quint8 atEnd);
    void skipRun(Layer layer, int zeros);
    bool findByteBackward(quint8 byte);
    bool enterPacket();
    int mpeg2PayloadLength(int length);
    int mpeg1PayloadLength(int length, quint8 first);
    bool readFirstHeader();
    void readSequenceHeader();
    bool findFirstGroup();
    void readExtension();
    void readTimes();
    void addPicture(int rate);
    MpegTimeCode elapsed(int rate) const;

    std::unique_ptr<QIODevice> m_opened; // what m_file points at, when it was opened here
    QIODevice *m_file = nullptr;
    quint64 m_size = 0;
    qint32 m_dataOffset = 0; // of the next byte in the block
    qint32 m_dataLength = 0; // of the block; 0 at the end of the file
    qint32 m_bitOffset = 0;  // bits of m_byte that are consumed; 0 when the next bit needs a byte
    qint32 m_videoLength = 0;
    std::array<quint8, blockSize> m_bytes{};
    quint8 m_byte = 0;
    quint64 m_position = 0; // of the block, on the way backwards
    bool m_mux = false;
    qint32 m_horizontalSize = 0;
    qint32 m_verticalSize = 0;
    bool m_isWideScreen = false;
    double m_frameRate = 0;
    qint32 m_bitRate = 0;
    bool m_isMPeg2 = false;
    bool m_isProgressive = false;
    qint32 m_chromaFormat = 0;
    MpegTimeCode m_begin;
    MpegTimeCode m_end;
    MpegTimeCode m_duration;
};

} // namespace qv
