#pragma once

#include <QtGlobal>

#include <array>

// Numbers of the MPEG video standards. A start code is the bytes 00 00 01 and one of these.
namespace qv::mpegCodes
{

// ISO/IEC 13818-2 table 6-1
inline constexpr quint8 picture = 0x00;
inline constexpr quint8 sequenceHeader = 0xB3;
inline constexpr quint8 extension = 0xB5;
inline constexpr quint8 sequenceEnd = 0xB7;
inline constexpr quint8 groupOfPictures = 0xB8;
// ISO/IEC 13818-1 clause 2.5.3
inline constexpr quint8 programEnd = 0xB9;
inline constexpr quint8 pack = 0xBA;
inline constexpr quint8 systemHeader = 0xBB;
// ISO/IEC 13818-1 clause 2.4.3.7, stream_id: E0 to EF are video
inline constexpr quint8 firstVideoStream = 0xE0;
inline constexpr quint8 lastVideoStream = 0xEF;

// The first four bytes of a file, as one number.
inline constexpr quint32 startCodePrefix = 0x00000100;

// ISO/IEC 13818-2 table 6-2
inline constexpr quint32 sequenceExtension = 1;
// ISO/IEC 13818-2 table 6-3
inline constexpr quint32 aspect16To9 = 3;
// ISO/IEC 13818-2 clause 6.3.3: bit_rate counts 400 bits a second
inline constexpr qint32 bitRateUnit = 400;

// ISO/IEC 13818-2 table 6-4, by frame_rate_code; the rest is forbidden or reserved
inline constexpr std::array<double, 16> frameRates{
    0.0, 24000.0 / 1001.0, 24.0, 25.0, 30000.0 / 1001.0, 30.0, 50.0, 60000.0 / 1001.0, 60.0};

} // namespace qv::mpegCodes
