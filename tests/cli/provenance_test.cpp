// What sheets tell of themselves: "read", --update and --no-paths.

#include "cli/command_test.h"

#include "sheet/picture_file.h"
#include "sheet/provenance.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>

using namespace qv;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

void setModified(const QByteArray &file, qint64 msecs)
{
    QFile opened(QString::fromUtf8(file));
    ASSERT_TRUE(opened.open(QIODevice::ReadWrite));
    ASSERT_TRUE(opened.setFileTime(QDateTime::fromMSecsSinceEpoch(msecs),
                                   QFileDevice::FileModificationTime));
}

} // namespace

TEST_F(RealCommandTest, ReadTellsOfWhatAndHowASheetWasMade)
{
    const QByteArray source = soundClip("clip.mp4");
    setModified(source, 1600000000007);
    const QByteArray sheet = path("out/clip.png");
    sheets({"-l", "big", "-n", "5", "-f", "png", "--caption", "size,name", "--background", "red",
            source});
    const QJsonObject told = run({"read", "--json", sheet}).objects().value(0);
    const QJsonObject of = told.value("source").toObject();
    EXPECT_EQ(of.value("size"), QFileInfo(QString::fromUtf8(source)).size());
    EXPECT_EQ(of.value("modified"), "2020-09-13T12:26:40.007Z");
    EXPECT_NEAR(of.value("duration").toDouble(), 2, 0.1);
    EXPECT_NEAR(told.value("instants").toArray().at(2).toDouble(), 1, 0.1);
    EXPECT_EQ(QJsonDocument(told.value("settings").toObject()).toJson(QJsonDocument::Compact),
              R"({"background":"1.00,0.00,0.00,1.00","border_color":"0.80,0.80,0.80,1.00",)"
              R"("border_size":1,"captions":["name","size"],"count":4,"format":"png",)"
              R"("layout":"big","quick":false,"timecodes":true})");
}

TEST_F(CommandTest, ReadGivesALineASheetAndAReasonForTheOthers)
{
    sheets({make("a\n\xff.mp4"), make("b.mp4")});
    const QByteArray odd = path("out/") + QFile::encodeName(namesIn("out").value(0));
    const Ran ran = run({"read", odd, make("notes.txt"), path("out/b.jpg")});
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(ran.err, "skipped: " + path("notes.txt") + ": it is neither JPEG nor PNG\n");
    EXPECT_THAT(ran.out.toStdString(),
                AllOf(HasSubstr("\n\nsheet: " + path("out/b.jpg\n").toStdString()),
                      HasSubstr("\nsource_name: b.mp4\n"), HasSubstr("\nsettings_count: 3\n")));
    EXPECT_EQ(ran.out.count('\n') - 1, 2 * ran.out.left(ran.out.indexOf("\n\n") + 1).count('\n'));
}

TEST_F(CommandTest, AnUpdateMakesAnewOnlyWhatWouldDiffer)
{
    const QByteArray source = make("a.mp4");
    const QString sheet = path("out/a.jpg");
    const auto carry = [&](const std::function<void(Provenance &)> &change) {
        auto carried = readProvenance(path("out/a.jpg"));
        ASSERT_TRUE(carried);
        change(*carried);
        ASSERT_TRUE(writePicture(QImage(sheet), sheet, xmpPacket(*carried)));
    };
    const qint64 modified = QFileInfo(QString::fromUtf8(source)).lastModified().toMSecsSinceEpoch();
    using Change = std::function<void()>;
    const Change none = [] {};
    const Change size = [&] {
        make("a.mp4", contentOf(source) + '+');
        setModified(source, modified);
    };
    const Change time = [&] { setModified(source, modified + 1); };
    const Change version = [&] { carry([](Provenance &p) { p.version = "0.9"; }); };
    const Change name = [&] { carry([](Provenance &p) { p.sourceName = "b.mp4"; }); };
    const Change end = [&] { QFile::remove(QString::fromUtf8(source)); };
    const struct {
        const char *what;
        Change change;
        QByteArrayList options;
        const char *status;
    } cases[] = {{"no sheet yet", none, {}, "made"},
                 {"nothing", none, {}, "kept"},
                 {"the same", none, {"-l", "medium", "-n", "5", "--border-size", "1"}, "kept"},
                 {"the size", size, {}, "made"},
                 {"a millisecond", time, {}, "made"},
                 {"nothing since", none, {}, "kept"},
                 {"the version", version, {}, "kept"},
                 {"the source's name", name, {}, "made"},
                 {"the count", none, {"-n", "6"}, "made"},
                 {"the layout", none, {"-l", "minimum", "-n", "6"}, "made"},
                 {"captions", none, {"--caption", "none"}, "made"},
                 {"stamps", none, {"--no-timecode"}, "made"},
                 {"the border", none, {"--border-size", "3"}, "made"},
                 {"its colour", none, {"--border-color", "blue"}, "made"},
                 {"the background", none, {"--background", "black"}, "made"},
                 {"the road", none, {"--quick"}, "made"},
                 {"the wished road only", none, {"--quick"}, "kept"},
                 {"paths", none, {"--quick", "--no-paths"}, "made"},
                 {"no paths again", none, {"--quick", "--no-paths"}, "kept"},
                 {"the size, without paths", size, {"--quick", "--no-paths"}, "made"},
                 {"all back", none, {}, "made"},
                 {"the source's end", end, {}, "skipped"}};
    for (const auto &one : cases) {
        one.change();
        const Ran ran = sheets(QByteArrayList{"--update", source} + one.options);
        EXPECT_EQ(ran.told("status"), words(one.status)) << one.what << ran.err.constData();
    }
    EXPECT_TRUE(readProvenance(path("out/a.jpg")));
    EXPECT_EQ(namesIn("out"), words("a.jpg"));
}

TEST_F(RealCommandTest, ASourceThatGrowsWhileItsSheetIsMadeDiffersAtTheNextUpdate)
{
    const QByteArray source = soundClip("a.mp4");
    const QString ffmpeg = m_bundle.tool("ffmpeg");
    const QByteArray real = QFile::encodeName(QFileInfo(ffmpeg).canonicalFilePath());
    writeScript(ffmpeg, "printf more >>'" + source + "'\nexec '" + real + "' \"$@\"\n");
    EXPECT_EQ(sheets({"--no-confinement", source}).told("status"), words("made"));
    ASSERT_TRUE(QFile::remove(ffmpeg) && QFile::link(QFile::decodeName(real), ffmpeg));
    EXPECT_EQ(sheets({"--update", source}).told("status"), words("made"));
    EXPECT_EQ(sheets({"--update", source}).told("status"), words("kept"));
}
