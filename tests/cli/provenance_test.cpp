// What sheets tell of themselves: "read", --update and --no-paths.

#include "cli/command_test.h"

#include "sheet/image_export.h"
#include "sheet/provenance.h"

#include <QColorSpace>
#include <QDateTime>
#include <QJsonArray>

using namespace qv;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

QJsonValue valueAt(const QJsonObject &object, const char *group, const char *key)
{
    return object.value(group).toObject().value(key);
}

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
    for (const char *format : {"jpg", "png"}) {
        ASSERT_EQ(run({"sheet", "-l", "big", "-n", "5", "-f", format, "--caption", "size,name",
                       "--background", "red", "-o", path("out"), source})
                      .status,
                  0);
        const QByteArray sheet = path("out/clip.") + format;
        const QJsonObject told = run({"read", "--json", sheet}).objects().value(0);
        EXPECT_EQ(valueAt(told, "source", "path"), QString::fromUtf8(source));
        EXPECT_EQ(valueAt(told, "source", "size"), QFileInfo(QString::fromUtf8(source)).size());
        EXPECT_EQ(valueAt(told, "source", "modified"), "2020-09-13T12:26:40.007Z");
        EXPECT_NEAR(valueAt(told, "source", "duration").toDouble(), 2, 0.1);
        EXPECT_EQ(told.value("settings").toObject(),
                  (QJsonObject{{"layout", "big"},
                               {"count", 4},
                               {"format", format},
                               {"captions", QJsonArray{"name", "size"}},
                               {"timecodes", true},
                               {"background", "1.00,0.00,0.00,1.00"},
                               {"border_color", "0.80,0.80,0.80,1.00"},
                               {"border_size", 1},
                               {"quick", false}}));
        const QJsonArray instants = told.value("instants").toArray();
        ASSERT_EQ(instants.size(), 4);
        EXPECT_NEAR(instants.at(2).toDouble(), 1, 0.1);
        EXPECT_THAT(contentOf(sheet).toStdString(),
                    AllOf(HasSubstr("<x:xmpmeta"), HasSubstr("dc:source=\"" + source.toStdString()),
                          HasSubstr("xmp:CreatorTool=\"Quorvantel 1."),
                          HasSubstr("SourceModified=\"2020-09-13T12:26:40.007Z\"")));
        EXPECT_FALSE(QImage(QString::fromUtf8(sheet)).colorSpace().iccProfile().isEmpty());
    }
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
    m_input = odd + '\0' + path("out/b.jpg");
    EXPECT_EQ(run({"read", "--json", "--from", "-"}).objects().size(), 2);
}

TEST_F(CommandTest, AnUpdateMakesAnewOnlyWhatWouldDiffer)
{
    const QByteArray source = make("a.mp4");
    const QString sheet = path("out/a.jpg");
    const auto carry = [&](const std::function<void(Provenance &)> &change) {
        auto carried = readProvenance(path("out/a.jpg"));
        ASSERT_TRUE(carried);
        change(*carried);
        ASSERT_TRUE(imgWrite(QImage(sheet), sheet, xmpPacket(*carried)));
    };
    const qint64 modified = QFileInfo(QString::fromUtf8(source)).lastModified().toMSecsSinceEpoch();
    const struct {
        const char *what;
        std::function<void()> change;
        QByteArrayList options;
        const char *status;
    } cases[] = {
        {"no sheet yet", [] {}, {}, "made"},
        {"nothing", [] {}, {}, "kept"},
        {"what comes to the same",
         [] {},
         {"-l", "medium", "-n", "5", "--border-size", "1"},
         "kept"},
        {"the size",
         [&] {
             make("a.mp4", "video+");
             setModified(source, modified);
         },
         {},
         "made"},
        {"a millisecond", [&] { setModified(source, modified + 1); }, {}, "made"},
        {"nothing since", [] {}, {}, "kept"},
        {"the version", [&] { carry([](Provenance &p) { p.version = "0.9"; }); }, {}, "kept"},
        {"the source's name, as of a link",
         [&] { carry([](Provenance &p) { p.sourceName = "b.mp4"; }); },
         {},
         "made"},
        {"the count", [] {}, {"-n", "6"}, "made"},
        {"the layout", [] {}, {"-l", "minimum", "-n", "6"}, "made"},
        {"captions", [] {}, {"--caption", "none"}, "made"},
        {"stamps", [] {}, {"--no-timecode"}, "made"},
        {"the border", [] {}, {"--border-size", "3"}, "made"},
        {"its colour", [] {}, {"--border-color", "blue"}, "made"},
        {"the background", [] {}, {"--background", "black"}, "made"},
        {"the road", [] {}, {"--quick"}, "made"},
        {"the wished road only", [] {}, {"--quick"}, "kept"},
        {"paths", [] {}, {"--quick", "--no-paths"}, "made"},
        {"no paths again", [] {}, {"--quick", "--no-paths"}, "kept"},
        {"the size, without paths",
         [&] { make("a.mp4", "video++"); },
         {"--quick", "--no-paths"},
         "made"},
        {"all back", [] {}, {}, "made"},
        {"the source's end", [&] { QFile::remove(QString::fromUtf8(source)); }, {}, "skipped"}};
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

TEST_F(CommandTest, WithoutPathsASheetTellsNoFolder)
{
    sheets({"--no-paths", make("secret folder/a.mp4")});
    EXPECT_FALSE(contentOf(path("out/a.jpg")).contains("secret"));
    EXPECT_THAT(run({"read", path("out/a.jpg")}).out.toStdString(),
                AllOf(HasSubstr("source_name: a.mp4\n"), Not(HasSubstr("source_path"))));
}
