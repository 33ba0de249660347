// Key pictures, and what the quick tool tells of them.
#include "analysis/ffmpeg_report.h"
#include "analysis/report_dialect.h"
#include "tools/thumbs_fixture.h"

#include <QRegularExpression>
#include <QtEndian>

using namespace qv;

namespace
{

constexpr double rate = 25;
constexpr double readOff = 2 / rate; // seconds read from a brightness

// Its frames can be told apart by the brightness of their left half; none is flat.
QString counter(const QString &from = "0")
{
    return "color=black:s=96x64:r=25:d=8,format=yuv420p,geq=lum='if(gte(T," + from +
           ")*gte(X,48),40+180*mod(floor(X/4),2),16+if(gte(T," + from + "),N,0))':cb=128:cr=128";
}

class QuickThumbsTest : public ThumbsTest
{
protected:
    QuickThumbsTest() : ThumbsTest("quickThumbs") {}

    // The seconds that the pictures are told to be of.
    static QList<double> told(const Ran &ran)
    {
        static const QRegularExpression line("image +: (\\d+) (\\d+\\.\\d{3})\n");
        QMap<int, double> seconds;
        for (auto match = line.globalMatch(ran.out); match.hasNext();) {
            const auto one = match.next();
            seconds.insert(one.captured(1).toInt(), one.captured(2).toDouble());
        }
        return seconds.values();
    }
    // The seconds at which a frame of the counter stands.
    double secondsShown(const QString &picture) const
    {
        const QImage seen(path(picture));
        return seen.isNull() ? -1 : qGray(seen.pixel(24, seen.height() / 2)) * 219.0 / 255 / rate;
    }
    // That the told seconds are these, and the pictures of the told ones, by so much.
    void expectEach(const Ran &ran, const QList<double> &expected, double off,
                    double shownOff) const
    {
        EXPECT_EQ(ran.status, 0) << ran.err.constData();
        const QList<double> seconds = told(ran);
        ASSERT_EQ(seconds.size(), expected.size());
        for (qsizetype i = 0; i < seconds.size(); ++i) {
            const double shown = secondsShown(QString("out/img0%1.jpg").arg(i));
            EXPECT_NEAR(seconds[i], expected[i], off) << "picture " << i;
            EXPECT_NEAR(seconds[i], shown, shownOff) << "picture " << i;
        }
    }
    // The film with another display matrix of these four members, by their sign.
    QByteArray turned(const QByteArray &film, const QList<int> &matrix) const
    {
        QByteArray bytes = film;
        const qsizetype at = bytes.indexOf("tkhd") + 44; // behind it up to the matrix
        const int places[] = {0, 4, 12, 16};
        for (int i = 0; i < 4; ++i) {
            qToBigEndian<qint32>(matrix[i] * 65536, bytes.data() + at + places[i]);
        }
        return bytes;
    }
};

} // namespace

TEST_F(QuickThumbsTest, TakesTheNearestKeyPicturesAndTellsTheirInstants)
{
    constexpr double exact = 0.001;
    constexpr double reordered = 3 / rate + exact; // the packets have only the times of decoding
    const struct {
        const char *name;
        const char *encoding;
        double off;
    } rows[] = {
        {"film.mp4", "-c:v libx264 -bf 3 -g 30 -sc_threshold 0", exact},
        {"late.mp4", "-c:v libx264 -bf 3 -g 30 -sc_threshold 0 -output_ts_offset 7", exact},
        {"film.mov", "-c:v mpeg4 -qscale 1 -g 30", exact},
        {"film.mkv", "-c:v libx264 -bf 2 -g 30 -sc_threshold 0", exact},
        {"film.flv", "-c:v flv1 -qscale 1 -g 30", exact},
        {"film.ts", "-c:v libx264 -bf 3 -g 30 -sc_threshold 0 -output_ts_offset 36000", exact},
        {"film.avi", "-c:v mpeg4 -qscale 1 -bf 2 -g 30", reordered},
        {"film.mpg", "-c:v mpeg2video -qscale 1 -bf 2 -g 30 -sc_threshold 1000000000", reordered},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        film(row.name, counter(), row.encoding);
        const Ran ran = pictures(row.name, "0:00:00-0:00:02-0:00:04-0:00:06");
        expectEach(ran, {0, 2.4, 3.6, 6.0}, row.off, row.off + readOff);
    }
}

