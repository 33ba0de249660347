// Sources that are hostile, broken or strangely named.

#include "cli/command_test.h"

#include <filesystem>

using testing::HasSubstr;

namespace
{

struct Bad {
    QByteArray source;
    const char *status;
    const char *reason;
};

void expectEach(const std::vector<Bad> &table, const std::function<Ran(QByteArrayList)> &sheets)
{
    QByteArrayList sources;
    for (const Bad &bad : table) {
        sources.append(bad.source);
    }
    const Ran ran = sheets(sources);
    EXPECT_EQ(ran.status, 1);
    ASSERT_EQ(ran.told("status").size(), sources.size());
    for (qsizetype i = 0; i < sources.size(); ++i) {
        const Bad &bad = table.at(static_cast<size_t>(i));
        EXPECT_EQ(ran.told("status").at(i), bad.status) << bad.source.constData();
        EXPECT_THAT(ran.told("reason").at(i).toStdString(), HasSubstr(bad.reason))
            << bad.source.constData();
    }
}

} // namespace

TEST_F(RealCommandTest, EachBadFileGetsItsReasonAndTheOthersGoOn)
{
    const QByteArray good = soundClip("in/good.mp4");
    const QByteArray whole = contentOf(good);
    make("no videos/notes.txt");
    const QByteArray circle = path("circle.mp4");
    std::filesystem::create_symlink("circle.mp4", circle.toStdString());
    const std::vector<Bad> table{
        {path("missing.mp4"), "skipped", "no such file"},
        {make("empty.mp4", ""), "skipped", "empty"},
        {make("text.mp4", "Just words.\n"), "skipped", "not a video"},
        {make("half.mp4", whole.left(whole.size() / 2)), "skipped", "incomplete"},
        {clip("sound only.mp4", "-f lavfi -i sine=d=2 -c:a aac"), "skipped", "no video"},
        {path("no videos"), "skipped", "no video in this folder"},
        {make("notes.txt", "Just words.\n"), "skipped", "not a video"},
        {clip("photo.png", "-f lavfi -i testsrc=d=1 -frames:v 1"), "skipped", "still picture"},
        {clip("photo.jpg", "-f lavfi -i testsrc=d=1 -frames:v 1"), "skipped", "still picture"},
        {clip("animation.gif", "-f lavfi -i testsrc=s=320x180:r=10:d=3"), "made", "null"},
        {clip("moves.png", "-f lavfi -i testsrc=s=320x180:r=10:d=3 -f apng"), "made", "null"},
        {circle, "skipped", "circles"},
        {"", "skipped", "empty"},
        {"/dev/null", "skipped", "no regular file"},
        {QByteArray(5000, 'x') + ".mp4", "skipped", "too long"},
        {good, "made", "null"},
    };
    expectEach(table, [&](const QByteArrayList &sources) { return sheets(sources); });
    EXPECT_EQ(namesIn("out").size(), 3);
}

TEST_F(RealCommandTest, PlaylistsAreRefusedForOneReasonOnBothRoads)
{
    QFile::link(builtTool("quickThumbs"), m_bundle.tool("quickThumbs"));
    QFile::rename(QFile::decodeName(soundClip("film.mp4")), QFile::decodeName(path("film.ts")));
    make("secret.txt", "a secret\n");
    const char *const list = "it is a playlist (";
    const std::vector<Bad> table{
        {make("hls.mp4", "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\nfilm.ts\n#EXT-X-ENDLIST\n"),
         "skipped", list},
        {make("master.mov",
              "#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\nhttp://127.0.0.1:1/list.m3u8\n"),
         "skipped", list},
        {make("dash.mp4",
              "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" "
              "profiles=\"urn:mpeg:dash:profile:full:2011\" type=\"static\"><Period><AdaptationSet "
              "mimeType=\"video/mp4\"><Representation "
              "id=\"0\" bandwidth=\"1\"><BaseURL>film.ts</BaseURL></Representation>"
              "</AdaptationSet></Period></MPD>\n"),
         "skipped", list},
        {make("concat.mov", "ffconcat version 1.0\nfile film.ts\n"), "skipped", list},
        {make("text.mp4", "ffconcat version 1.0\nfile secret.txt\n"), "skipped", list},
        {make("session.mp4", "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=x\nc=IN IP4 127.0.0.1\nt=0 0\n"
                             "m=video 5004 RTP/AVP 96\na=rtpmap:96 H264/90000\n"),
         "skipped", list},
    };
    for (const bool isQuick : {false, true}) {
        SCOPED_TRACE(isQuick ? "quick" : "exact");
        expectEach(table, [&](const QByteArrayList &sources) {
            return sheets(isQuick ? QByteArrayList{"--quick"} + sources : sources);
        });
    }
    EXPECT_EQ(namesIn("out"), QStringList());
}

