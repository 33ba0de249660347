#include "sheet/extraction_plan.h"
#include "sheet/stills_folder.h"

#include "common/folder_test.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace qv
{

namespace
{

QVariantMap source(double seconds, int requested)
{
    return {{"srcPathStr", "/movies/a %1 b.mov"},
            {"dstPathStr", "/stills/a %2"},
            {"v0_width", 720},
            {"v0_height", 576},
            {"v0_dar", "16:9"},
            {"w_duration", seconds},
            {"thNumberInt", requested}};
}

QVariantMap with(QVariantMap map, const char *key, const QVariant &value)
{
    map[key] = value;
    return map;
}

QString seeks(double seconds, int requested)
{
    QStringList texts;
    for (const PlannedPicture &picture : planExtraction(0, source(seconds, requested)).pictures) {
        texts << picture.arguments.at(2);
    }
    return texts.join(' ');
}

QString filterOf(const QVariantMap &input)
{
    return planExtraction(0, input).pictures.at(0).arguments.at(12);
}

} // namespace

TEST(PlanExtraction, BuildsOneCommandPerPicture)
{
    const ExtractionPlan plan = planExtraction(1, source(90, 10));
    ASSERT_EQ(plan.pictures.size(), 9U);
    EXPECT_EQ(plan.pictures[3].timecode, "0:00:30");
    EXPECT_EQ(plan.pictures[3].arguments.join(QLatin1Char('\n')),
              Bundle::main().toolsPath() +
                  "/ffmpeg\n-ss\n30.00\n-t\n12\n-loglevel\ninfo\n-i\n"
                  "/movies/a %1 b.mov\n-frames:v\n1\n-vf\n"
                  "select=eq(pict_type\\,I),yadif=1,scale=1024:576,setsar=1:1\n"
                  "-b:v\n20M\n-bt\n1000M\n-qscale\n1\n-an\n-y\n"
                  "/stills/a %2/img03.jpg");
}

TEST(PlanExtraction, SpreadsTheInstantsOverTheDuration)
{
    EXPECT_EQ(seeks(80, 8), "2.50 10.00 20.00 30.00 40.00 50.00 60.00 70.00");
    EXPECT_EQ(seeks(600, 3), "10.00 300.00");
    EXPECT_EQ(seeks(10, 6), "0.42 1.67 3.33 5.00 6.67 8.33");
    EXPECT_EQ(seeks(10.9, 6), seeks(10, 6));
    EXPECT_EQ(seeks(0, 2), "0.00 0.00");
}

TEST(PlanExtraction, TakesTheFramesOfASourceThatIsShorterThanASecond)
{
    EXPECT_EQ(seeks(0.48, 4), "0.030 0.120 0.240 0.360");
    const ExtractionPlan plan = planExtraction(0, with(source(0.48, 6), "v0_fps", 25));
    EXPECT_EQ(plan.pictures[1].arguments.at(2), "0.080");
    EXPECT_EQ(plan.pictures[5].arguments.at(2), "0.400");
    EXPECT_EQ(plan.pictures[5].timecode, "0:00:00.40");
}

TEST(PlanExtraction, SelectsAndDeinterlacesOnlyWhereNeeded)
{
    const QVariantMap plain = source(80, 8);
    const QString progressive = localized("PFF", "fields");
    const QString whole = "select=eq(pict_type\\,I),yadif=1,scale=1024:576,setsar=1:1";
    EXPECT_EQ(filterOf(plain), whole);
    EXPECT_EQ(filterOf(with(plain, "v0_fields", "i")), whole);
    EXPECT_EQ(filterOf(with(plain, "v0_fields", progressive)), QString(whole).remove("yadif=1,"));
    EXPECT_EQ(filterOf(with(plain, "intraFailure", 1)), whole.mid(24));
}

TEST(PlanExtraction, StaysSaneForHostileRecords)
{
    const QList<QVariant> values{0,     -1,           std::numeric_limits<int>::max(),
                                 1e300, std::nan(""), QVariantList{1, 2}};
    for (const char *key : {"v0_width", "v0_height", "v0_dar", "w_duration", "thNumberInt",
                            "srcPathStr", "v0_fields", "decSkip"}) {
        for (const QVariant &value : values) {
            const ExtractionPlan plan = planExtraction(2, with(source(80, 12), key, value));
            EXPECT_LE(plan.count, 10000) << key;
            EXPECT_TRUE(std::isfinite(plan.interval)) << key;
            EXPECT_TRUE(plan.size.width >= 2 && plan.size.height >= 2) << key;
        }
    }
    EXPECT_TRUE(planExtraction(2, source(80, 5)).pictures.empty());
}

class Encodage : public FolderTest
{
protected:
    QString folder() const { return m_folder.filePath("stills"); }
    QVariant stored(const char *key) const
    {
        return m_store.prefReadChildDico("processEncDico", key);
    }
    int run()
    {
        const QVariantMap dico = with(source(80, 8), "dstPathStr", folder());
        return encodage(0, "1.0", with(dico, "stillsMark", m_mark), m_store);
    }
    bool isOurs() const { return mayUseStillsFolder(folder(), m_mark); }

    const QString m_mark = newStillsMark();

    PreferencesStore m_store;
};

TEST_F(Encodage, StoresCommandsCaptionsAndTimecodes)
{
    EXPECT_EQ(run(), 0);
    const QVariantMap commands = stored("appkyThFf").toMap();
    ASSERT_EQ(commands.size(), 8);
    EXPECT_EQ(commands["7"].toStringList().last(), pictureFile(folder(), 7));
    const QVariantMap display = stored("appkyDisplay").toMap();
    EXPECT_EQ(display["name"].toString(), "a %1 b");
    EXPECT_EQ(display["timecode"].toMap()["1"].toString(), "0:00:10");
    EXPECT_TRUE(isOurs());
}

TEST_F(Encodage, TouchesNoFolderOfTheUserWhateverMarkItHas)
{
    const QString other = m_folder.filePath("other");
    ASSERT_TRUE(prepareStillsFolder(other, newStillsMark()));
    const QByteArray forged = contentOf(other + "/.quorvantel-stills");
    ASSERT_EQ(forged.size(), m_mark.size());
    ASSERT_TRUE(QDir().mkpath(folder() + "/photos"));
    for (const QByteArray &mark : {QByteArray(), forged, m_mark.toUtf8() + '0'}) {
        writeFile(folder() + "/.quorvantel-stills", mark);
        EXPECT_EQ(run(), 0);
        EXPECT_TRUE(QFileInfo::exists(folder() + "/photos"));
        EXPECT_FALSE(stored("appkyDisplay").isValid());
        EXPECT_FALSE(purgeStillsFolder(folder(), m_mark) || purgeStillsFolder(folder(), {}));
    }
}

TEST_F(Encodage, EmptiesItsOwnFolderAgain)
{
    run();
    const QString old = pictureFile(folder(), 40);
    writeFile(old, "");
    run();
    EXPECT_FALSE(QFileInfo::exists(old));
    EXPECT_TRUE(purgeStillsFolder(folder(), m_mark));
    EXPECT_FALSE(QFileInfo::exists(folder()));
}

TEST_F(Encodage, NeverFollowsALinkToAFolder)
{
    run();
    const QString link = m_folder.filePath("link");
    const QString dangling = m_folder.filePath("dangling");
    ASSERT_TRUE(QFile::link(folder(), link));
    ASSERT_TRUE(QFile::link(m_folder.filePath("nowhere"), dangling));
    for (const QString &path : {link, link + '/', dangling, QString()}) {
        EXPECT_FALSE(mayUseStillsFolder(path, m_mark));
        EXPECT_FALSE(prepareStillsFolder(path, m_mark));
        EXPECT_FALSE(purgeStillsFolder(path, m_mark));
    }
    EXPECT_TRUE(isOurs());
}

} // namespace qv
