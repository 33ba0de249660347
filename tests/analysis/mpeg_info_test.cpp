// The reader of MPEG video on streams that are built here.
#include "analysis/mpeg_info.h"
#include "analysis/mpeg_info_dico.h"

#include "analysis/expect_record.h"
#include "analysis/mpeg_streams.h"
#include "common/folder_test.h"
#include "common/log_capture.h"

#include <QBuffer>

#include <sys/stat.h>

using namespace qv;
using namespace qv::tests;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

QString read(mpegInfo &reader, QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return reader.readInformations(buffer, static_cast<quint64>(bytes.size()));
}

std::string text(const MpegTimeCode &time)
{
    return QString::asprintf("%02u:%02u:%02u:%02u", time.hours, time.minutes, time.seconds,
                             time.pictures)
        .toStdString();
}

TEST(MpegReader, ReadsThePictureParameters)
{
    SequenceHeader wide;
    wide.aspect = 3;
    wide.width = 1440;
    wide.height = 1080;
    wide.rateCode = 4;
    wide.bitRate = 0x3FFFF;
    const QByteArray plain = SequenceHeader().bytes();
    struct {
        QByteArray stream;
        const char *expected;
        bool isProgressive;
    } const cases[] = {
        {plain,
         "wrapper=mpeg1video; v0_width=720; v0_height=576; v0_bitrate=6000; v0_fps=25.0; "
         "v0_dar=4:3; v0_fields=i; v0_chroma=",
         false},
        {wide.bytes() + sequenceExtension(1, 1),
         "wrapper=mpeg2video; v0_width=1440; v0_height=1080; v0_bitrate=104857; v0_fps=29.97003; "
         "v0_dar=16:9; v0_chroma=yuv420p",
         true},
        {plain + sequenceExtension(0, 2), "v0_width=720; v0_fields=i; v0_chroma=yuv422p", false},
        {plain + sequenceExtension(0, 3), "v0_fields=i; v0_chroma=yuv444p", false},
        {plain + sequenceExtension(0, 0), "wrapper=mpeg2video; v0_fields=i; v0_chroma=", false},
        // another extension (of the display) is none of the sequence
        {plain + startCode(0xB5) + QByteArray(5, '\x2f'), "wrapper=mpeg1video; v0_chroma=", false},
    };
    for (const auto &c : cases) {
        mpegInfo reader;
        ASSERT_TRUE(read(reader, c.stream + group({}) + pictures(1)).isNull());
        const MediaInfoRecord record = mpegRecord(reader);
        expectRecord(record, c.expected, c.stream.toHex());
        EXPECT_EQ(reader.isProgressive(), c.isProgressive);
        EXPECT_EQ(record["v0_fields"] == "i", !c.isProgressive);
    }
}

TEST(MpegReader, TellsBeginEndAndDuration)
{
    struct {
        Time first;
        Time last;
        int picturesAfter;
        quint32 rateCode;
        const char *end;
        const char *duration;
        float seconds;
        float offset;
    } const cases[] = {
        {{10, 0, 0, 0}, {10, 0, 59, 0}, 12, 3, "10:00:59:12", "00:00:59:12", 59.48F, 36000},
        {{0, 0, 1, 15}, {0, 0, 1, 15}, 0, 3, "00:00:01:15", "00:00:00:00", 0, 16},
        // every field is borrowed from
        {{1, 59, 58, 20}, {3, 0, 0, 0}, 10, 3, "03:00:00:10", "01:00:01:15", 3601.6F, 7218},
        // every field is carried into, and midnight passed
        {{23, 0, 0, 0}, {23, 59, 59, 20}, 30, 3, "00:00:01:00", "01:00:01:00", 3601, 82800},
        // 29 pictures a second at 29.97
        {{0, 0, 0, 0}, {0, 0, 0, 0}, 30, 4, "00:00:01:01", "00:00:01:01", 1.0333667F, 0},
        // no rate: pictures take no time
        {{0, 0, 1, 5}, {0, 0, 3, 4}, 300, 0, "00:00:03:04", "00:00:02:00", 2, 6},
        {{0, 0, 1, 5}, {0, 0, 3, 4}, 300, 15, "00:00:03:04", "00:00:02:00", 2, 6},
        // fields beyond what a clock shows
        {{31, 63, 63, 63}, {0, 0, 0, 0}, 1, 3, "00:00:00:01", "15:55:54:13", 57354.52F, 115506},
        {{0, 0, 0, 0}, {31, 63, 63, 63}, 1, 3, "00:00:00:00", "00:00:00:00", 0, 0},
    };
    for (const auto &c : cases) {
        mpegInfo reader;
        ASSERT_TRUE(
            read(reader, elementary(c.first, c.last, c.picturesAfter, c.rateCode)).isNull());
        EXPECT_EQ(text(reader.end()), c.end);
        EXPECT_EQ(text(reader.duration()), c.duration) << "to " << c.end;
        const MediaInfoRecord record = mpegRecord(reader);
        EXPECT_FLOAT_EQ(record["w_duration"].toFloat(), c.seconds) << "to " << c.end;
        EXPECT_FLOAT_EQ(record["w_offset"].toFloat(), c.offset) << "to " << c.end;
    }
}