TEST_F(RealCommandTest, ADamagedVideoWithSoundPicturesGetsASheetUnlessDamageIsRefused)
{
    QByteArray stream =
        contentOf(clip("whole.ts", "-f lavfi -i testsrc2=s=320x180:d=6 -c:v libx264 "
                                   "-preset ultrafast -g 25"));
    for (qsizetype at = stream.size() / 50; at < stream.size() / 10; at += 997) {
        stream[at] = static_cast<char>(stream.at(at) ^ 16);
    }
    const QByteArray damaged = make("damaged.ts", stream);
    const QByteArray encrypted =
        clip("encrypted.mp4", "-f lavfi -i testsrc2=s=320x180:d=6 -c:v libx264 -preset ultrafast "
                              "-encryption_scheme cenc-aes-ctr "
                              "-encryption_key 00112233445566778899aabbccddeeff "
                              "-encryption_kid 00112233445566778899aabbccddeeff");
    const Ran ran = sheets({damaged});
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.err.toStdString(), HasSubstr("warning: "));
    EXPECT_THAT(ran.told("damaged").value(0).toStdString(), HasSubstr("damaged"));
    EXPECT_THAT(sheets({encrypted}).told("reason").value(0).toStdString(), HasSubstr("encrypted"));
    const Ran strict = run({"info", "--json", "--strict", damaged});
    EXPECT_EQ(strict.status, 1);
    EXPECT_THAT(strict.told("reason").value(0).toStdString(), HasSubstr("damaged"));
}

TEST_F(CommandTest, AToolThatMisbehavesCostsItsSourceOnly)
{
    const std::vector<Bad> table{
        {make("analysis-silent.mp4"), "skipped", "printed nothing"},
        {make("analysis-garbage.mp4"), "skipped", ""},
        {make("analysis-crash.mp4"), "skipped", "signal 11"},
        {make("analysis-hang.mp4"), "skipped", "neither printed nor computed"},
        {make("all-refuse.mp4"), "skipped", "not a video"},
        {make("all-damaged.mp4"), "skipped", "damaged"},
        {make("picture-garbage.mp4"), "failed", "no picture"},
        {make("picture-crash.mp4"), "failed", "signal 11"},
        {make("picture-hang.mp4"), "failed", "neither printed nor computed"},
        {make("a.picture-missing-2.mp4"), "made", "1 of 3 pictures could not be taken"},
        {make("a.picture-intra.mp4"), "made", "null"},
        {make("good.mp4"), "made", "null"},
    };
    expectEach(table, [&](const QByteArrayList &sources) {
        return sheets(QByteArrayList{"--hang-timeout", "0.3"} + sources);
    });
    EXPECT_EQ(namesIn("out").size(), 3);
    EXPECT_EQ(scratchFolders(), QStringList());
}

TEST_F(CommandTest, WithoutAToolOrATemporaryFolderNothingCanWork)
{
    const QByteArray source = make("a.mp4");
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", path("none"));
    const Ran homeless = sheets({source});
    qputenv("TMPDIR", before);
    EXPECT_EQ(homeless.status, 3);
    EXPECT_THAT(homeless.err.toStdString(), HasSubstr("TMPDIR"));
    QFile::remove(m_bundle.tool("ffmpeg"));
    for (const char *command : {"sheet", "info", "plan"}) {
        const Ran ran = run({command, source});
        EXPECT_EQ(ran.status, 3);
        EXPECT_THAT(ran.err.toStdString(), HasSubstr("there is no ffmpeg"));
        EXPECT_EQ(ran.out, "");
    }
}

