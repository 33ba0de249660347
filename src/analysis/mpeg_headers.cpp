// What is read of a file, in order: the sequence header, its extension, the first and the last
// group of pictures.
#include "analysis/mpeg_info.h"

#include "analysis/mpeg_codes.h"

#include <QFile>
#include <QFileInfo>

namespace qv
{
namespace
{

// Borrows from the next higher field until this one is no longer negative. Without a unit (a
// stream of unknown rate) nothing can be borrowed.
void borrow(int &field, int unit, int &higher)
{
    while (field < 0 && unit > 0) {
        field += unit;
        --higher;
    }
}

} // namespace

QString mpegInfo::readInformations(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists() || info.isDir()) {
        return QStringLiteral("File not found");
    }
    if (!info.isFile()) { // reading a pipe might never end
        return QStringLiteral("Reading error");
    }
    if (info.size() == 0) {
        return QStringLiteral("File of length 0");
    }
    m_opened = std::make_unique<QFile>(path);
    if (!m_opened->open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        return QStringLiteral("Reading error");
    }
    const QString error = readInformations(*m_opened, static_cast<quint64>(info.size()));
    if (error.isNull()) {
        m_opened.reset();
    }
    return error;
}

QString mpegInfo::readInformations(QIODevice &device, quint64 size)
{
    if (size == 0) {
        return QStringLiteral("File of length 0");
    }
    attach(device, size);
    if (!readFirstHeader()) {
        return QStringLiteral("Not an MPEG-2 file");
    }
    readSequenceHeader();
    if (!findFirstGroup()) {
        return QStringLiteral("No GOP found");
    }
    if (!m_mux) {
        readTimes();
    }
    m_file = nullptr;
    return {};
}

bool mpegInfo::readFirstHeader()
{
    using namespace mpegCodes;
    quint32 code = getLong();
    if (code == (startCodePrefix | pack)) {
        m_mux = true;
        clearBuffer();
        m_videoLength = 0;
        m_file->seek(0);
        code = getLong();
    }
    return code == (startCodePrefix | sequenceHeader);
}

// ISO/IEC 13818-2 clause 6.2.2.1
void mpegInfo::readSequenceHeader()
{
    using namespace mpegCodes;
    m_horizontalSize = static_cast<qint32>(getBits(12));
    m_verticalSize = static_cast<qint32>(getBits(12));
    m_isWideScreen = getBits(4) == aspect16To9;
    m_frameRate = frameRates[getBits(4)];
    m_bitRate = static_cast<qint32>(getBits(18)) * bitRateUnit;
    m_isMPeg2 = false;
    m_isProgressive = false;
    m_chromaFormat = 0;
    m_begin = m_end = m_duration = {};
}

bool mpegInfo::findFirstGroup()
{
    for (;;) {
        switch (findCode()) {
        case mpegCodes::extension:
            readExtension();
            break;
        case mpegCodes::groupOfPictures:
            return true;
        case mpegCodes::sequenceEnd:
            return false;
        default:
            break;
        }
    }
}

// ISO/IEC 13818-2 clause 6.2.2.3
void mpegInfo::readExtension()
{
    if (getBits(4) != mpegCodes::sequenceExtension) {
        return;
    }
    m_isMPeg2 = true;
    getBits(8); // profile and level
    m_isProgressive = getBits(1) != 0;
    m_chromaFormat = static_cast<qint32>(getBits(2));
}

// Pictures are counted by whole rates: 29.97 a second carry after 29.
void mpegInfo::readTimes()
{
    const int rate = static_cast<int>(m_frameRate);
    m_begin = readTimeCode();
    clearBuffer();
    m_position = m_size;
    if (findCodeBackward(mpegCodes::groupOfPictures)) {
        m_end = readTimeCode();
    }
    while (m_dataLength != 0) {
        if (findCode() == mpegCodes::picture) {
            addPicture(rate);
        }
    }
    m_duration = elapsed(rate);
}

// A picture of a stream of unknown rate takes no time that could be told.
void mpegInfo::addPicture(int rate)
{
    if (rate == 0 || ++m_end.pictures < rate) {
        return;
    }
    m_end.pictures = 0;
    if (++m_end.seconds < 60) {
        return;
    }
    m_end.seconds = 0;
    if (++m_end.minutes < 60) {
        return;
    }
    m_end.minutes = 0;
    if (++m_end.hours >= 24) {
        m_end.hours = 0;
    }
}

// A stream may pass midnight once. Fields beyond their range, which the bits can hold, give
// something in range.
MpegTimeCode mpegInfo::elapsed(int rate) const
{
    int hours = m_end.hours - m_begin.hours;
    int minutes = m_end.minutes - m_begin.minutes;
    int seconds = m_end.seconds - m_begin.seconds;
    int pictures = m_end.pictures - m_begin.pictures;
    int days = 0;
    borrow(pictures, rate, seconds);
    borrow(seconds, 60, minutes);
    borrow(minutes, 60, hours);
    borrow(hours, 24, days);
    const auto field = [](int value) { return static_cast<quint8>(value > 0 ? value : 0); };
    return {field(hours), field(minutes), field(seconds), field(pictures)};
}

} // namespace qv