// Blocks of 2048 bytes are laid from the front forwards and from the end backwards.
TEST(MpegReader, FindsTheLastGroupWhereverBlocksEnd)
{
    for (int before : {300, 2044}) {
        for (int after = 2048; after < 2 * 2048; ++after) {
            const QByteArray head = SequenceHeader().bytes() + group({}) + pictures(1);
            const QByteArray stream = head + QByteArray(before - head.size(), '\xb8') +
                                      group({0, 0, 7, 0}) + pictures(2) + QByteArray(after, '\0') +
                                      pictures(3);
            mpegInfo reader;
            ASSERT_TRUE(read(reader, stream).isNull());
            ASSERT_EQ(text(reader.duration()), "00:00:07:05") << before << ' ' << after;
        }
    }
}

TEST(MpegReader, TellsStartCodesFromWhatResemblesThem)
{
    struct {
        const char *bytes; // hexadecimal
        const char *next;  // what follows the last 00 00 01 b8, or null when there is none
    } const cases[] = {
        {"000001b8 11 00 00 02 b8", "11"},
        {"000001b8 22 0001b8", "22"},
        {"000001b8 33 b8b8b8", "33"},
        {"b8 000001b8 44 01b8", "44"},
        {"00000000 01b8 55", "55"},
        {"000001b8b8 66", "b8"},
        {"0001b8", nullptr},
        {"b8", nullptr},
        {"01b8 000002b8", nullptr},
        {"000001", nullptr},
    };
    for (const auto &c : cases) {
        QByteArray bytes = QByteArray::fromHex(c.bytes);
        QBuffer buffer(&bytes);
        buffer.open(QIODevice::ReadOnly);
        mpegInfo forward;
        forward.attach(buffer, static_cast<quint64>(bytes.size()));
        EXPECT_EQ(forward.findCode(), c.next ? 0xB8 : 0xB7) << c.bytes;
    }
    for (const auto &c : cases) {
        mpegInfo reader;
        const QByteArray front = SequenceHeader().bytes() + group({31, 63, 63, 63});
        ASSERT_TRUE(read(reader, front + QByteArray::fromHex(c.bytes) + "\xff\xff\xff").isNull());
        const bool isFront = text(reader.end()) == "31:63:63:63";
        EXPECT_EQ(isFront, c.next == nullptr) << c.bytes;
    }
}

TEST(MpegReader, ReadsTheVideoPacketsOfAProgramStream)
{
    const QByteArray video = SequenceHeader().bytes() + sequenceExtension(1, 1) + group({});
    const QByteArray packMpeg1 = startCode(0xBA) + QByteArray::fromHex("210001000180 0001");
    const QByteArray others = packet(0xBB, QByteArray(12, '\x7f')) +
                              packet(0xC0, QByteArray(5000, '\x01')) +
                              packet(0xBF, QByteArray(2048, '\0'));
    const QByteArray stamp(4, '\x55');
    const QByteArray anyOf[] = {
        packet(0xE0, QByteArray("\x0f", 1) + video),
        packet(0xE0, QByteArray("\x21", 1) + stamp + video),
        packet(0xE0, QByteArray("\x31", 1) + stamp + stamp + "\x55" + video),
        packet(0xE0, QByteArray("\x40\x20\x21", 3) + stamp + video),
        packet(0xE0, QByteArray("\x60\x20\x0f", 3) + video),
        packet(0xEF, QByteArray("\x81\x80\x05", 3) + stamp + "\x55" + video),
        // cut within the sequence header, within a field of it, and right behind it
        packet(0xE0, "\x0f" + video.left(3)) + others + packet(0xE0, "\x0f" + video.mid(3)),
        packet(0xE0, "\x0f" + video.left(5)) + others + packet(0xE0, "\x0f" + video.mid(5)),
        packet(0xE0, "\x0f" + video.left(12)) + packMpeg1 + packet(0xE0, "\x0f" + video.mid(12)),
    };
    for (const QByteArray &packets : anyOf) {
        mpegInfo reader;
        ASSERT_TRUE(read(reader, packMpeg1 + others + packets + startCode(0xB9)).isNull())
            << packets.toHex().toStdString();
        EXPECT_TRUE(reader.isMuxed());
        EXPECT_TRUE(reader.isMPeg2());
        const MediaInfoRecord record = mpegRecord(reader);
        EXPECT_EQ(record["wrapper"], "mpeg");
        EXPECT_EQ(record["v0_width"], 720);
        EXPECT_EQ(record["v0_height"], 576);
        EXPECT_FALSE(record.contains("w_duration"));
        EXPECT_FALSE(record.contains("w_offset"));
    }
}

