#include "analysis/stream_offsets.h"

#include "common/log_capture.h"

#include <QStringList>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

const char *const video = "  Stream #0:0[0x1e0], 25, 1/90000: Video: mpeg2video, 720x576\n";
const char *const audio = "  Stream #0:1[0x1c0](fre), 9, 1/90000: Audio: mp2, 48000 Hz\n";
const char *const subtitle = "  Stream #0:2(eng), 0, 1/1000: Subtitle: dvd_subtitle\n";
const char *const mapping = "  Stream #0:1 -> #0:0 (mpeg2video (native) -> rawvideo (native))\n";
const char *const output = "  Stream #0:0, 0, 1/25: Video: rawvideo (I420 / 0x30323449)\n";

// "0 3600 0" is a packet of stream 0 with these stamps.
QString packets(const char *list)
{
    QString text;
    for (const QString &packet : q(list).split("; ", Qt::SkipEmptyParts)) {
        const QStringList words = packet.split(u' ');
        text += QStringLiteral("av_read_packet stream=%1 pts=%2, dts=%3, size=9\n")
                    .arg(words[0], words[1], words[2]);
    }
    return text;
}

// The offsets as "key=value key=value".
QString described(const std::optional<QVariantMap> &offsets)
{
    if (!offsets) {
        return "nothing";
    }
    QStringList texts;
    for (auto it = offsets->begin(); it != offsets->end(); ++it) {
        EXPECT_EQ(it->typeId(), int(QMetaType::Int));
        texts.append(it.key() + u'=' + it->toString());
    }
    return texts.join(u' ');
}

TEST(StreamOffsets, AreMeasuredFromTheFirstVideo)
{
    const std::pair<const char *, const char *> cases[] = {
        {"0 3600 -1; 1 9000 -1", "a1_offsetMs=60 v_offsetMs=0"},
        {"0 3600 -1; 1 5400 -1", "v_offsetMs=0"},
        {"0 3600 -1; 1 6300 -1", "v_offsetMs=0"}, // 30 ms are within
        {"0 18000 -1; 1 9000 -1", "a1_offsetMs=-100 v_offsetMs=100"},
        {"0 9000 -1; 1 6750 -1", "v_offsetMs=25"}, // too little to store, still ahead
        {"0 9000 -1; 0 1 -1; 1 9000 -1; 1 90000 -1", "v_offsetMs=0"},
        {"0 0 9000; 1 18000 -1", "a1_offsetMs=100 v_offsetMs=0"}, // a stamp of 0 is none
        {"0 0 0; 1 9000 -1", "a1_offsetMs=100 v_offsetMs=0"},
        {"0 NOPTS NOPTS; 1 9000 -1", "a1_offsetMs=100 v_offsetMs=0"},
        {"0 9000 -1; 1 9000 -1; 2 250 -1", "s2_offsetMs=150 v_offsetMs=0"},
        {"0 9000 -1; 12 18000 -1", "a1_offsetMs=100 v_offsetMs=0"}, // by the first digit
        {"0 -5 -5; 1 9000 -1", "v_offsetMs=0"},
        {"0 1 -1; 1 9e300 -1", "a1_offsetMs=2147483647 v_offsetMs=0"},
        {"0 9e300 -1; 1 1 -1", "a1_offsetMs=-2147483648 v_offsetMs=2147483647"},
    };
    for (const auto &[list, expected] : cases) {
        const QString report = q(video) + q(audio) + q(subtitle) + q(mapping) + q(output);
        EXPECT_EQ(described(ptsDtsOffsetMs(report + packets(list))), q(expected)) << list;
    }
}

TEST(StreamOffsets, CountInTheTimeBaseThatTheStreamStates)
{
    const std::pair<const char *, const char *> cases[] = {
        {"Stream #0:1, 9, 1/48000: Audio: mp2", "a1_offsetMs=900"},
        {"Stream #0:1, 9, 1/0: Audio: mp2", "a1_offsetMs=47900"},
        {"Stream #0:1, 9, 1/48000 Audio: mp2", "a1_offsetMs=900"},
        {"Stream #0:1, Audio: mp2, 1/48000", "a1_offsetMs=47900"},
        {"Stream #0:1, Audio: pcm/raw, 1/48000", "a1_offsetMs=47900"},
        {"Stream #0:1, 9, Audio: mp2, 48000 Hz", nullptr}, // no time base, no stream
    };
    for (const auto &[line, expected] : cases) {
        const QString report = q(video) + q(line) + "\n" + packets("0 9000 -1; 1 48000 -1");
        const QString wanted = expected ? q(expected) + " v_offsetMs=0" : "nothing";
        EXPECT_EQ(described(ptsDtsOffsetMs(report)), wanted) << line;
    }
}

TEST(StreamOffsets, OfTwoLinesAboutAStreamTheFirstCounts)
{
    const QString again = "  Stream #0:1, 9, 1/1000: Audio: mp2\n";
    const QString list = packets("0 9000 -1; 1 18000 -1");
    EXPECT_EQ(described(ptsDtsOffsetMs(q(video) + q(audio) + again + list)),
              "a1_offsetMs=100 v_offsetMs=0");
}

TEST(StreamOffsets, AreNothingWithoutVideoAudioOrKnownPackets)
{
    const QString both = q(video) + q(audio);
    struct {
        QString report;
        const char *logged;
    } const cases[] = {
        {QString(), ""},
        {both, ""},
        {q(video) + packets("0 1 1"), "ptsDtsOffsetMs      - fin ;-) no audio?"},
        {q(audio) + packets("1 1 1"), "ptsDtsOffsetMs      - fin ;-) no video?"},
        {both + packets("0 1 1; 7 1 1"), "parse erreur, pas d'affectation sur chaque id (=>fin)"},
        {both + "Stream #0:2 av_read_packet stream=0\n", "ptsDtsOffsetMs      - fin :-( no pts"},
    };
    for (const auto &c : cases) {
        const LogCapture log;
        EXPECT_FALSE(ptsDtsOffsetMs(c.report)) << c.logged;
        EXPECT_TRUE(log.contains(q(c.logged))) << c.logged;
    }
}

} // namespace
