#include "sheet/caption_texts.h"

#include "support/bundle.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace qv
{

namespace
{

QVariantMap record(std::initializer_list<std::pair<QString, QVariant>> entries)
{
    QVariantMap map{{QStringLiteral("srcPathStr"), QStringLiteral("/movies/Trip.2011.mov")}};
    for (const auto &[key, value] : entries) {
        map[key] = value;
    }
    return map;
}

QString caption(const char *key, const QVariantMap &input)
{
    return captionTexts(input)[QString::fromLatin1(key)].toString();
}

// A bundle without tables shows the keys themselves.
class CaptionTexts : public testing::Test
{
protected:
    CaptionTexts() { Bundle::setMain(Bundle(m_folder.path())); }
    QTemporaryDir m_folder;

private:
    struct Restore {
        Bundle bundle = Bundle::main();
        ~Restore() { Bundle::setMain(bundle); }
    } m_restore;
};

} // namespace

TEST_F(CaptionTexts, NameTheSource)
{
    EXPECT_EQ(caption("name", record({})), QStringLiteral("Trip.2011"));
    EXPECT_EQ(caption("name", {{QStringLiteral("srcPathStr"),
                                QStringLiteral("/tv/The News.eyetv/0000.mpg")}}),
              QStringLiteral("The News"));
    EXPECT_EQ(caption("name", record({{QStringLiteral("clipName"), QStringLiteral("clip-1")}})),
              QStringLiteral("clip-1"));
}

TEST_F(CaptionTexts, TellTheDuration)
{
    for (const auto &[seconds, text] : {std::pair(QVariant(3725), "1h02'05\""),
                                        {3600, "1h00'00\""},
                                        {95.9, "0h01'35\""},
                                        {{}, "0h00'10\""}}) {
        EXPECT_EQ(caption("duration", record({{QStringLiteral("w_duration"), seconds}})),
                  QLatin1String(text));
    }
}

TEST_F(CaptionTexts, DescribeThePictureAsFarAsKnown)
{
    EXPECT_EQ(caption("vIdentity", record({})),
              QStringLiteral("Width 1280 pixels * Height 960 px"));
    EXPECT_EQ(caption("vIdentity", record({{QStringLiteral("v0_width"), 720},
                                           {QStringLiteral("v0_height"), 576},
                                           {QStringLiteral("v0_fields"), QStringLiteral("%4")},
                                           {QStringLiteral("v0_fps"), 25},
                                           {QStringLiteral("v0_dar"), QStringLiteral("16:9")}})),
              QStringLiteral("Width 720 pixels * Height 576 px - Interlacing '%4'"
                             " - framerate 25.00 - Display 16:9"));
}

TEST_F(CaptionTexts, WeighTheFile)
{
    for (const auto &[mebibytes, text] : {std::pair(0, "0 MD_byte"),
                                          {700, "700 MD_byte"},
                                          {1024, "1.00 GD_byte"},
                                          {1536, "1.50 GD_byte"}}) {
        QFile file(m_folder.filePath(QStringLiteral("clip.mpg")));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(qint64(mebibytes) << 20));
        EXPECT_EQ(caption("poids", {{QStringLiteral("srcPathStr"), file.fileName()}}),
                  QLatin1String(text));
    }
    EXPECT_FALSE(captionTexts(record({})).contains(QStringLiteral("poids")));
}

TEST_F(CaptionTexts, NameWrapperAndCodecs)
{
    const auto video = [](const char *codec) {
        return std::pair<QString, QVariant>(QStringLiteral("v0_codec"), QString::fromLatin1(codec));
    };
    const std::pair<QString, QVariant> audio(QStringLiteral("a0_codec"), QStringLiteral("aac"));
    const std::pair<QString, QVariant> wrapper(QStringLiteral("wrapper"), QStringLiteral("mov"));
    struct Row {
        QVariantMap input;
        const char *text;
    };
    for (const Row &row : {
             Row{record({audio}), " - Contents: audio aac"},
             Row{record({wrapper, video("h264"), audio}),
                 "Wrapper mov (.mov) - Contents: video h264, audio aac"},
             Row{record({video("AP4H")}), " - Contents: video ProRes (AP4H)"},
         }) {
        EXPECT_EQ(caption("essence", row.input), QLatin1String(row.text));
    }
}

} // namespace qv
