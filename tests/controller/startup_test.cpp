#include "common/folder_test.h"
#include "common/log_capture.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "controller/startup.h"
#include "process/child_process.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/localized_strings.h"

using namespace qv;

namespace
{

class StartupTest : public FolderTest
{
protected:
    StartupTest() : m_tmpdir(qgetenv("TMPDIR")) { qputenv("TMPDIR", m_folder.path().toUtf8()); }
    ~StartupTest() override
    {
        qputenv("TMPDIR", m_tmpdir);
        setTemporaryFolder({});
        EXPECT_TRUE(hasNoChildren());
    }
    // Whether it answered.
    static bool ask(DecoderQuery &query)
    {
        bool answered = false;
        QObject::connect(&query, &DecoderQuery::answered, &query, [&] { answered = true; });
        query.start();
        EXPECT_FALSE(answered) << "nobody waits";
        return waitUntil([&] { return answered; });
    }

    TestBundle m_bundle{TestBundle::Ffmpeg::None};
    LogCapture m_log;
    QByteArray m_tmpdir;
};

} // namespace

TEST_F(StartupTest, RefusesProcessorsThatTheBuildIsNotForAndAPathWithABackslash)
{
    const struct {
        platform::Processor processor;
        bool refused;
    } rows[] = {
        {{"x86_64", 64, true, 4}, false}, {{"arm64", 64, false, 4}, false},
        {{"x86_64", 64, false, 4}, true}, {{"i386", 32, true, 4}, true},
        {{"x86_64", 32, true, 4}, true},  {{"riscv64", 64, false, 4}, true},
        {platform::processor(), false},
    };
    for (const auto &[processor, refused] : rows) {
        EXPECT_EQ(refuseProcessor(processor).has_value(), refused)
            << processor.architecture.toStdString();
    }
    EXPECT_FALSE(refusePath("/opt/Some App.app/Contents/Resources"));
    EXPECT_TRUE(refusePath("/opt/back\\slash/Contents/Resources"));
}

TEST_F(StartupTest, EmptiesTheTemporaryFolderOfTheRunBeforeAndClosesItToOthers)
{
    writeFile(path("Quorvantel/stills-1/00000.jpg"), "left behind");
    const auto folder = makeTemporaryFolder(Bundle::main());
    ASSERT_TRUE(folder);
    EXPECT_EQ(temporaryFolder(), path("Quorvantel"));
    EXPECT_EQ(QDir(temporaryFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              (QStringList{"app.app", "tools"}));
    EXPECT_EQ(QDir(toolFolder()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    EXPECT_EQ(QFileInfo(path("Quorvantel")).permissions() & 0x0fff,
              QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
}

TEST_F(StartupTest, TakesAPrivateFolderWhenTheUsualNameIsSomebodyElses)
{
    writeFile(path("elsewhere/precious"), "kept");
    QFile::link(path("elsewhere"), path("Quorvantel"));
    writeFile(path("Quorvantel-private-abcdef/00000.jpg"), "left behind");
    const auto folder = makeTemporaryFolder(Bundle::main());
    ASSERT_TRUE(folder);
    EXPECT_TRUE(temporaryFolder().startsWith(path("Quorvantel-private-")));
    EXPECT_TRUE(QFileInfo(temporaryFolder() + "/app.app").isSymLink());
    EXPECT_TRUE(fileExists(path("elsewhere/precious")));
    EXPECT_FALSE(fileExists(path("Quorvantel-private-abcdef")));
}

// As when another user made the file of the instance lock first.
TEST_F(StartupTest, NeverEmptiesTheFolderOfACopyThatRuns)
{
    std::vector<std::unique_ptr<ScratchFolder>> copies;
    for (int i = 0; i < 3; ++i) {
        auto folder = makeTemporaryFolder(Bundle::main());
        ASSERT_TRUE(folder);
        writeFile(toolFolder() + "/film.jpg", "a preview");
        copies.push_back(std::move(*folder));
    }
    for (const auto &copy : copies) {
        EXPECT_TRUE(fileExists(copy->path() + "/tools/film.jpg")) << copy->path().toStdString();
    }
    copies.clear();
    EXPECT_TRUE(QDir(path(".")).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST_F(StartupTest, AsksForTheDecodersWhileTheApplicationGoesOn)
{
    writeScript(m_bundle.tool("qtThumbs"),
                "echo a warning >&2\necho '{\"ICOD\": true, \"APCH\": true, "
                "\"MTS \": false, \"WMV \": true, \"version\": \"GStreamer 9\"}'\n");
    MovieTool movies;
    DecoderQuery query(movies);
    EXPECT_FALSE(movies.hasDecoder("icod"));
    ASSERT_TRUE(ask(query));
    EXPECT_TRUE(movies.hasDecoder("icod"));
    EXPECT_EQ(query.flags(), (QList<bool>{true, false, true, true, false, false}));
    EXPECT_TRUE(m_log.contains("qt aic              :-)"));
    EXPECT_TRUE(m_log.contains("movie framework     : GStreamer 9"));
}

TEST_F(StartupTest, HasNoDecoderWithoutATool)
{
    for (const QByteArray script : {"", "exit 1\n", "yes '{\"ICOD\": 1'\n", "kill -9 $$\n"}) {
        if (!script.isEmpty()) {
            writeScript(m_bundle.tool("qtThumbs"), script);
        }
        MovieTool movies;
        DecoderQuery query(movies);
        ASSERT_TRUE(ask(query)) << script.constData();
        EXPECT_EQ(query.flags(), QList<bool>(6, false)) << script.constData();
        EXPECT_FALSE(movies.hasDecoder("icod"));
    }
}

TEST_F(StartupTest, LearnsTheVersionOfFfmpegUnlessTheQuestionIsGivenUp)
{
    writeScript(m_bundle.tool("ffmpeg"), "echo 'ffmpeg version 5.1.9-0 Copyright (c) 2000-2026'\n");
    FfmpegQuery query;
    query.start();
    ASSERT_TRUE(waitUntil([&] { return !query.versionLine().isEmpty(); }));
    EXPECT_EQ(query.versionLine(), "ffmpeg version 5.1.9-0 Copyright (c) 2000-2026");
    EXPECT_GT(query.revision(), 5.0F);
    writeScript(m_bundle.tool("ffmpeg"), "exec sleep 1000\n");
    FfmpegQuery endless;
    endless.start();
}
