#include "support/clip_names.h"
#include "support/files_fixture.h"

using namespace qv;

namespace
{

TEST(ClipTitle, DropsSuffixesAndUnderscores)
{
    for (const auto &[path, expected] : {std::pair{"/v/My_Film-PAL.mov", "My Film"},
                                         {"/v/My_Film_720p.mov", "My Film"},
                                         {"/v/A-NV and B-NV.avi", "A"},
                                         {"/v/A__  _B.avi", "A B"},
                                         {"/v/Film -PAL.avi", "Fil"}, // with the character before
                                         {"/v/-PAL.avi", "-PAL"},
                                         {"/v/News.eyetv/0001.mpg", "News"},
                                         {"/v/News.eyetv/sub/0001.mpg", "0001"},
                                         {"/v/T.iMovieProject/Media/c_1.dv", "c 1"}}) {
        EXPECT_EQ(pathes2Titles(path, {"_720p", ""}), expected) << path;
    }
}

TEST(MasterName, KeepsAShortPathAndCutsALongOne)
{
    EXPECT_EQ(masterName("/v/clip.mov"), "/v/clip_MASTER.mov");
    EXPECT_EQ(masterName("/volumes/films/My.Very.Long.Name.Of.A.Film.mov"),
              "/volumes/films/My_Very_Long_Name_Of_MASTER.mov");
}

TEST(ShortenedName, CutsAndCleansTheNameOnly)
{
    for (const auto &[path, maximum, expected] :
         {std::tuple{"/a:b/`x`:y.mov", 20, "/a:b/x-y.mov"},
          {"/v/name.averyveryverylongextension", 20, "/v/name"},
          {"/v/\U0001F3AC\U0001F3AC.mov", 3, "/v/\U0001F3AC.mov"},
          {"/v/name.mov", -1, "/v/.mov"}}) {
        EXPECT_EQ(shortenedName(path, maximum), expected) << path;
    }
}

using RecorderBundle = FilesTest;

TEST_F(RecorderBundle, StatesItsRecordedLengthOrZero)
{
    const QString clip = at("Show.eyetv/0001.mpg");
    EXPECT_EQ(eyetvRecordedDuration(clip), 0.0F);
    make("Show.eyetv/0001.eyetvr", "<key>actual duration</key><real>soon</real>");
    EXPECT_EQ(eyetvRecordedDuration(clip), 0.0F);
    make("Show.eyetv/0001.eyetvr",
         "<dict>\n\t<key>actual duration</key>\n\t\t<real>1830.5</real>\n</dict>");
    EXPECT_FLOAT_EQ(eyetvRecordedDuration(clip), 1830.5F);
}

} // namespace
