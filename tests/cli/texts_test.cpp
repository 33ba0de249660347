#include "cli/results.h"

#include <gtest/gtest.h>

using namespace qv;

TEST(Texts, ANameCannotSteerTheTerminal)
{
    EXPECT_EQ(printable(QStringLiteral("a\nb\033[2Jc\x9b")), QStringLiteral("a\\nb\\x1b[2Jc\\x9b"));
    EXPECT_EQ(printable(QStringLiteral("Été 🎬 %1.mp4")), QStringLiteral("Été 🎬 %1.mp4"));
}

TEST(Texts, APlannedCommandCanBePastedIntoAShell)
{
    EXPECT_EQ(shellQuoted({QStringLiteral("/bin/ffmpeg"), QStringLiteral("it's $HOME; %d"),
                           QString(), QStringLiteral("select=eq(pict_type\\,I)")}),
              QStringLiteral("/bin/ffmpeg 'it'\\''s $HOME; %d' '' 'select=eq(pict_type\\,I)'"));
}

TEST(Texts, AFloatIsWrittenWithItsOwnDigits)
{
    const MediaInfoRecord record{{QStringLiteral("v0_fps"), 29.97F},
                                 {QStringLiteral("srcPathStr"), QStringLiteral("/hidden")}};
    EXPECT_EQ(jsonLine(infoJson(QStringLiteral("a"), record)),
              R"({"record":{"v0_fps":29.97},"source":"a"})");
    EXPECT_EQ(infoText(QStringLiteral("a\nb"), record),
              QStringLiteral("source: a\\nb\nv0_fps: 29.97\n"));
}
