#include "support/clip_names.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QString q(const char *text)
{
    return QString::fromUtf8(text);
}

TEST(ClipTitle, DropsSuffixesAndUnderscores)
{
    const QStringList suffixes{q("_720p"), q("")};
    for (const auto &[path, expected] : {std::pair{"/v/My_Film-PAL.mov", "My Film"},
                                         {"/v/My_Film_720p.mov", "My Film"},
                                         {"/v/A-NV and B-NV.avi", "A"},
                                         {"/v/A__  _B.avi", "A B"},
                                         {"/v/__A.avi", "A"},
                                         {"/v/Film -PAL.avi", "Fil"}, // with the character before
                                         {"/v/-PAL.avi", "-PAL"},
                                         {"/v/x.avi", "x"}}) {
        EXPECT_EQ(pathes2Titles(q(path), suffixes), q(expected)) << path;
    }
    EXPECT_TRUE(pathes2Titles({}, {}).isEmpty());
}

TEST(MasterName, KeepsAShortPathAndCutsALongOne)
{
    EXPECT_EQ(masterName(q("/v/clip.mov")), q("/v/clip_MASTER.mov"));
    EXPECT_EQ(masterName(q("/volumes/films/My.Very.Long.Name.Of.A.Film.mov")),
              q("/volumes/films/My_Very_Long_Name_Of_MASTER.mov"));
    EXPECT_EQ(masterName(q("/volumes/very/long/folder/a")),
              q("/volumes/very/long/folder/a_MASTER"));
    EXPECT_TRUE(masterName({}).isEmpty());
}

TEST(ShortenedName, CutsAndCleansTheNameOnly)
{
    for (const auto &[path, maximum, expected] :
         {std::tuple{"/a:b/`x`:y.mov", 20, "/a:b/x-y.mov"},
          {"name.mov", 2, "na.mov"},
          {"/v/name.averyveryverylongextension", 20, "/v/name"},
          {"/v/\U0001F3AC\U0001F3AC.mov", 3, "/v/\U0001F3AC.mov"},
          {"/v/name.mov", -1, "/v/.mov"}}) {
        EXPECT_EQ(shortenedName(q(path), maximum), q(expected)) << path;
    }
}

class RecorderBundle : public testing::Test
{
protected:
    QString clip() const { return m_dir.filePath(q("Show.eyetv/0001.mpg")); }
    void write(const QByteArray &content) const
    {
        QDir(m_dir.path()).mkpath(q("Show.eyetv"));
        QFile file(m_dir.filePath(q("Show.eyetv/0001.eyetvr")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
    }

    QTemporaryDir m_dir;
};

TEST_F(RecorderBundle, StatesItsRecordedLength)
{
    write("<dict>\n\t<key>actual duration</key>\n\t\t<real>1830.5</real>\n</dict>");
    EXPECT_FLOAT_EQ(eyetvRecordedDuration(clip()), 1830.5F);
    EXPECT_EQ(fileFromFolder(m_dir.filePath(q("Show.eyetv")), q("eyetvr")),
              m_dir.filePath(q("Show.eyetv/0001.eyetvr")));
}

TEST_F(RecorderBundle, OfUnknownLengthGivesZero)
{
    EXPECT_EQ(eyetvRecordedDuration(clip()), 0.0F); // no bundle at all
    write("<key>actual duration</key><real>soon</real>");
    EXPECT_EQ(eyetvRecordedDuration(clip()), 0.0F);
    EXPECT_EQ(eyetvRecordedDuration(q("/films/0001.mpg")), 0.0F);
    EXPECT_FALSE(fileFromFolder(m_dir.path(), q("eyetvr")).isNull());
}

} // namespace
