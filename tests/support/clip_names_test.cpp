#include "support/clip_names.h"
#include "support/files_fixture.h"

using namespace qv;

namespace
{

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
