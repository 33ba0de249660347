// Sources that are none, and names that are odd.
#include "tools/thumbs_fixture.h"

#include <sys/stat.h>

namespace
{

QByteArray noise(int size)
{
    QByteArray bytes;
    quint32 state = 1;
    for (int i = 0; i < size; ++i) {
        state = state * 1664525U + 1013904223U;
        bytes += static_cast<char>(state >> 24U);
    }
    return bytes;
}

} // namespace

TEST_P(AnyThumbsTest, RefusesWhatIsNoFilmWithAReason)
{
    film("film.mov", traffic(), "-c:v libx264 -pix_fmt yuv420p");
    film("film.ts", traffic(), "-c:v libx264 -pix_fmt yuv420p");
    run("ffmpeg", {"-v", "error", "-f", "lavfi", "-i", "sine=d=0.5", path("sound.mov")});
    film("picture.png", "color=red:d=0.1:r=10", "-frames:v 1");
    const QByteArray whole = read("film.mov");
    const QByteArray lists[] = {
        "#EXTM3U\n#EXT-X-TARGETDURATION:3\n#EXTINF:3,\n%1/film.ts\n#EXT-X-ENDLIST\n",
        "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\">"
        "<Period><AdaptationSet mimeType=\"video/mp4\"><Representation id=\"0\" bandwidth=\"1\">"
        "<BaseURL>%1/film.mov</BaseURL></Representation></AdaptationSet></Period></MPD>\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 96\n"
        "a=rtpmap:96 H264/90000\n",
        "file://%1/film.mov\n",
        "ffconcat version 1.0\nfile %1/film.mov\n",
    };
    int number = 0;
    for (const QByteArray &list : lists) {
        write(QString("list%1.mov").arg(number++),
              QByteArray(list).replace("%1", m_folder.path().toUtf8()));
    }
    write("noise.mov", noise(100000));
    write("head.mov", whole.left(48) + noise(20000));
    write("no end.mov", whole.left(whole.size() / 2)); // its index stands at the end
    write("text.mov", "This is not a film.\n");
    write("empty.mov", "");
    QDir().mkpath(path("folder.mov"));
    ASSERT_EQ(::mkfifo(path("pipe.mov").toUtf8().constData(), 0600), 0);
    const QStringList names =
        QDir(m_folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot) +
        QStringList{"missing.mov"};
    EXPECT_EQ(names.size(), 17);
    for (const QString &name : names) {
        if (name.startsWith("film")) {
            continue;
        }
        SCOPED_TRACE(name.toStdString());
        const Ran probe = thumbs({"-probe", name});
        const bool isFilm = name == "picture.png" && m_tool == QByteArray("quickThumbs");
        EXPECT_EQ(probe.status, isFilm ? 0 : 1) << "to ffmpeg a picture is a short film";
        EXPECT_EQ(probe.out, "");
        EXPECT_TRUE(isFilm || probe.err.contains(m_tool + QByteArray(": ")));
        const Ran ran = pictures(name, "0:00:00", "no.jpg");
        EXPECT_EQ(ran.status, 1);
        EXPECT_TRUE(ran.err.contains(m_tool + QByteArray(": ")));
        EXPECT_FALSE(QFile::exists(path("no.jpg")));
    }
}

TEST_F(ThumbsTest, GivesTheLastPictureOfAFilmThatBreaksOff)
{
    film("film.mov", traffic(), "-c:v mjpeg -q:v 1 -movflags +faststart");
    write("half.mov", read("film.mov").left(read("film.mov").size() / 2));
    EXPECT_EQ(pictures("half.mov", "0:00:00.5-0:00:02.5").status, 0);
    EXPECT_EQ(coloursIn("out"), (QStringList{"red", "lime"}));
}

// Whatever damage does, the tool ends by itself and says something.
TEST_P(AnyThumbsTest, SurvivesDamage)
{
    const struct {
        const char *name;
        const char *encoding;
    } rows[] = {
        {"film.mov", "-c:v mpeg4 -g 5"},
        {"film.mp4", "-c:v libx264 -g 5"},
        {"film.mpg", "-c:v mpeg2video -r 25 -g 5"},
        {"film.mkv", "-c:v libx265 -x265-params log-level=none:keyint=5"},
        {"film.ts", "-c:v libx264 -g 5"},
    };
    const QByteArray dirt = noise(4096);
    for (const auto &row : rows) {
        film(row.name, traffic() + ",format=yuv420p", row.encoding);
        const QByteArray whole = read(row.name);
        for (int i = 0; i < 8; ++i) {
            QByteArray damaged = whole;
            for (int k = 0; k < 12; ++k) {
                const auto place = static_cast<quint32>(i * 7919 + k * 104729) %
                                   static_cast<quint32>(whole.size());
                damaged[static_cast<qsizetype>(place)] = dirt[i * 12 + k];
            }
            write(row.name, damaged);
            const Ran ran = pictures(row.name, "0:00:00-0:00:01.5-0:00:02.9");
            EXPECT_TRUE(ran.status == 0 ||
                        (ran.status == 1 && ran.err.contains(m_tool + QByteArray(": "))))
                << row.name << " damage " << i << ": " << ran.status << ' ' << ran.err.constData();
        }
    }
}

TEST_P(AnyThumbsTest, TakesAnyName)
{
    const QString film = this->film("film.mov", traffic(), "-c:v mpeg4");
    for (const QString name :
         {"with blanks.mov", "it's \"quoted\".mov", "100%20%d.mov", "été 日本 😀.mov", "a#b?c=d.mov",
          "-i.mov", "http:__x.mov", "file:x.mov", "concat:a|b.mov", "two\nlines.mov"}) {
        QFile::copy(film, path(name));
        EXPECT_EQ(pictures(name, "0:00:00", name + ".jpg").status, 0) << name.toStdString();
        EXPECT_FALSE(QImage(path(name + ".jpg")).isNull());
    }
    const Ran there = run("/bin/sh", {"-c",
                                      R"(cd "$1"; n=$(printf 'caf\351.mov'); cp film.mov "$n";)"
                                      R"("$0" -i "$n" -w 9 -h 9 -tc 0:00:00 -o o.jpg)",
                                      builtTool(m_tool), m_folder.path()});
    EXPECT_EQ(there.status, 0) << there.err.constData();
    EXPECT_FALSE(QImage(path("o.jpg")).isNull());
}