TEST_F(QuickThumbsTest, DecodesUpToInstantsThatHaveNoKeyPictureOfTheirOwn)
{
    constexpr double earlier = 0.25; // where that saves decoding
    const struct {
        const char *name;
        const char *keys;
        const char *instants;
        QList<double> shown;
    } rows[] = {
        {"one key.mp4",
         "-g 999",
         "0:00:00.5-0:00:02-0:00:03.5-0:00:05-0:00:06.5-0:00:07.9",
         {0, 2, 3.52, 5, 6.52, 7.92}},
        {"one key.ts",
         "-g 999",
         "0:00:00.5-0:00:02-0:00:03.5-0:00:05-0:00:06.5-0:00:07.9",
         {0, 2, 3.52, 5, 6.52, 7.92}},
        {"shared key.mkv", "-g 100", "0:00:03.88-0:00:04.12", {4, 4.12}},
        {"shared key.ts", "-g 100", "0:00:03.88-0:00:04.12-0:00:04.4", {4, 4.12, 4.4}},
        {"behind the end.mp4", "-g 100", "0:00:07.5-0:00:09-0:00:10", {7.52, 7.96, 7.96}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        film(row.name, counter(), QString("-c:v libx264 -bf 3 -sc_threshold 0 ") + row.keys);
        QDir(path("out")).removeRecursively();
        const Ran ran = pictures(row.name, row.instants);
        expectEach(ran, row.shown, earlier + 1 / rate, readOff);
    }
}

TEST_F(QuickThumbsTest, PassesOverAFlatStartWithinHalfTheIntervalUnlessToldToKeepIt)
{
    const struct {
        const char *flatUntil;
        QStringList more;
        double first;
    } rows[] = {
        {"1", {}, 1.2}, {"1", {"-flat"}, 0}, {"0", {}, 0}, {"3", {}, 0}, // none before 2 s
    };
    for (const auto &row : rows) {
        for (const char *name : {"film.mp4", "film.ts"}) {
            SCOPED_TRACE(QString("%1 %2").arg(name, row.flatUntil).toStdString());
            film(name, counter(row.flatUntil), "-c:v libx264 -g 10 -sc_threshold 0");
            const Ran ran = pictures(name, "0:00:00-0:00:04", "out", {96, 64}, row.more);
            EXPECT_EQ(told(ran), (QList<double>{row.first, 4}));
        }
    }
    film("black.mp4", "color=black:s=96x64:r=25:d=8", "-c:v libx264 -g 30");
    EXPECT_EQ(pictures("black.mp4", "0:00:00-0:00:02-0:00:04", "black").status, 0);
    EXPECT_EQ(coloursIn("black"), (QStringList{"black", "black", "black"}));
}

TEST_F(QuickThumbsTest, StandsPicturesAsFfmpegDoesForEachDisplayMatrix)
{
    film("plain.mov", corners(), "-c:v libx264 -pix_fmt yuv420p");
    const QByteArray plain = read("plain.mov");
    QSet<QStringList> seen;
    for (const QList<int> &matrix : {QList<int>{1, 0, 0, 1},
                                     {0, 1, -1, 0},
                                     {-1, 0, 0, -1},
                                     {0, -1, 1, 0},
                                     {-1, 0, 0, 1},
                                     {1, 0, 0, -1},
                                     {0, 1, 1, 0},
                                     {0, -1, -1, 0}}) {
        write("turned.mov", turned(plain, matrix));
        run("ffmpeg", {"-v", "error", "-i", "turned.mov", "-frames:v", "1", "-y", "ffmpeg.png"});
        const QSize size = QImage(path("ffmpeg.png")).size();
        EXPECT_EQ(pictures("turned.mov", "0:00:00", "quick.png", size).status, 0);
        EXPECT_EQ(cornersOf("quick.png"), cornersOf("ffmpeg.png"))
            << matrix[0] << matrix[1] << matrix[2] << matrix[3];
        seen.insert(cornersOf("quick.png"));
    }
    EXPECT_EQ(seen.size(), 8);
}

TEST_F(QuickThumbsTest, AddsTheKeyPictureBehindTheFirstInstantWithinTheSource)
{
    const struct {
        const char *name;
        const char *encoding;
        const char *instants;
        double shown; // -1: none
    } rows[] = {
        {"film.mp4", "-c:v libx264 -g 30 -sc_threshold 0", "0:01:00-0:00:03-0:00:00", 3.6},
        {"film.ts", "-c:v libx264 -g 30 -sc_threshold 0", "0:01:00-0:00:03-0:00:00", 3.6},
        {"one key.mp4", "-c:v libx264 -g 999", "0:01:00-0:00:03-0:00:00", -1},
        {"film.m2v", "-c:v mpeg2video -qscale 1", "0:01:00-0:00:03-0:00:00", -1},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        film(row.name, counter(), QString("-aspect 3:1 ") + row.encoding);
        EXPECT_EQ(
            thumbs({"-probe", row.name, "-w", "96", "-tc", row.instants, "-o", "seen.jpg"}).status,
            0);
        EXPECT_NEAR(secondsShown("seen.jpg"), row.shown, readOff);
        if (row.shown >= 0) {
            EXPECT_EQ(QImage(path("seen.jpg")).size(), QSize(96, 32));
        }
        QFile::remove(path("seen.jpg"));
    }
}

TEST_F(QuickThumbsTest, StaysForOneMoreCommandForPicturesOfTheSameSource)
{
    const QString source = film("a.mp4", traffic(), "-g 5 -pix_fmt yuv420p");
    write("b.mp4", read("a.mp4"));
    const auto command = [](const QByteArrayList &arguments) {
        return arguments.join('\0') + '\0';
    };
    const QByteArray wanted =
        command({"-w", "96", "-h", "64", "-tc", "0:00:00.5-0:00:02.5", "-o", "out"});
    const QByteArray ofSource = command({"-i", source.toUtf8()}) + wanted;
    const struct {
        QByteArray input;
        int status;
        QStringList colours;
    } rows[] = {
        {ofSource + '\0', 0, {"red", "blue"}},
        {"", 0, {}},
        {ofSource, 0, {}}, // no end
        {command({"-i", path("b.mp4").toUtf8()}) + wanted + '\0', 1, {}},
        {command({"-probe", source.toUtf8(), ""}), 1, {}},
        {QByteArray(2 << 20, 'x'), 0, {}},
    };
    for (const auto &row : rows) {
        QDir(path("out")).removeRecursively();
        const Ran ran = run(builtTool(m_tool), {"-probe", source, "-stay"}, row.input);
        EXPECT_EQ(ran.status, row.status) << ran.err.constData();
        EXPECT_TRUE(ran.out.startsWith("waiting\n"));
        EXPECT_EQ(coloursIn("out"), row.colours);
    }
}
