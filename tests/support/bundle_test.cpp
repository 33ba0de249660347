#include "support/bundle.h"
#include "support/files_fixture.h"

using namespace qv;

namespace
{

class BundleTest : public FilesTest
{
protected:
    QString path() const { return at("Some.app"); }
    void writeInfo(const QByteArray &entries)
    {
        make("Some.app/Contents/Info.plist",
             "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    }
};

} // namespace

TEST_F(BundleTest, ReadsNamesVersionAndDocumentExtensions)
{
    writeInfo(
        "<key>CFBundleName</key><string>Some</string>"
        "<key>CFBundleShortVersionString</key><string>1.2</string>"
        "<key>CFBundleDocumentTypes</key><array>"
        "<dict><key>CFBundleTypeExtensions</key><array><string>mov</string><integer>3</integer>"
        "<string>MTS</string></array></dict>"
        "<dict><key>CFBundleTypeExtensions</key><array><string>no</string></array></dict>"
        "</array>");
    const Bundle bundle(path() + QLatin1Char('/'));
    EXPECT_EQ(bundle.name(), "Some");
    EXPECT_EQ(bundle.version(), "1.2");
    EXPECT_EQ(bundle.documentExtensions(), QStringList({"mov", "MTS"}));
}

TEST_F(BundleTest, IsNamedWithoutInfoOrWithAValueOfTheWrongType)
{
    EXPECT_EQ(Bundle(path()).name(), "Quorvantel");
    writeInfo("<key>CFBundleName</key><array/><key>CFBundleDocumentTypes</key><string/>");
    EXPECT_EQ(Bundle(path()).name(), "Quorvantel");
    EXPECT_TRUE(Bundle(path()).documentExtensions().isEmpty());
}
