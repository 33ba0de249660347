#include "controller/admission.h"

#include "controller/controller_fixture.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <sys/stat.h>

using namespace qv;

namespace
{

class AdmissionTest : public ControllerTest
{
};

QString titleOfRefusal()
{
    return localized("dndNonCompliantFolderFilesTitle");
}

} // namespace

TEST(AdmittedExtensions, AreDeclaredInFourSpellingsEachWithoutLibraryBundles)
{
    const QSet<QString> admitted = admittedExtensions({"mP4", "eyetv", "iMovieProject", "", "3gp"});
    EXPECT_EQ(admitted, (QSet<QString>{"mP4", "mp4", "MP4", "Mp4", "3gp", "3GP"}));
    EXPECT_EQ(withAdmittedExtension({"/a.mp4", "/b.MP4", "/c.Mp4", "/d.mp4.txt", "/e.Mp4x", "/mp4",
                                     "/f.x.mp4", "/g.MP", "/h.m4"},
                                    admitted),
              (QStringList{"/a.mp4", "/b.MP4", "/c.Mp4", "/f.x.mp4"}));
    EXPECT_TRUE(withAdmittedExtension({"/a.mTs"}, admittedExtensions({"mts"})).isEmpty());
}

TEST_F(AdmissionTest, AFolderInTheFirstPlaceStandsForEverythingBelowItAndDisplacesTheRest)
{
    const QString inner = source("folder/sub/deep/b.mp4");
    const QString upper = source("folder/a.mp4");
    const QString loose = source("loose.mp4");
    QStringList expanded = expandedDrop({path("folder"), loose});
    EXPECT_TRUE(expanded.contains(inner) && expanded.contains(upper));
    EXPECT_FALSE(expanded.contains(loose));

    EXPECT_EQ(expandedDrop({loose, path("folder")}), (QStringList{loose, path("folder")}));

    ASSERT_TRUE(QFile::link(path("folder"), path("alias")));
    expanded = expandedDrop({path("alias")});
    EXPECT_EQ(withAdmittedExtension(expanded, {"mp4"}).size(), 2);
    QDir().mkpath(path("bare"));
    EXPECT_TRUE(expandedDrop({path("bare"), loose}).isEmpty());
    EXPECT_TRUE(expandedDrop({}).isEmpty());
}

TEST_F(AdmissionTest, AnAliasInTheFirstPlaceIsAdmittedAsWhatItLeadsTo)
{
    const QString target = source("real.mp4");
    ASSERT_TRUE(QFile::link(target, path("alias.txt")));
    m_controller->draggedFiles({path("alias.txt")});
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), QStringList{"1 real.mp4"});
}

TEST_F(AdmissionTest, OnlyWrongTypesAreAnsweredWithAnAlert)
{
    EXPECT_TRUE(admit({"a.txt", "b"}));
    EXPECT_EQ(m_presenter.countOf(titleOfRefusal()), 1);
    EXPECT_TRUE(m_log.contains("no compatible file (or no new files ;-))"));
    EXPECT_EQ(m_face.ends, QStringList{"analysis"});
    const WindowState &window = m_controller->window();
    EXPECT_EQ(window.dropImage, "dndApp");
    EXPECT_TRUE(window.dropCaptionShown && !window.actionCaptionShown && !window.analysisWheel);

    QDir().mkpath(path("bare"));
    m_controller->draggedFiles({path("bare")});
    EXPECT_TRUE(m_controller->isGateOpen());
    EXPECT_EQ(m_presenter.countOf(titleOfRefusal()), 1) << "an empty folder has no wrong types";
}

TEST_F(AdmissionTest, ASourceIsAdmittedOnceHoweverOftenItIsDropped)
{
    const QString film = source("film.mp4");
    m_controller->draggedFiles({film, source("other.mp4"), film});
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), (QStringList{"1 film.mp4", "2 other.mp4"}));

    m_controller->draggedFiles({film});
    EXPECT_TRUE(m_controller->isGateOpen());
    EXPECT_TRUE(
        m_log.contains("doublon             : pas de sur-analyse pour rien ;-) #1/1 : " + film));
    EXPECT_EQ(m_presenter.countOf(titleOfRefusal()), 0);
    EXPECT_EQ(rows().size(), 2);
}

