// What the application makes of the tool's answers.
#include "analysis/ffmpeg_probes.h"
#include "analysis/movie_tool.h"
#include "common/log_capture.h"
#include "process/tool_environment.h"
#include "tools/thumbs_fixture.h"

using namespace qv;

namespace
{

class MovieToolTest : public ThumbsTest
{
protected:
    MovieToolTest() : m_bundle(TestBundle::Ffmpeg::None)
    {
        setTemporaryFolder(path({}));
        QDir().mkdir(toolFolder());
    }
    ~MovieToolTest() override { setTemporaryFolder({}); }
    void useBuiltTool() { QFile::link(builtTool("qtThumbs"), m_bundle.tool("qtThumbs")); }

    TestBundle m_bundle;
    MovieTool m_movies;
};

} // namespace

TEST_F(MovieToolTest, DescribesWhatIsLookedAt)
{
    useBuiltTool();
    film("0.mov", "testsrc=s=720x576:r=5:d=2[out0];sine=d=2[out1]",
         "-c:v prores_ks -profile:v 1 -aspect 16:9 -c:a pcm_s24le");
    run("ffmpeg", {"-v", "error", "-i", path("0.mov"), "-c", "copy", "-metadata:s:v", "rotate=90",
                   path("90.mov")});
    const MediaInfoRecord flat{
        {"wrapper", "mov"},        {"w_duration", 2},      {"w_width", 1024},
        {"w_height", 576},         {"w_dar", "16:9"},      {"v0_codec", "apcs"},
        {"v0_width", 720},         {"v0_height", 576},     {"v0_par", "64:45"},
        {"v0_dar", "16:9"},        {"v0_fps", 5.0F},       {"v0_fields", fieldOrderWord("p")},
        {"a0_rate", 44100},        {"a0_channels", 1},     {"a0_bits", 24},
        {"a0_codec", "pcm_s24le"}, {"exactDuration", 2.0},
    };
    EXPECT_EQ(m_movies.record(path("0.mov")), flat);
    const MediaInfoRecord turned = m_movies.record(path("90.mov")).value_or(MediaInfoRecord());
    EXPECT_EQ(turned["v0_width"], 576);
    EXPECT_EQ(turned["v0_height"], 720);
    EXPECT_EQ(turned["v0_par"], "45:64");
    EXPECT_EQ(turned["w_dar"], "9:16");
    EXPECT_TRUE(m_movies.hasDecoder("apch"));
    EXPECT_FALSE(m_movies.hasDecoder("ABCD"));
    EXPECT_TRUE(m_movies.thumbnail(path("0.mov"), 160, 90, 1.5, path("tools/0.jpg")));
    EXPECT_EQ(QImage(path("tools/0.jpg")).size(), QSize(160, 90));
}

TEST_F(MovieToolTest, OpensNothingWithoutTheTool)
{
    film("film.mov", traffic(), "-c:v mpeg4");
    EXPECT_FALSE(m_movies.canOpen(path("film.mov")));
    EXPECT_FALSE(m_movies.hasDecoder("APCH"));
    EXPECT_FALSE(m_movies.thumbnail(path("film.mov"), 9, 9, 0, path("none.jpg")));
}

TEST_F(MovieToolTest, AsksOnceForEachSourceAsItIs)
{
    writeScript(m_bundle.tool("qtThumbs"),
                QString("echo \"$@\" >> '%1'\n"
                        "echo '{\"APCH\": true, \"v0_width\": 8, \"v0_height\": 8}'\n")
                    .arg(path("tools/runs"))
                    .toUtf8());
    write("a.mov", "1");
    EXPECT_TRUE(m_movies.canOpen(path("a.mov")) && m_movies.record(path("a.mov")));
    EXPECT_TRUE(m_movies.hasDecoder("APCH") && !m_movies.hasDecoder("ICOD"));
    EXPECT_EQ(read("tools/runs").count('\n'), 2);
    write("a.mov", "22");
    EXPECT_TRUE(m_movies.canOpen(path("a.mov")));
    EXPECT_EQ(read("tools/runs").count('\n'), 3);
}

TEST(MovieRecord, TakesOnlyValuesThatCanBe)
{
    const MediaInfoRecord size{{"v0_width", 8}, {"v0_height", 6}};
    const struct {
        const char *members;
        QVariantMap added;
    } rows[] = {
        {"\"v0_fps\": 29.97, \"w_duration\": 3.9", {{"v0_fps", 29.97F}, {"w_duration", 3}}},
        {"\"w_seconds\": 3.9, \"a0_seconds\": 1", {{"exactDuration", 3.9}}},
        {"\"v0_fieldcode\": \"t\", \"other\": 1", {{"v0_fields", fieldOrderWord("t")}}},
        {"\"v0_fps\": 1e300, \"w_duration\": -5, \"a0_rate\": 1e12", {}},
        {"\"v0_fps\": 0, \"v0_dar\": \"0:0\", \"v0_par\": \"a:b\"", {}},
        {"\"v0_codec\": 5, \"v0_fps\": \"25\", \"a0_channels\": true", {}},
        {"\"v0_codec\": \"a\\nb\", \"wrapper\": \"../x\", \"srcPathStr\": \"/etc\"", {}},
        {"\"v0_croptop\": 2, \"a11_bits\": 16", {{"v0_croptop", 2}, {"a11_bits", 16}}},
    };
    for (const auto &row : rows) {
        QVariantMap expected = size;
        expected.insert(row.added);
        const QByteArray line =
            QByteArray("{\"v0_width\": 8, \"v0_height\": 6, ") + row.members + "}\n";
        EXPECT_EQ(parseMovieRecord("a library's warning\n" + line), expected) << row.members;
    }
    for (const char *none : {"", "{", "[]", "{}", "null", "{\"v0_width\": 8}",
                             "{\"v0_width\": 8, \"v0_height\": 1e9}"}) {
        EXPECT_FALSE(parseMovieRecord(none)) << none;
    }
}