TEST_F(RealCommandTest, AnyNameThatAFileCanHaveGetsItsSheet)
{
    const QByteArray source = soundClip("clip.mp4");
    const QByteArrayList names{"with space 'and' \"quotes\".mp4",
                               "100% %d %05d %1; rm -rf $HOME &.mp4",
                               "new\nline\ttab.mp4",
                               "-leading.mp4",
                               "\xc3\x89t\xc3\xa9 \xf0\x9f\x8e\xac.mp4",
                               "concat:a|b.mp4",
                               "bad \xff\xfe bytes.mp4",
                               QByteArray("\xc3\xa9").repeated(125) + "e.mp4"};
    for (const QByteArray &name : names) {
        std::filesystem::create_hard_link(source.toStdString(), path(name).toStdString());
    }
    QDir::setCurrent(m_folder.path());
    const Ran ran = sheets(QByteArrayList{"--"} + names);
    EXPECT_EQ(ran.status, 0) << ran.err.constData();
    EXPECT_EQ(namesIn("out").size(), names.size());
    ASSERT_EQ(ran.told("sheet").size(), names.size());
    for (qsizetype i = 0; i < names.size(); ++i) {
        const QString shown = QString::fromUtf8(names.at(i));
        EXPECT_EQ(ran.told("source").at(i), shown);
        const QString sheet = ran.told("sheet").at(i);
        EXPECT_FALSE(QImage(sheet).isNull()) << sheet.toStdString();
        // The last one's is too long for a file.
        EXPECT_TRUE(i == names.size() - 1 || sheet.endsWith('/' + shown.chopped(4) + ".jpg"))
            << sheet.toStdString();
    }
    const Ran again = run(QByteArrayList{"sheet", "--print0", "-o", path("out"), "--"} + names);
    EXPECT_EQ(again.out, ran.told("sheet").join(QChar(0)).toUtf8() + '\0');
}

TEST_F(RealCommandTest, NamesThatReadAlikeStayDifferentFiles)
{
    const auto make = [&](const QByteArray &name, const char *arguments) {
        const QByteArray made = clip("plain.mp4", arguments);
        std::filesystem::create_directories(path("in").toStdString());
        std::filesystem::rename(made.toStdString(), path("in/" + name).toStdString());
    };
    make("x\xff.mp4", "-f lavfi -i testsrc=s=320x180:r=10:d=1");
    make("x\xfe.mp4", "-f lavfi -i testsrc=s=160x120:r=10:d=1");
    make("x\xef\xbf\xbd.mp4", "-f lavfi -i testsrc=s=64x64:r=10:d=1");
    QDir::setCurrent(path("in"));
    QList<int> widths;
    for (const QJsonObject &object :
         run({"info", "--json", "x\xff.mp4", "x\xef\xbf\xbd.mp4", "x\xfe.mp4"}).objects()) {
        const QJsonObject record = object.value("record").toObject();
        widths.append(record.value("v0_width").toInt());
    }
    EXPECT_EQ(widths, (QList<int>{320, 64, 160}));
    EXPECT_EQ(run({"info", "--json", path("in")}).objects().size(), 3);
}

TEST_F(CommandTest, AWorkingFolderNeedNotHaveADecodableName)
{
    const std::string folder = path("here\xff").toStdString();
    std::filesystem::create_directory(folder);
    std::filesystem::copy_file(make("a.mp4").toStdString(), folder + "/a.mp4");
    std::filesystem::current_path(folder);
    EXPECT_EQ(sheets({"a.mp4"}).told("status"), QStringList("made"));
    EXPECT_EQ(run({"sheet", "-o", "below", "a.mp4"}).status, 3);
    std::filesystem::current_path(m_folder.path().toStdString());
}
