#include "support/bundle.h"
#include "support/files_fixture.h"

using namespace qv;

TEST_F(FilesTest, ABundleIsNamedWithoutInfoOrWithAValueOfTheWrongType)
{
    EXPECT_EQ(Bundle(at("Some.app")).name(), "Quorvantel");
    make("Some.app/Contents/Info.plist",
         "<plist version=\"1.0\"><dict><key>CFBundleName</key><array/>"
         "<key>CFBundleDocumentTypes</key><string/></dict></plist>");
    EXPECT_EQ(Bundle(at("Some.app")).name(), "Quorvantel");
    EXPECT_TRUE(Bundle(at("Some.app")).documentExtensions().isEmpty());
}
