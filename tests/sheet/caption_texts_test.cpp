#include "sheet/caption_texts.h"

#include "common/folder_test.h"
#include "support/bundle.h"

namespace qv
{

namespace
{

// A bundle without tables shows the keys themselves.
class CaptionTexts : public FolderTest
{
protected:
    CaptionTexts() { Bundle::setMain(Bundle(m_folder.path())); }
    ~CaptionTexts() override { Bundle::setMain(m_before); }

    const Bundle m_before = Bundle::main();
};

} // namespace

TEST_F(CaptionTexts, TellOfTheSourceWhatIsKnown)
{
    const struct {
        const char *key;
        QVariantMap known;
        const char *text;
    } rows[] = {
        {"name", {}, "Trip.2011"},
        {"name", {{"srcPathStr", "/tv/The News.eyetv/0000.mpg"}}, "The News"},
        {"name", {{"clipName", "clip-1"}}, "clip-1"},
        {"duration", {{"w_duration", 3725}}, "1h02'05\""},
        {"duration", {{"w_duration", 3600}}, "1h00'00\""},
        {"duration", {{"w_duration", 95.9}}, "0h01'35\""},
        {"duration", {}, "0h00'10\""},
        {"vIdentity", {}, "Width 1280 pixels * Height 960 px"},
        {"vIdentity",
         {{"v0_width", 720},
          {"v0_height", 576},
          {"v0_fields", "%4"},
          {"v0_fps", 25},
          {"v0_dar", "16:9"}},
         "Width 720 pixels * Height 576 px - Interlacing '%4' - framerate 25.00 - Display 16:9"},
        {"vIdentity",
         {{"v0_hdr", "Dolby Vision profile 5"}, {"v0_noBase", 1}},
         "Width 1280 pixels * Height 960 px - wrongColors (Dolby Vision profile 5)"},
        {"essence", {{"a0_codec", "aac"}}, " - Contents: audio aac"},
        {"essence",
         {{"wrapper", "mov"}, {"v0_codec", "h264"}, {"a0_codec", "aac"}},
         "Wrapper mov (.mov) - Contents: video h264, audio aac"},
        {"essence", {{"v0_codec", "AP4H"}}, " - Contents: video ProRes (AP4H)"},
        {"poids", {}, ""},
    };
    for (const auto &row : rows) {
        QVariantMap record{{"srcPathStr", "/movies/Trip.2011.mov"}};
        record.insert(row.known);
        EXPECT_EQ(captionTexts(record).value(row.key).toString(), row.text) << row.key;
    }
}

TEST_F(CaptionTexts, WeighTheFile)
{
    for (const auto &[mebibytes, text] : {std::pair(0, "0 MD_byte"),
                                          {700, "700 MD_byte"},
                                          {1024, "1.00 GD_byte"},
                                          {1536, "1.50 GD_byte"}}) {
        QFile file(m_folder.filePath("clip.mpg"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(qint64(mebibytes) << 20));
        EXPECT_EQ(captionTexts({{"srcPathStr", file.fileName()}}).value("poids").toString(), text);
    }
}

} // namespace qv