TEST(MpegReader, SaysWhatIsWrong)
{
    const QByteArray header = SequenceHeader().bytes();
    const QByteArray pack = startCode(0xBA);
    const std::pair<QByteArray, const char *> cases[] = {
        {"", "File of length 0"},
        {"x", "Not an MPEG-2 file"},
        {QByteArray(10000, '\0'), "Not an MPEG-2 file"},
        {group({}) + header, "Not an MPEG-2 file"},
        {pack, "Not an MPEG-2 file"},
        {pack + startCode(0xB9) + packet(0xE0, "\x0f" + header), "Not an MPEG-2 file"},
        {pack + packet(0xE0, header.left(4)), "Not an MPEG-2 file"},
        {pack + packet(0xE0, "\x81\x80\xff"), "Not an MPEG-2 file"}, // more header than packet
        {pack + packet(0xE0, "\x0f" + header + startCode(0xB7) + group({})), "No GOP found"},
        // the first byte behind an MPEG-2 packet belongs to it, so the next one isn't seen
        {pack + packet(0xE0, QByteArray("\x81\x80\x00", 3) + header) +
             packet(0xE0, QByteArray("\x81\x80\x00", 3) + group({})),
         "No GOP found"},
        {header.left(4), "No GOP found"},
        {header + startCode(0xB5), "No GOP found"},
        {header + QByteArray::fromHex("000001"), "No GOP found"},
        {header + startCode(0xB7) + group({}), "No GOP found"},
    };
    for (const auto &[bytes, error] : cases) {
        mpegInfo reader;
        EXPECT_EQ(read(reader, bytes), q(error)) << bytes.left(40).toHex().toStdString();
    }
}

TEST(MpegReader, ReadsFourGigabytesAsFourMegabytes)
{
    const QByteArray head = SequenceHeader().bytes() + group({}) + pictures(1);
    const QByteArray tail = group({1, 0, 0, 0}) + pictures(5) + QByteArray(3000, '\0');
    const auto readFrom = [&](qint64 size) {
        SparseDevice device(head, tail, size);
        mpegInfo reader;
        EXPECT_TRUE(reader.readInformations(device, static_cast<quint64>(size)).isNull());
        EXPECT_EQ(text(reader.duration()), "01:00:00:05");
        return device.bytesRead();
    };
    const qint64 small = readFrom(qint64{4} << 20);
    EXPECT_EQ(readFrom((qint64{4} << 30) + 1234), small);
    EXPECT_LE(small, 10 * 2048);
}

using MpegFiles = FolderTest;

TEST_F(MpegFiles, GiveARecordOrAReasonInTheLog)
{
    const QString film = path("film %1.m2v");
    writeFile(film, elementary({10, 0, 0, 0}, {10, 0, 59, 0}, 12));
    const LogCapture log;
    setDebug(true);
    const auto record = mpeginfoFunction::mpegInfoDico(film);
    setDebug(false);
    ASSERT_TRUE(record);
    EXPECT_EQ(record->value("wrapper"), "mpeg1video");
    for (const char *line : {"mpegInfo            - ", "10:00:59.12",
                             "w_duration          : 59.480\n", "mpegInfo            - fin\n\n"}) {
        EXPECT_TRUE(log.contains(q(line))) << line;
    }
    EXPECT_FALSE(mpeginfoFunction::mpegInfoDico(path("missing")));
    EXPECT_TRUE(log.contains("Erreur              : File not found\n"));
    EXPECT_EQ(mpeginfoFunction::mpegInfo(film), "");
}

TEST_F(MpegFiles, ThatAreNoneAreRefusedAtOnce)
{
    ASSERT_EQ(::mkfifo(path("pipe").toLocal8Bit().constData(), 0600), 0);
    writeFile(path("empty"), "");
    const std::pair<QString, const char *> cases[] = {
        {path("pipe"), "Reading error"},     {"/dev/zero", "Reading error"},
        {path("."), "File not found"},       {QString(), "File not found"},
        {path("empty"), "File of length 0"},
    };
    for (const auto &[file, error] : cases) {
        mpegInfo reader;
        EXPECT_EQ(reader.readInformations(file), q(error)) << file.toStdString();
    }
}

} // namespace
