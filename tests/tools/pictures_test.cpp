// Pictures at instants, of both tools that take them.
#include "tools/thumbs_fixture.h"

INSTANTIATE_TEST_SUITE_P(Tool, AnyThumbsTest, testing::Values("qtThumbs", "quickThumbs"),
                         [](const auto &tool) { return std::string(tool.param); });

TEST_F(ThumbsTest, ShowsWhatIsShownAtEachInstantCountedFromTheStart)
{
    const struct {
        const char *name;
        const char *encoding;
    } rows[] = {
        {"long groups.mov", "-c:v libx264 -g 100 -pix_fmt yuv420p"},
        {"ten bits.mov", "-c:v prores_ks -pix_fmt yuv422p10le"},
        {"film.mkv", "-c:v libx264 -pix_fmt yuv420p"},
        {"broadcast.ts", "-c:v libx264 -pix_fmt yuv420p -output_ts_offset 36000"},
        {"elementary.m2v", "-r 25 -c:v mpeg2video -f mpeg2video"},
        {"no index.avi", "-c:v mpeg4 -g 100"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        film(row.name, traffic(), row.encoding);
        const QString base = QString(row.name) + ".d";
        const Ran ran = pictures(
            row.name, "0:00:00-0:00:01.5-0:00:02.5-0:00:00.5-0:00:02.9-0:00:03-0:01:00", base);
        EXPECT_EQ(ran.status, 0) << ran.err.constData();
        EXPECT_EQ(coloursIn(base),
                  (QStringList{"red", "lime", "blue", "red", "blue", "blue", "blue"}));
        EXPECT_TRUE(ran.out.startsWith("image          : 0 0.000\npourcentage    : 14\n"));
        EXPECT_TRUE(ran.out.endsWith("pourcentage    : 100\n"));
    }
}

TEST_F(ThumbsTest, FindsTheFrameBeforeEachBoundaryAndTheOneAfterIt)
{
    film("film.mov", traffic(), "-c:v libx264 -g 100 -bf 3 -pix_fmt yuv420p");
    pictures("film.mov", "0:00:00.999-0:00:01-0:00:01.999-0:00:02");
    EXPECT_EQ(coloursIn("out"), (QStringList{"red", "lime", "lime", "blue"}));
}

TEST_P(AnyThumbsTest, StandsPicturesUpright)
{
    film("0.mov", corners(), "-c:v libx264 -pix_fmt yuv420p");
    const struct {
        const char *degrees;
        QSize size;
        QStringList corners;
    } rows[] = {
        {"90", {64, 96}, {"lime", "white", "red", "blue"}},
        {"180", {96, 64}, {"white", "blue", "lime", "red"}},
        {"270", {64, 96}, {"blue", "red", "white", "lime"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.degrees);
        run("ffmpeg", {"-v", "error", "-y", "-i", path("0.mov"), "-c", "copy", "-metadata:s:v",
                       QString("rotate=") + row.degrees, path("turned.mov")});
        EXPECT_EQ(pictures("turned.mov", "0:00:00", "turned.png", row.size).status, 0);
        EXPECT_EQ(QImage(path("turned.png")).size(), row.size);
        EXPECT_EQ(cornersOf("turned.png"), row.corners);
    }
}

// Each frame is woven of a black and a white one.
TEST_P(AnyThumbsTest, ShowsOneFieldOfMovement)
{
    const QString flicker =
        "color=black:s=96x64:r=50:d=0.4,format=yuv444p,geq=lum=16+219*mod(N\\,2):cb=128:cr=128,"
        "format=%1,tinterlace=interleave_top,setfield=tff";
    const struct {
        const char *format;
        const char *encoding;
    } rows[] = {
        {"yuv420p", "-c:v mpeg2video -flags +ildct+ilme -top 1 -qscale 1"},
        {"yuv422p10le", "-c:v prores_ks -flags +ildct+ilme -top 1"},
        {"yuv420p", "-c:v libx264 -qp 1 -flags +ildct+ilme -top 1"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.format);
        film("woven.mov", flicker.arg(row.format), QString("-r 25 ") + row.encoding);
        EXPECT_EQ(pictures("woven.mov", "0:00:00.2", "one.png").status, 0);
        const QImage seen(path("one.png"));
        for (int y = 0; y < 64; ++y) {
            ASSERT_EQ(colourAt(seen, 48, y), "black") << "line " << y;
        }
    }
}

TEST_P(AnyThumbsTest, KeepsColoursWhateverTheirCoding)
{
    const QString brick =
        "color=c=#c86432:s=96x64:r=10:d=0.3,format=gbrp,scale=out_color_matrix=%1:"
        "out_range=%2,format=%3";
    const QStringList rows[] = {
        {"bt470bg", "tv", "yuv420p", "libx264"},   {"bt709", "tv", "yuv420p", "libx264"},
        {"bt709", "pc", "yuvj420p", "libx264"},    {"bt709", "tv", "yuv422p10le", "prores_ks"},
        {"bt709", "tv", "yuv420p10le", "libx264"}, {"bt709", "tv", "yuv444p", "libx264"},
    };
    for (const QStringList &row : rows) {
        if (row[3] == "prores_ks" && m_tool == QByteArray("quickThumbs")) {
            continue; // ffmpeg's decoder forgets what the file says of its colours
        }
        film("brick.mov", brick.arg(row[0], row[1], row[2]),
             "-c:v " + row[3] + " -colorspace " + row[0] + " -color_range " + row[1] +
                 " -color_primaries bt709 -color_trc bt709");
        for (const char *picture : {"brick.png", "brick.jpg"}) {
            EXPECT_EQ(pictures("brick.mov", "0:00:00", picture).status, 0);
            const QColor seen = QImage(path(picture)).pixelColor(48, 32);
            EXPECT_TRUE(isNear(seen, QColor("#c86432"), 4))
                << row.join(' ').toStdString() << ' ' << seen.name().toStdString();
        }
    }
}

TEST_P(AnyThumbsTest, WritesIntoAFolderOrOneFileAndReplacesOnlyWhenAsked)
{
    film("film.mov", traffic(), "-c:v libx264 -pix_fmt yuv420p");
    QStringList arguments{"-i", path("film.mov"), "-w", "96", "-h", "64", "-o", path("out"), "-tc"};
    write("one.jpg", "mine");
    arguments[7] = path("one.jpg");
    const Ran kept = thumbs(arguments + QStringList{"0:00:00"});
    EXPECT_EQ(kept.status, 1);
    EXPECT_TRUE(kept.err.contains("exists"));
    EXPECT_EQ(read("one.jpg"), "mine");
    EXPECT_EQ(thumbs(arguments + QStringList{"0:00:00", "-y"}).status, 0);
    EXPECT_EQ(QImage(path("one.jpg")).size(), QSize(96, 64));

    QDir().mkpath(path("out"));
    write("out/img01.jpg", "mine");
    arguments[7] = path("out");
    EXPECT_EQ(thumbs(arguments + QStringList{"0:00:00-0:00:01.5-0:00:02.5"}).status, 1);
    EXPECT_EQ(coloursIn("out"), (QStringList{"red", "none", "blue"})) << "one costs no other";
    EXPECT_EQ(thumbs(arguments + QStringList{"0:00:01.5"}).status, 1);
    for (const char *nowhere : {"missing/one.jpg", "one.jpg/one.jpg"}) {
        arguments[7] = nowhere;
        const Ran lost = thumbs(arguments + QStringList{"0:00:00", "-y"});
        EXPECT_EQ(lost.status, 1) << nowhere;
        EXPECT_TRUE(lost.err.contains("directory")) << lost.err.constData();
    }
}

TEST_P(AnyThumbsTest, RefusesAWrongCommandLineWithItsUsage)
{
    const QStringList rows[] = {
        {},
        {"-x"},
        {"-i", "film.mov", "-w", "96"},
        {"-i", "film.mov", "-w", "96", "-h", "64", "-tc", "soon", "-o", "a.jpg"},
        {"-i", "film.mov", "-w", "96", "-h", "64", "-tc", "0:00:00-", "-o", "a.jpg"},
        {"-i", "film.mov", "-w", "96", "-h", "64", "-tc", "0:00:60", "-o", "a.jpg"},
        {"-i", "film.mov", "-w", "0", "-h", "64", "-tc", "0:00:00", "-o", "a.jpg"},
        {"-i", "film.mov", "-w", "16384", "-h", "16384", "-tc", "0:00:00", "-o", "a.jpg"},
        {"-i", "film.mov", "-w", "96", "-h", "64", "-tc", "0:00:00", "-o"},
        {"-probe"},
        {"-probe", "film.mov", "-h", "64"},
        {"-probe", "film.mov", "-w", "64"},
    };
    for (const QStringList &row : rows) {
        const Ran ran = thumbs(row);
        EXPECT_EQ(ran.status, 2) << row.join(' ').toStdString();
        EXPECT_TRUE(ran.err.contains("usage:"));
    }
}
