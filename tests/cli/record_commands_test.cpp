// "info" and "plan".

#include "cli/command_test.h"

#include <QJsonArray>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

QStringList words(const char *line)
{
    return QString::fromUtf8(line).split(QLatin1Char(' '));
}

} // namespace

TEST_F(RealCommandTest, InfoTellsTheRecordAsTextAndAsJson)
{
    const QByteArray source = soundClip("clip.mp4");
    const Ran text = run({"info", source});
    EXPECT_EQ(text.status, 0);
    EXPECT_THAT(text.out.toStdString(),
                AllOf(HasSubstr("source: " + source.toStdString() + "\n"),
                      HasSubstr("\nv0_width: 320\n"), HasSubstr("\nv0_codec: h264\n"),
                      HasSubstr("\na0_codec: aac\n"), Not(HasSubstr("PathStr"))));
    const QJsonObject json = run({"info", "--json", source}).objects().value(0);
    EXPECT_EQ(json.keys(), words("record source"));
    const QJsonObject record = json.value(QStringLiteral("record")).toObject();
    EXPECT_EQ(record.value(QStringLiteral("v0_width")), 320);
    EXPECT_EQ(record.value(QStringLiteral("v0_height")), 180);
    EXPECT_EQ(record.value(QStringLiteral("v0_fps")), 10);
    EXPECT_EQ(record.value(QStringLiteral("w_duration")), 2);
    EXPECT_EQ(record.value(QStringLiteral("v0_codec")), QStringLiteral("h264"));
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(CommandTest, InfoGivesALineASourceAndAReasonForTheOthers)
{
    const Ran ran = run({"info", "--json", make("a.mp4"), path("none.mp4"), make("b.mp4")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.told("source"),
              QStringList({QString::fromUtf8(path("a.mp4")), QString::fromUtf8(path("b.mp4"))}));
    EXPECT_EQ(ran.err, "skipped: " + path("none.mp4") + ": no such file\n");
    EXPECT_EQ(run({"info", path("a.mp4"), path("b.mp4")}).out.count("\n\nsource: "), 1);
}

TEST_F(CommandTest, PlanTellsEveryPictureAndTakesNone)
{
    const QByteArray source = make("clip.duration-100.mp4");
    const Ran ran = run({"plan", "--json", "-l", "big", "-n", "5", source});
    EXPECT_EQ(ran.status, 0);
    const QJsonObject plan = ran.objects().value(0);
    EXPECT_EQ(plan.keys(), words("count hTh interval layout pictures source wTh"));
    EXPECT_EQ(plan.value(QStringLiteral("layout")), QStringLiteral("big"));
    EXPECT_EQ(plan.value(QStringLiteral("count")), 4);
    EXPECT_EQ(plan.value(QStringLiteral("wTh")), 640);
    EXPECT_EQ(plan.value(QStringLiteral("hTh")), 360);
    EXPECT_EQ(plan.value(QStringLiteral("interval")), 25);
    const QJsonArray pictures = plan.value(QStringLiteral("pictures")).toArray();
    ASSERT_EQ(pictures.size(), 4);
    for (qsizetype i = 0; i < pictures.size(); ++i) {
        const QJsonObject picture = pictures.at(i).toObject();
        EXPECT_EQ(picture.keys(), words("arguments index time timecode"));
        EXPECT_EQ(picture.value(QStringLiteral("index")), i);
        const QJsonArray arguments = picture.value(QStringLiteral("arguments")).toArray();
        EXPECT_TRUE(arguments.first().toString().endsWith(QStringLiteral("/ffmpeg")));
        EXPECT_TRUE(arguments.contains(QString::fromUtf8(source)));
    }
    EXPECT_THAT(contentsOf(path("tool.log")).toStdString(), Not(HasSubstr("picture")));
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(CommandTest, PlanWithoutOptionsIsThatOfAMediumSheet)
{
    const Ran ran = run({"plan", make("clip.mp4")});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr("layout: medium\ncount: 15\nsize: 640 x 360\ninterval: 4.00 s\n"),
                      HasSubstr("0:00:01")));
    EXPECT_EQ(run({"plan", path("none.mp4")}).status, 1);
}
