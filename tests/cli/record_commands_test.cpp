// "info" and "plan".

#include "cli/command_test.h"

#include <QJsonArray>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

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
    EXPECT_NEAR(json.value("duration").toDouble(), 2, 0.1);
    const QJsonObject record = json.value("record").toObject();
    EXPECT_EQ(record.value("v0_width"), 320);
    EXPECT_EQ(record.value("v0_fps"), 10);
}

TEST_F(CommandTest, RecordsAndPlansOfSeveralSourcesArePartedByAnEmptyLine)
{
    const QByteArrayList sources{make("in/a.mp4"), path("none.mp4"), make("in/b.mp4")};
    for (const char *command : {"info", "plan"}) {
        const Ran ran = run(QByteArrayList{command} + sources);
        EXPECT_EQ(ran.err, "skipped: " + path("none.mp4") + ": no such file\n");
        EXPECT_EQ(ran.out.count("\n\nsource: "), 1);
        EXPECT_EQ(run({command, path("in")}).out.size(), ran.out.size());
    }
}

TEST_F(CommandTest, PlanTellsEveryPictureAndTakesNone)
{
    const QByteArray source = make("clip.duration-100.mp4");
    const Ran ran = run({"plan", "--json", "-l", "big", "-n", "5", source});
    const QJsonObject plan = ran.objects().value(0);
    EXPECT_EQ(plan.value("count"), 4);
    EXPECT_EQ(plan.value("wTh"), 640);
    EXPECT_EQ(plan.value("interval"), 25);
    const QJsonArray pictures = plan.value("pictures").toArray();
    ASSERT_EQ(pictures.size(), 4);
    const QJsonObject last = pictures.last().toObject();
    EXPECT_EQ(last.keys(), words("arguments index time timecode"));
    EXPECT_TRUE(last.value("arguments").toArray().contains(QString::fromUtf8(source)));
    EXPECT_THAT(run({"plan", source}).out.toStdString(),
                HasSubstr("layout: medium\ncount: 15\nsize: 640 x 360\ninterval: 6.67 s\n"));
    EXPECT_THAT(contentOf(path("tool.log")).toStdString(), Not(HasSubstr("picture")));
    EXPECT_EQ(ran.err, "4 pictures instead of 5: the big layout has 2 columns\n");
    writeScript(m_bundle.tool("quickThumbs"), "exit 1\n");
    const QJsonObject quick = run({"plan", "--json", "--quick", source}).objects().value(0);
    EXPECT_EQ(quick.value("road"), "quick");
    EXPECT_EQ(quick.value("pictures").toArray().first().toObject()["arguments"], QJsonArray());
}
