#include "cli/columns.h"
#include "cli/progress_line.h"
#include "cli/results.h"
#include "support/log.h"

#include <QJsonDocument>

#include <gmock/gmock.h>

using namespace qv;
using testing::HasSubstr;
using testing::Not;

// One table for every way in which a name reaches a person or a script.
TEST(Texts, ANameCannotSteerTheTerminalNorForgeALine)
{
    const struct {
        QString name;
        const char *shown;
        const char *json;
    } rows[] = {
        {"Été 🎬 %1.mp4", "Été 🎬 %1.mp4", R"({"source":"Été 🎬 %1.mp4"})"},
        {"a\nb\033[2Jc", R"(a\nb\x1b[2Jc)", R"({"source":"a\nb\u001b[2Jc"})"},
        {QString("a\u007f\u009bb"), R"(a\x7f\x9bb)", R"({"source":"a\u007f\u009bb"})"},
        {QString("gpj.\u202e4pm"), R"(gpj.\u202e4pm)", R"({"source":"gpj.\u202e4pm"})"},
        {QString("a\u2028b\u2066c"), R"(a\u2028b\u2066c)", R"({"source":"a\u2028b\u2066c"})"},
    };
    QByteArray printed;
    QByteArray logged;
    Streams streams;
    streams.out = streams.err = [&](const QByteArray &bytes) { printed = bytes; };
    streams.outIsTerminal = true;
    setLogSink([&](const QByteArray &line) { logged = line; });
    for (const auto &row : rows) {
        streams.message(row.name);
        EXPECT_EQ(printed, QByteArray(row.shown) + '\n');
        streams.result(row.name);
        EXPECT_EQ(printed, QByteArray(row.shown) + '\n');
        logLine(row.name);
        EXPECT_TRUE(logged.endsWith(QByteArray("] ") + row.shown + '\n')) << logged.constData();
        const QByteArray json = jsonLine({{"source", row.name}});
        EXPECT_EQ(json, row.json);
        EXPECT_EQ(QJsonDocument::fromJson(json).object().value("source").toString(), row.name);
    }
    setLogSink(nullptr);
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
