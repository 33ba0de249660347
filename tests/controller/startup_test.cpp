#include "common/log_capture.h"
#include "common/test_bundle.h"
#include "common/test_files.h"
#include "common/wait_until.h"
#include "controller/startup.h"
#include "process/child_process.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

class StartupTest : public testing::Test
{
protected:
    StartupTest() : m_tmpdir(qgetenv("TMPDIR"))
    {
        setLocalizationBundle(Bundle::main());
        setLocalizationTable("Localized");
        qputenv("TMPDIR", m_folder.path().toUtf8());
    }
    ~StartupTest() override
    {
        qputenv("TMPDIR", m_tmpdir);
        setTemporaryFolder({});
        EXPECT_TRUE(hasNoChildren());
    }
    QString path(const QString &name) const { return m_folder.filePath(name); }
    void makeTool(const QString &name, const QByteArray &script)
    {
        writeScript(m_bundle.tool(name), script);
    }

    QTemporaryDir m_folder;
    TestBundle m_bundle{TestBundle::Ffmpeg::None};
    LogCapture m_log;
    QByteArray m_tmpdir;
};

} // namespace

TEST_F(StartupTest, RefusesProcessorsThatTheBuildIsNotFor)
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
}

TEST_F(StartupTest, RefusesASecondCopyAndAPathWithABackslash)
{
    EXPECT_FALSE(refuseInstance(1));
    const auto refusal = refuseInstance(2);
    ASSERT_TRUE(refusal);
    EXPECT_TRUE(refusal->detail.contains(Bundle::main().name())) << refusal->detail.toStdString();
    EXPECT_TRUE(m_log.contains("APP number of copy  :-( 2"));
    EXPECT_FALSE(refusePath("/opt/Some App.app/Contents/Resources"));
    EXPECT_TRUE(refusePath("/opt/back\\slash/Contents/Resources"));
    EXPECT_TRUE(m_log.contains("KVS's path contains character '\\' :-( /opt/back\\slash/"));
}

TEST_F(StartupTest, EmptiesTheTemporaryFolderOfTheRunBeforeAndClosesItToOthers)
{
    writeFile(path("Quorvantel/stills-1/00000.jpg"), "left behind");
    writeFile(path("Quorvantel-private-abcdef/00000.jpg"), "left behind");
    EXPECT_EQ(makeTemporaryFolder(Bundle::main()).value_or(""), path("Quorvantel"));
    EXPECT_EQ(QDir(path("Quorvantel")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{"app.app"});
    EXPECT_FALSE(fileExists(path("Quorvantel-private-abcdef")));
    EXPECT_EQ(QFileInfo(path("Quorvantel")).permissions() & 0x0fff,
              QFile::ReadUser | QFile::WriteUser | QFile::ExeUser);
    EXPECT_EQ(temporaryFolder(), path("Quorvantel"));
}

TEST_F(StartupTest, TakesAPrivateFolderWhenTheUsualNameIsSomebodyElses)
{
    writeFile(path("elsewhere/precious"), "kept");
    QFile::link(path("elsewhere"), path("Quorvantel"));
    const QString folder = makeTemporaryFolder(Bundle::main()).value_or("");
    EXPECT_TRUE(folder.startsWith(path("Quorvantel-private-"))) << folder.toStdString();
    EXPECT_TRUE(QFileInfo(folder + "/app.app").isSymLink());
    EXPECT_EQ(temporaryFolder(), folder);
    EXPECT_TRUE(fileExists(path("elsewhere/precious")));
}

TEST_F(StartupTest, SaysWhereNoTemporaryFolderCanBeMade)
{
    writeFile(path("a file"), "");
    qputenv("TMPDIR", path("a file").toUtf8());
    const auto made = makeTemporaryFolder(Bundle::main());
    ASSERT_FALSE(made);
    EXPECT_TRUE(made.error().contains(path("a file"))) << made.error().toStdString();
}

TEST_F(StartupTest, AsksForTheDecodersWhileTheApplicationGoesOn)
{
    makeTool("qtThumbs", "echo a warning >&2\necho '{\"ICOD\": true, \"APCH\": true, "
                         "\"MTS \": false, \"WMV \": true}'\n");
    MovieTool movies;
    DecoderQuery query(movies);
    bool answered = false;
    QObject::connect(&query, &DecoderQuery::answered, &query, [&] { answered = true; });
    query.start();
    EXPECT_FALSE(answered);
    EXPECT_FALSE(movies.hasDecoder("icod")) << "nobody waits";
    ASSERT_TRUE(waitUntil([&] { return answered; }));
    EXPECT_TRUE(movies.hasDecoder("icod"));
    EXPECT_EQ(query.flags(), (QList<bool>{true, false, true, true, false, false}));
    EXPECT_TRUE(m_log.contains("qt aic              :-)"));
    EXPECT_TRUE(m_log.contains("qt mts              :-("));
    EXPECT_TRUE(m_log.contains("qt prores dec       :-)"));
}

TEST_F(StartupTest, HasNoDecoderWithoutATool)
{
    for (const QByteArray script : {"", "exit 1\n", "yes '{\"ICOD\": 1'\n", "kill -9 $$\n"}) {
        if (!script.isEmpty()) {
            makeTool("qtThumbs", script);
        }
        MovieTool movies;
        DecoderQuery query(movies);
        bool answered = false;
        QObject::connect(&query, &DecoderQuery::answered, &query, [&] { answered = true; });
        query.start();
        ASSERT_TRUE(waitUntil([&] { return answered; })) << script.constData();
        EXPECT_EQ(query.flags(), QList<bool>(6, false)) << script.constData();
        EXPECT_FALSE(movies.hasDecoder("icod"));
    }
}

TEST_F(StartupTest, LearnsTheVersionOfFfmpegUnlessTheQuestionIsGivenUp)
{
    makeTool("ffmpeg", "echo 'ffmpeg version 5.1.9-0 Copyright (c) 2000-2026'\n");
    FfmpegQuery query;
    query.start();
    ASSERT_TRUE(waitUntil([&] { return !query.versionLine().isEmpty(); }));
    EXPECT_EQ(query.versionLine(), "ffmpeg version 5.1.9-0 Copyright (c) 2000-2026");
    EXPECT_GT(query.revision(), 5.0F);
    makeTool("ffmpeg", "exec sleep 1000\n");
    FfmpegQuery endless;
    endless.start();
}
