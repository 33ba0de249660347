// The reader of MPEG video on clips that ffmpeg makes, against what ffprobe counts in them.
#include "analysis/mpeg_info_dico.h"

#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/bundle.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

void makeClip(const QString &path, const char *size, const char *rate, const char *options)
{
    const QString source =
        QStringLiteral("testsrc=size=%1:rate=%2:duration=3.4").arg(q(size), q(rate));
    QStringList arguments{ffmpegPath(), q("-loglevel"), q("error"), q("-f"),
                          q("lavfi"),   q("-i"),        source};
    arguments += q(options).split(u' ', Qt::SkipEmptyParts);
    taskArray1PipeMax(arguments << q("-y") << path, ErrorText::Merged);
}

QJsonObject probed(const QString &path)
{
    const QString report = taskArray1PipeMax(
        {QStandardPaths::findExecutable(q("ffprobe")), q("-v"), q("error"), q("-of"), q("json"),
         q("-count_packets"), q("-select_streams"), q("v"), q("-show_streams"), path},
        ErrorText::Inherited);
    return QJsonDocument::fromJson(report.toUtf8())[u"streams"][0].toObject();
}

double ratio(const QString &text)
{
    return text.section(u'/', 0, 0).toDouble() / text.section(u'/', 1, 1).toDouble();
}

void expectAsProbed(const MediaInfoRecord &record, const QJsonObject &stream)
{
    const double rate = ratio(stream[u"r_frame_rate"].toString());
    EXPECT_EQ(record["v0_width"].toInt(), stream[u"width"].toInt());
    EXPECT_EQ(record["v0_height"].toInt(), stream[u"height"].toInt());
    EXPECT_NEAR(record["v0_fps"].toDouble(), rate, 0.001);
    EXPECT_EQ(record.value(q("v0_chroma"), stream[u"pix_fmt"].toVariant()),
              stream[u"pix_fmt"].toVariant());
    EXPECT_NE(record["wrapper"].toString() == q("mpeg"), record.contains(q("w_duration")));
    if (record.contains(q("w_duration"))) {
        const double seconds = stream[u"nb_read_packets"].toString().toDouble() / rate;
        EXPECT_NEAR(record["w_duration"].toDouble(), seconds, 1 / rate + 0.001);
    }
}

TEST(MpegClips, AreReadAsFfprobeReadsThem)
{
    Bundle::setMain(Bundle(QStringLiteral(QV_TEST_BUNDLE)));
    struct {
        const char *name;
        const char *size;
        const char *rate;
        const char *options;
        const char *wrapper;
        const char *dar;
        bool isProgressive;
        double offset;
    } const clips[] = {
        {"pal.m1v", "352x288", "25", "-c:v mpeg1video -aspect 4:3", "mpeg1video", "4:3", false, 0},
        {"pal.m2v", "720x576", "25",
         "-c:v mpeg2video -aspect 16:9 -flags +ildct+ilme -gop_timecode 10:00:00:00", "mpeg2video",
         "16:9", false, 36000},
        {"ntsc.m2v", "720x480", "30000/1001", "-c:v mpeg2video -aspect 4:3 -g 15", "mpeg2video",
         "4:3", true, 0},
        {"film.m2v", "352x288", "24000/1001",
         "-c:v mpeg2video -aspect 16:9 -gop_timecode 00:00:01:15", "mpeg2video", "16:9", true, 16},
        {"studio.m2v", "352x288", "50",
         "-c:v mpeg2video -aspect 16:9 -pix_fmt yuv422p -bf 2 -g 1000", "mpeg2video", "16:9", true,
         0},
        {"disc.mpg", "352x288", "25", "-c:v mpeg1video -aspect 4:3 -f mpeg", "mpeg", "4:3", false,
         0},
        {"disc.vob", "720x576", "25",
         "-f lavfi -i sine -t 3 -c:v mpeg2video -c:a mp2 -aspect 16:9 -f vob", "mpeg", "16:9", true,
         0},
    };
    const QTemporaryDir folder;
    for (const auto &clip : clips) {
        const QString path = folder.filePath(q(clip.name));
        makeClip(path, clip.size, clip.rate, clip.options);
        const auto record = mpeginfoFunction::mpegInfoDico(path);
        ASSERT_TRUE(record) << clip.name;
        const testing::ScopedTrace trace(__FILE__, __LINE__, clip.name);
        expectAsProbed(*record, probed(path));
        EXPECT_EQ(record->value(q("wrapper")), q(clip.wrapper));
        EXPECT_EQ(record->value(q("v0_dar")), q(clip.dar));
        EXPECT_EQ(record->value(q("v0_fields")) != q("i"), clip.isProgressive);
        EXPECT_EQ(record->value(q("w_offset")).toDouble(), clip.offset);
    }
}

} // namespace
