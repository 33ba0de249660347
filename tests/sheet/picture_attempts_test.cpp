#include "sheet/picture_attempts.h"

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QStringList planned(const char *seek, const char *selector)
{
    const QString filter = QString(selector) + "yadif=1,scale=320:180";
    return QString("tool -ss %1 -t 12 -loglevel info -i /s -frames:v 1 -vf %2 /img")
        .arg(seek, filter)
        .split(' ');
}

// "seek+length selector", with "last" when the last frame stays.
QString described(const PictureAttempt &attempt)
{
    const QStringList &arguments = attempt.arguments;
    const QString filter = arguments.at(arguments.indexOf("-vf") + 1);
    EXPECT_TRUE(filter.endsWith("showinfo=checksum=0,yadif=1,scale=320:180"));
    EXPECT_EQ(attempt.takesLast, arguments.contains("-update"));
    EXPECT_NEAR(attempt.seek, arguments.at(2).toDouble(), 0.006);
    return QString("%1+%2 %3%4")
        .arg(arguments.at(2), arguments.at(4), filter.chopped(41),
             attempt.takesLast ? " last" : "");
}

const char *const intra = "select=eq(pict_type\\,I),";

} // namespace

TEST(PictureAttempts, LookEverFartherFromTheInstant)
{
    const struct {
        const char *seek;
        const char *selector;
        AttemptClues clues;
        QStringList expected;
    } rows[] = {
        {"70.00",
         intra,
         {10, 25, true, true},
         {"70.00+12 ", "69.50+12 ", "68.00+12 ", "40.00+42 select=gte(t\\,30),",
          "10.00+60 select=eq(pict_type\\,I), last", "70.00+60 ",
          "0.00+70 select=eq(pict_type\\,I), last"}},
        // Where a seek ends anywhere, frames without those they build on would come first.
        {"40.00",
         intra,
         {10, 25, true, seeksToKeyFrames("mpegts")},
         {"10.00+42 select=gte(t\\,30),", "40.00+12 ", "39.50+12 ", "38.00+12 ",
          "0.00+40 select=eq(pict_type\\,I), last", "40.00+60 "}},
        // Without a selector in the plan the first has been tried already.
        {"0.30",
         "",
         {10, 25, true, true},
         {"0.00+12 ", "0.00+12 ", "0.00+12.3 select=gte(t\\,0.3),",
          "0.00+0.3 select=eq(pict_type\\,I), last", "0.30+60 "}},
        // A slide show: the picture at an instant may have begun long before.
        {"9000.00",
         "",
         {900, 1.0 / 60, true, true},
         {"8999.50+12 ", "8998.00+12 ", "8970.00+42 select=gte(t\\,30),", "8100.00+900  last",
          "9000.00+900 ", "5400.00+3600 select=eq(pict_type\\,I), last"}},
        // Sound that is longer than the picture.
        {"90.00",
         intra,
         {10, 25, true, true, 60.0},
         {"59.75+12  last", "30.00+60 select=eq(pict_type\\,I), last",
          "0.00+90 select=eq(pict_type\\,I), last"}},
        {"9000.00",
         intra,
         {10, 25, true, true, {}, 60.0},
         {"5400.00+3600 select=eq(pict_type\\,I), last", "59.75+12  last", "9000.00+60 "}},
    };
    for (const auto &row : rows) {
        QStringList got;
        while (const auto attempt = nextAttempt(planned(row.seek, row.selector),
                                                static_cast<int>(got.size()) + 1, row.clues)) {
            got << described(*attempt);
        }
        EXPECT_EQ(got, row.expected) << row.seek;
    }
    EXPECT_FALSE(nextAttempt({"tool", "-vf"}, 1, {}));
}

TEST(PictureAttempts, DecodeFromTheStartWhereFfmpegCantSeek)
{
    const auto attempt = nextAttempt(planned("70.00", intra), 1, {10, 25, false, true});
    ASSERT_TRUE(attempt);
    EXPECT_EQ(attempt->arguments.mid(0, 8),
              (QStringList{"tool", "-loglevel", "info", "-i", "/s", "-ss", "70.00", "-frames:v"}));
    EXPECT_FALSE(attempt->arguments.contains("-t"));
    EXPECT_FALSE(nextAttempt(planned("70.00", intra), 2, {10, 25, false, true}));
}