TEST_F(AdmissionTest, AClosedGateIgnoresDropsAndTheOpenMenu)
{
    m_controller->draggedFiles(sources({"first.mp4"}));
    EXPECT_FALSE(m_controller->isGateOpen());
    EXPECT_EQ(m_controller->window().dropImage, "dndAppOff");
    m_controller->draggedFiles(sources({"second.mp4"}));
    m_face.chosenSources = sources({"third.mp4"});
    m_controller->iba_menuOpen();
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), QStringList{"1 first.mp4"});
    m_controller->iba_menuOpen();
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), (QStringList{"1 first.mp4", "2 third.mp4"}));
}

TEST_F(AdmissionTest, NothingDroppedIsNothingDone)
{
    m_controller->draggedFiles({});
    EXPECT_TRUE(m_controller->isGateOpen());
    EXPECT_TRUE(m_log.contains("drag'n'drop         -> draggedFiles : 0"));
    EXPECT_TRUE(m_face.ends.isEmpty());
}

TEST_F(AdmissionTest, OpenedFilesComeInFromTheEventLoop)
{
    m_controller->applicationOpenFiles(sources({"film.mp4"}));
    EXPECT_TRUE(m_controller->isGateOpen());
    ASSERT_TRUE(waitUntil([this] { return rows().size() == 1; }));
    ASSERT_TRUE(waitForGate());
}

TEST_F(AdmissionTest, SaysWhatKeepsAPathFromBeingASource)
{
    QDir().mkpath(path("folder.mp4"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("fifo.mp4")).constData(), 0600), 0);
    write(path("empty.mp4"), "");
    QFile::link(path("gone"), path("dangling.mp4"));
    QFile::link(path("loop.mp4"), path("loop.mp4"));
    EXPECT_TRUE(sourceProblem(source("good.mp4")).isNull());
    const struct {
        const char *name;
        const char *words;
    } rows[] = {{"folder.mp4", "folder"},      {"fifo.mp4", "no regular file"},
                {"empty.mp4", "empty"},        {"dangling.mp4", "no such file"},
                {"loop.mp4", "circles"},       {"missing.mp4", "no such file"},
                {"good.mp4/x", "no such file"}};
    for (const auto &row : rows) {
        EXPECT_TRUE(sourceProblem(path(row.name)).contains(row.words)) << row.name;
    }
    EXPECT_TRUE(sourceProblem(path(QString(300, 'x'))).contains("too long"));
}

TEST_F(AdmissionTest, TheRowsCaptionTellsNameSizeRateAndDuration)
{
    const QString progressive = localized("PFF", "fields");
    const struct {
        MediaInfoRecord record;
        const char *expected;
    } rows[] = {
        {{{"v0_width", 1920},
          {"v0_height", 1080},
          {"v0_fields", progressive},
          {"v0_fps", 25.0},
          {"w_duration", 0}},
         "(1920x)1080p25"},
        {{{"v0_width", 720},
          {"v0_height", 576},
          {"v0_fields", localized("TFF", "fields")},
          {"v0_fps", 29.97}},
         "(720x)576i30"},
        {{{"v0_width", 720}, {"v0_height", 480}, {"v0_fps", 23.49}}, "(720x)480i23"},
        {{{"v0_fps", 1e30}, {"v0_width", "wide"}}, "(0x)0i0"},
    };
    for (const auto &row : rows) {
        const QStringList lines = plainText(rowCaption(row.record, "/a/100% film.mp4")).split('\n');
        ASSERT_EQ(lines.size(), 3) << row.expected;
        EXPECT_EQ(lines[0], "100% film.mp4");
        EXPECT_EQ(lines[1], row.expected);
        EXPECT_EQ(lines[2], durationText(intIn(row.record, "w_duration").value_or(0)));
    }
    const StyledText styled = rowCaption({}, "/a/b.mp4");
    ASSERT_EQ(styled.size(), 2);
    EXPECT_EQ(styled[0].color, "black");
    EXPECT_EQ(styled[1].color, "silver");
}
