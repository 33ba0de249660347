#include "support/bundle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

void write(const QString &path, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

class BundleTest : public testing::Test
{
protected:
    QString path() const { return m_folder.filePath(QStringLiteral("Some.app")); }
    void writeInfo(const QByteArray &entries)
    {
        write(path() + QStringLiteral("/Contents/Info.plist"),
              "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    }

    QTemporaryDir m_folder;
};

} // namespace

TEST_F(BundleTest, ReadsNamesVersionAndDocumentExtensions)
{
    writeInfo(
        "<key>CFBundleName</key><string>Some</string>"
        "<key>CFBundleIdentifier</key><string>org.some</string>"
        "<key>CFBundleShortVersionString</key><string>1.2</string>"
        "<key>CFBundleDocumentTypes</key><array>"
        "<dict><key>CFBundleTypeExtensions</key><array><string>mov</string><integer>3</integer>"
        "<string>MTS</string></array></dict>"
        "<dict><key>CFBundleTypeExtensions</key><array><string>no</string></array></dict>"
        "</array>");
    const Bundle bundle(path() + QLatin1Char('/'));
    EXPECT_EQ(bundle.path(), path());
    EXPECT_EQ(bundle.name(), QStringLiteral("Some"));
    EXPECT_EQ(bundle.identifier(), QStringLiteral("org.some"));
    EXPECT_EQ(bundle.version(), QStringLiteral("1.2"));
    EXPECT_EQ(bundle.documentExtensions(), QStringList({"mov", "MTS"}));
    EXPECT_FALSE(bundle.infoValue(QStringLiteral("absent")).isValid());
}

TEST_F(BundleTest, IsNamedWithoutInfoOrWithAValueOfTheWrongType)
{
    EXPECT_EQ(Bundle(path()).name(), QStringLiteral("Quorvantel"));
    writeInfo("<key>CFBundleName</key><array/><key>CFBundleDocumentTypes</key><string/>");
    EXPECT_EQ(Bundle(path()).name(), QStringLiteral("Quorvantel"));
    EXPECT_TRUE(Bundle(path()).documentExtensions().isEmpty());
}

TEST_F(BundleTest, FindsOnlyResourcesThatExist)
{
    const Bundle bundle(path());
    write(bundle.resourcePath() + QStringLiteral("/puce.png"), "x");
    EXPECT_EQ(bundle.resource(QStringLiteral("puce"), QStringLiteral("png")),
              path() + QStringLiteral("/Contents/Resources/puce.png"));
    EXPECT_EQ(bundle.resource(QStringLiteral("puce.png"), QString()),
              path() + QStringLiteral("/Contents/Resources/puce.png"));
    EXPECT_EQ(bundle.resource(QStringLiteral("puce"), QStringLiteral("svg")), QString());
    EXPECT_EQ(bundle.toolPath(QStringLiteral("ffmpeg")),
              path() + QStringLiteral("/Contents/Resources/tools/ffmpeg"));
}

TEST_F(BundleTest, OfTheProcessIsTheExecutablesFolderOutsideOfABundle)
{
    EXPECT_EQ(Bundle::main().path(), QCoreApplication::applicationDirPath());
}
