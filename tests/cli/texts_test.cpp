#include "cli/results.h"

#include <gtest/gtest.h>

using namespace qv;

TEST(Texts, ANameCannotSteerTheTerminal)
{
    EXPECT_EQ(printable(QStringLiteral("a\nb\033[2Jc\x9b")), "a\\nb\\x1b[2Jc\\x9b");
    EXPECT_EQ(printable("Été 🎬 %1.mp4"), "Été 🎬 %1.mp4");
}

TEST(Texts, APlannedCommandCanBePastedIntoAShell)
{
    EXPECT_EQ(shellQuoted({"/bin/ffmpeg", "it's $HOME; %d", QString(), "select=eq(pict_type\\,I)"}),
              "/bin/ffmpeg 'it'\\''s $HOME; %d' '' 'select=eq(pict_type\\,I)'");
}
