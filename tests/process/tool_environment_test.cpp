#include "process/tool_environment.h"

#include "common/test_bundle.h"
#include "process/argument_array.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace qv;

TEST(TemporaryFolder, IsEmptiedAndLinksToTheBundleWhoseFontsTheToolsUse)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const QTemporaryDir home;
    const QString folder = home.filePath("scratch");
    QDir().mkpath(folder + "/left over");
    ASSERT_TRUE(prepareTemporaryFolder(folder, Bundle::main()));
    EXPECT_EQ(temporaryFolder(), folder);
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              (QStringList{"app.app", "tools"}));
    const QString fonts = folder + "/app.app/Contents/Resources/fonts";
    EXPECT_TRUE(toolEnvironment().contains("CUSTOMCONFIGDIR=" + QFile::encodeName(fonts)));
    EXPECT_TRUE(QFileInfo(fonts).isDir());

    setTemporaryFolder({});
    QFile(home.filePath("file")).open(QIODevice::WriteOnly);
    EXPECT_FALSE(prepareTemporaryFolder(home.filePath("file/below"), Bundle::main()));
    EXPECT_EQ(temporaryFolder(), "/private/tmp/" + Bundle::main().name());
}

TEST(ToolLocation, IsTheFirstThatExistsAndAnEmptyTextWhenNoneDoes)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    EXPECT_EQ(ffmpegPath(), "");
    const QString inSupport =
        QDir::homePath() + "/Library/Application Support/" + Bundle::main().name() + "/ffmpeg";
    QDir().mkpath(QFileInfo(inSupport).path());
    for (const QString &better :
         {inSupport, Bundle::main().resourcePath() + "/ffmpeg", bundle.tool("ffmpeg")}) {
        ASSERT_TRUE(QFile::link(fakeTool(), better));
        EXPECT_EQ(ffmpegPath(), better);
    }
    QFile::remove(inSupport);
}
