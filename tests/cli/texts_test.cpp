#include "cli/columns.h"
#include "cli/progress_line.h"
#include "cli/results.h"

#include <gmock/gmock.h>

using namespace qv;
using testing::HasSubstr;
using testing::Not;

TEST(Texts, ANameCannotSteerTheTerminal)
{
    EXPECT_EQ(printable(QStringLiteral("a\nb\033[2Jc\x9b")), "a\\nb\\x1b[2Jc\\x9b");
    EXPECT_EQ(printable("Été 🎬 %1.mp4"), "Été 🎬 %1.mp4");
}

TEST(Texts, ALineIsCutByTheColumnsThatItTakes)
{
    const struct {
        QString text;
        int columns;
        QString cut;
    } rows[] = {
        {"abcd", 4, "abcd"},      {"abcde", 4, "abc…"}, {"映画映画", 8, "映画映画"},
        {"映画映画", 6, "映画…"}, {"a🎬b", 3, "a…"},     {"e\u0301e\u0301", 2, "e\u0301e\u0301"},
        {"a🎬", 3, "a🎬"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(cutToColumns(row.text, row.columns), row.cut) << qPrintable(row.text);
        EXPECT_LE(columnsOf(row.cut), row.columns);
    }
}

TEST(Texts, TheTimeLeftIsEstimatedFromWhatTookWork)
{
    QByteArray told;
    Streams streams;
    streams.err = [&](const QByteArray &bytes) { told = bytes; };
    streams.errIsTerminal = true;
    ProgressLine line(streams, true, 4);
    line.passed(0);
    line.passed(0);
    line.source(3, "a.mp4");
    EXPECT_THAT(told.toStdString(), Not(HasSubstr("left"))) << "two were there already";
    line.step("Picture 2/2", 0.5);
    EXPECT_THAT(told.toStdString(), HasSubstr("left"));
}

TEST(Texts, APlannedCommandCanBePastedIntoAShell)
{
    EXPECT_EQ(shellQuoted({"/bin/ffmpeg", "it's $HOME; %d", QString(), "select=eq(pict_type\\,I)"}),
              "/bin/ffmpeg 'it'\\''s $HOME; %d' '' 'select=eq(pict_type\\,I)'");
}
