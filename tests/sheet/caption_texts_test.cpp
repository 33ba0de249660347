#include "sheet/caption_texts.h"

#include "settings/preferences_store.h"
#include "support/bundle.h"
#include "support/localized_strings.h"

#include <QFile>
#include <QRegularExpression>
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
    QString sourceOfSize(qint64 bytes) const
    {
        QFile file(m_folder.filePath(QStringLiteral("clip.mpg")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.resize(bytes));
        return file.fileName();
    }

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
    EXPECT_EQ(caption("location", record({})), QStringLiteral("/movies/Trip.2011.mov"));
    EXPECT_EQ(caption("name", {{QStringLiteral("srcPathStr"),
                                QStringLiteral("/tv/The News.eyetv/0000.mpg")}}),
              QStringLiteral("The News"));
}

TEST_F(CaptionTexts, TellTheDuration)
{
    struct Row {
        QVariant seconds;
        const char *text;
    };
    for (const Row &row : {Row{95, "0h01'35\""}, Row{3725, "1h02'05\""}, Row{59, "0h00'59\""},
                           Row{3600, "1h00'00\""}, Row{95.9, "0h01'35\""}, Row{{}, "0h00'10\""}}) {
        EXPECT_EQ(caption("duration", record({{QStringLiteral("w_duration"), row.seconds}})),
                  QLatin1String(row.text));
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
    struct Row {
        qint64 mebibytes;
        const char *text;
    };
    for (const Row &row : {Row{0, "0 MD_byte"}, Row{700, "700 MD_byte"}, Row{1024, "1.00 GD_byte"},
                           Row{1536, "1.50 GD_byte"}}) {
        const QString path = sourceOfSize(row.mebibytes << 20);
        EXPECT_EQ(caption("poids", {{QStringLiteral("srcPathStr"), path}}),
                  QLatin1String(row.text));
    }
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
             Row{record({wrapper}), "Wrapper mov (.mov)"},
             Row{record({wrapper, video("h264"), audio}),
                 "Wrapper mov (.mov) - Contents: video h264, audio aac"},
             Row{record({video("ICOD")}), " - Contents: video AppleIntermediateCodec"},
             Row{record({video("AP4H")}), " - Contents: video ProRes (AP4H)"},
             Row{record({video("apcn")}), " - Contents: video ProRes (apcn)"},
             Row{record({}), ""},
         }) {
        EXPECT_EQ(caption("essence", row.input), QLatin1String(row.text));
    }
}

TEST_F(CaptionTexts, DateTheFileByItsDay)
{
    const QString date = caption("date", {{QStringLiteral("srcPathStr"), sourceOfSize(1)}});
    EXPECT_TRUE(
        QRegularExpression(QStringLiteral("^\\d{4}-\\d\\d-\\d\\d$")).match(date).hasMatch());
}

TEST_F(CaptionTexts, LeaveOutWhatAMissingFileDoesNotTell)
{
    const QVariantMap texts = captionTexts(record({}));
    EXPECT_FALSE(texts.contains(QStringLiteral("poids")));
    EXPECT_FALSE(texts.contains(QStringLiteral("date")));
}

TEST(CaptionSwitches, AreSettings)
{
    const QVariantMap defaults = PreferencesStore::prefsDefaults();
    QStringList switched;
    for (const CaptionSwitch &entry : captionSwitches()) {
        EXPECT_TRUE(defaults.contains(entry.preference)) << entry.preference.toStdString();
        switched << entry.caption;
    }
    for (const QString &key : captionLineKeys()) {
        EXPECT_TRUE(switched.contains(key)) << key.toStdString();
    }
}

} // namespace qv
