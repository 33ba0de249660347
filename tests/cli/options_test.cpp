#include "cli/options.h"

#include "cli/command_test.h"

#include <tuple>

using namespace qv;
using testing::HasSubstr;

namespace
{

struct WrongLine {
    QByteArrayList arguments;
    const char *reason;
};

const std::vector<WrongLine> wrongLines{
    {{"bogus"}, "unknown command 'bogus'"},
    {{"sheet"}, "no source is named"},
    {{"sheet", "-o", "-", "a.mp4"}, "can't go to standard output"},
    {{"sheet", "--json", "--print0", "a.mp4"}, "exclude each other"},
    {{"sheet", "--nope", "a.mp4"}, "nope"},
    {{"plan", "-o", "out", "a.mp4"}, "o"},
    {{"sheet", "-o", "", "a.mp4"}, "no name"},
    {{"sheet", "-o", "folder\xff", "a.mp4"}, "not valid UTF-8"},
    {{"sheet", "-l", "huge", "a.mp4"}, "unknown layout 'huge'"},
    {{"sheet", "-n", "99999999999", "a.mp4"}, "no whole number"},
    {{"sheet", "-n", "2", "a.mp4"}, "3 columns"},
    {{"sheet", "--keep", "--replace", "a.mp4"}, "exclude each other"},
    {{"read"}, "no sheet is named"},
    {{"read", "--quick", "a.jpg"}, "quick"},
    {{"sheet", "--caption", "name,bogus", "a.mp4"}, "unknown caption 'bogus'"},
    {{"sheet", "--background", "nocolour", "a.mp4"}, "unknown colour 'nocolour'"},
    {{"sheet", "--background", "32,32,32,1", "a.mp4"}, "from 0 to 1"},
    {{"sheet", "--border-color", "0,b,0,1", "a.mp4"}, "from 0 to 1"},
    {{"sheet", "--\033[2J", "a.mp4"}, "\\x1b[2J"},
    {{"sheet", "--border-size", "nan", "a.mp4"}, "border size"},
    {{"sheet", "--border-size", "10.5", "a.mp4"}, "from 0 to 10"},
    {{"sheet", "--hang-timeout", "inf", "a.mp4"}, "time-out"},
    {{"sheet", "--jobs", "0", "a.mp4"}, "number of jobs '0'"},
    {{"sheet", "--shard", "0/4", "a.mp4"}, "shard '0/4'"},
    {{"sheet", "--shard", "1/2/3", "a.mp4"}, "shard '1/2/3'"},
    {{"sheet", "--shard", "1/100001", "a.mp4"}, "shard '1/100001'"},
    {{"sheet", "--from", "/none/list"}, "/none/list is no list of sources: No such file"},
    {{"sheet", "--from", "/"}, "/ is no list of sources: Is a directory"},
    {{"info", "--from", "-"}, "standard input is no list of sources: it names no source"},
    {{"sheet", "--from", "list\xff"}, "not valid UTF-8"},
};

Options parsed(const QStringList &arguments)
{
    const auto options = parseOptions(arguments);
    EXPECT_TRUE(options.has_value()) << options.error().toStdString();
    return options.value_or(Options());
}

// What is said of the sheets.
auto valuesOf(const Options &o)
{
    return std::tuple(o.output, o.layout, o.count, o.pictureChoice, o.update, o.noPaths,
                      o.noTimecode, o.captions, o.quick, o.background, o.borderColor, o.borderSize,
                      o.logFile, o.verbose, o.hangTimeout, o.noConfinement);
}

} // namespace

TEST_F(CommandTest, WrongUsageEndsWithStatusTwoAReasonAndAHint)
{
    for (const WrongLine &wrong : wrongLines) {
        const Ran ran = run(wrong.arguments);
        SCOPED_TRACE(wrong.arguments.join(' ').constData());
        EXPECT_EQ(ran.status, 2);
        EXPECT_EQ(ran.out, "");
        EXPECT_THAT(ran.err.toStdString(), HasSubstr(wrong.reason));
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("--help"));
    }
}

TEST_F(CommandTest, HelpAndVersionGoToStandardOutput)
{
    EXPECT_THAT(run({"--help"}).out.toStdString(), HasSubstr("Exit status"));
    EXPECT_THAT(run({"--version"}).out.toStdString(), HasSubstr("quorvantel-cli 1."));
    const Ran ran = run({"sheet", "-h"});
    EXPECT_THAT(ran.out.toStdString(), HasSubstr("--border-color"));
    EXPECT_EQ(ran.err, "");
    EXPECT_EQ(ran.status, 0);
}

TEST(Options, EveryOptionArrivesHereAndInCopiesOfTheCommand)
{
    const Options options = parsed(words(
        "sheet -o out -l mixed -n 12 -f png --update --no-paths --no-timecode --caption "
        "name,Size,picture "
        "--background red --border-color 0.5,0.25,0,1 --border-size 2.5 --json --log trace.txt "
        "--verbose --quiet --no-confinement --hang-timeout 1.5 --jobs 7 --shard 2/9 --from list "
        "--quick a.mp4 --from - b"));
    EXPECT_EQ(options.command, Command::Sheet);
    EXPECT_EQ(valuesOf(options),
              std::tuple(QString("out"), SheetLayout::Mixed, std::optional(12), std::optional(1),
                         true, true, true,
                         std::optional(QSet<QString>{"name", "poids", "vIdentity"}), true,
                         QString("1.00,0.00,0.00,1.00"), QString("0.50,0.25,0.00,1.00"),
                         std::optional(2.5), QString("trace.txt"), true, std::optional(1.5), true));
    EXPECT_EQ(options.sources, words("a.mp4 b"));
    EXPECT_EQ(options.from, words("list -"));
    EXPECT_EQ(options.jobs, 7);
    EXPECT_TRUE(options.json && options.quiet && options.shard && options.shard->part == 2);

    const Options copied = parsed(words("worker") + options.sheetArguments);
    EXPECT_EQ(copied.command, Command::Worker);
    EXPECT_EQ(copied.sources, QStringList());
    EXPECT_EQ(valuesOf(copied), valuesOf(options));
    const Options replacing = parsed(words("sheet --replace --jobs 7 a.mp4"));
    EXPECT_TRUE(parsed(words("worker") + replacing.sheetArguments).replace);
}
