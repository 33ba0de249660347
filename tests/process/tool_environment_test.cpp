#include "process/tool_environment.h"

#include "common/test_bundle.h"
#include "process/argument_array.h"
#include "support/files.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QByteArray valueOf(const QByteArray &name)
{
    for (const QByteArray &entry : toolEnvironment()) {
        if (entry.startsWith(name + '=')) {
            return entry.mid(name.size() + 1);
        }
    }
    return {};
}

class TemporaryFolderTest : public testing::Test
{
protected:
    void TearDown() override { setTemporaryFolder({}); }

    QTemporaryDir m_folder;
};

} // namespace

TEST(ArgumentArray, ExpandsALeadingTildeUnlessTheElementIsAUrl)
{
    const QString home = QDir::homePath();
    EXPECT_EQ(expandedArgument("~/a b"), home + "/a b");
    EXPECT_EQ(expandedArgument("a~/b"), "a~/b");
    EXPECT_EQ(expandedArgument("~/x://y"), "~/x://y");
}

TEST(ArgumentArray, IsSplitAtPipesAndAnEmptyGroupIsAnError)
{
    const auto groups = splitPipeline({"a", "||", "|", "b", "x|y"});
    ASSERT_TRUE(groups);
    EXPECT_EQ(*groups, (QList<QStringList>{{"a", "||"}, {"b", "x|y"}}));

    EXPECT_EQ(splitPipeline({}).error(), PipelineError::Empty);
    for (const QStringList &wrong :
         {QStringList{"|"}, {"|", "a"}, {"a", "|", "|", "b"}, {"a", "|"}}) {
        const auto result = splitPipeline(wrong);
        ASSERT_FALSE(result) << wrong.join(' ').toStdString();
        EXPECT_EQ(result.error(), PipelineError::EmptyGroup);
    }
}

TEST_F(TemporaryFolderTest, IsEmptiedAndLinksToTheBundleWhoseFontsTheToolsUse)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const QString folder = m_folder.filePath("scratch");
    QDir().mkpath(folder + "/left over");
    ASSERT_TRUE(prepareTemporaryFolder(folder, Bundle::main()));
    EXPECT_EQ(temporaryFolder(), folder);
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
              QStringList{"app.app"});
    const QString fonts = QFile::decodeName(valueOf("CUSTOMCONFIGDIR"));
    EXPECT_EQ(fonts, folder + "/app.app/Contents/Resources/fonts");
    EXPECT_TRUE(QFileInfo(fonts).isDir());
}

TEST_F(TemporaryFolderTest, FallsBackToANameOfTheApplicationsWhenNoneIsSet)
{
    EXPECT_EQ(temporaryFolder(), "/private/tmp/" + Bundle::main().name());
    QFile(m_folder.filePath("file")).open(QIODevice::WriteOnly);
    EXPECT_FALSE(prepareTemporaryFolder(m_folder.filePath("file/below"), Bundle::main()));
    EXPECT_EQ(temporaryFolder(), "/private/tmp/" + Bundle::main().name());
}

TEST(ToolEnvironment, OverridesItsTwoVariablesOnceAndKeepsTheOthersAsTheyAreNow)
{
    const QByteArray before = qgetenv("LC_CTYPE");
    qputenv("LC_CTYPE", "tlh_KX");
    qputenv("QV_OF_NOW", "1");
    EXPECT_EQ(valueOf("LC_CTYPE"), "en_US.UTF-8");
    EXPECT_EQ(valueOf("QV_OF_NOW"), "1");
    int count = 0;
    for (const QByteArray &entry : toolEnvironment()) {
        count += entry.startsWith("LC_CTYPE=") ? 1 : 0;
    }
    EXPECT_EQ(count, 1);
    EXPECT_TRUE(applicationEnvironment().contains("LC_CTYPE=tlh_KX"));
    qputenv("QV_OF_NOW", "2");
    EXPECT_EQ(valueOf("QV_OF_NOW"), "2") << "made afresh each time";
    before.isNull() ? qunsetenv("LC_CTYPE") : qputenv("LC_CTYPE", before);
    qunsetenv("QV_OF_NOW");
}

TEST(ToolLocation, IsTheFirstThatExistsAndAnEmptyTextWhenNoneDoes)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    EXPECT_EQ(ffmpegPath(), "");
    EXPECT_FALSE(ffmpegPath().isNull());

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
