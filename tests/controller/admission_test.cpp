#include "controller/admission.h"

#include "common/ordinary_user.h"
#include "controller/controller_fixture.h"
#include "controller/reasons.h"
#include "support/numbers.h"

using namespace qv;

namespace
{

class AdmissionTest : public ControllerTest
{
protected:
    int refusals() const
    {
        return m_presenter.countOf(localized("dndNonCompliantFolderFilesTitle"));
    }
};

} // namespace

TEST(AdmittedExtensions, AreDeclaredInFourSpellingsEachWithoutLibraryBundles)
{
    const QSet<QString> admitted = admittedExtensions({"mP4", "eyetv", "iMovieProject", "", "3gp"});
    EXPECT_EQ(admitted, (QSet<QString>{"mP4", "mp4", "MP4", "Mp4", "3gp", "3GP"}));
    EXPECT_EQ(
        withAdmittedExtension(
            {"/a.mp4", "/b.MP4", "/d.mp4.txt", "/e.Mp4x", "/mp4", "/f.x.mp4", "/g.MP"}, admitted),
        (QStringList{"/a.mp4", "/b.MP4", "/f.x.mp4"}));
}

TEST_F(AdmissionTest, AFolderInTheFirstPlaceStandsForEverythingBelowItAndDisplacesTheRest)
{
    const QString inner = source("folder/sub/deep/b.mp4");
    const QString upper = source("folder/a.mp4");
    const QString loose = source("loose.mp4");
    const QStringList expanded = expandedDrop({path("folder"), loose}, nullptr);
    EXPECT_TRUE(expanded.contains(inner) && expanded.contains(upper));
    EXPECT_FALSE(expanded.contains(loose));
    EXPECT_EQ(expandedDrop({loose, path("folder")}, nullptr), (QStringList{loose, path("folder")}));
    ASSERT_TRUE(QFile::link(path("folder"), path("alias")));
    EXPECT_EQ(withAdmittedExtension(expandedDrop({path("alias")}, nullptr), {"mp4"}).size(), 2);
    EXPECT_TRUE(expandedDrop({}, nullptr).isEmpty());
}

TEST_F(AdmissionTest, AFolderThatMayNotBeReadIsLeftOutByNameAndNotCounted)
{
    source("folder/notes.txt");
    source("folder/closed/a.mp4");
    const auto permit = [&](const QString &name, std::filesystem::perms permissions) {
        std::filesystem::permissions(path(name).toStdString(), permissions);
    };
    permit("folder/closed", std::filesystem::perms::none);
    QList<LeftOut> left;
    {
        const OrdinaryUser user;
        QStringList closed;
        const QStringList expanded = expandedDrop({path("folder")}, &closed);
        left = leftOutOf({path("folder")}, expanded, closed, {"mp4"});
    }
    permit("folder/closed", std::filesystem::perms::owner_all);
    ASSERT_EQ(left.size(), 2);
    EXPECT_EQ(left[0].path, path("folder/closed"));
    EXPECT_EQ(left[0].reason, reasons::folderClosed);
    EXPECT_EQ(left[1].path, path("folder"));
    EXPECT_EQ(left[1].reason, reasons::folderWithoutVideo);
}

TEST_F(AdmissionTest, CompanionFilesOfOtherSystemsAreNotListedAndNamedTheyAreRefused)
{
    const QString film = source("folder/a.mp4");
    const QString companion = source("folder/._a.mp4");
    const QString lonely = path("folder/._b.mp4");
    writeFile(lonely, QByteArray::fromHex("0005160700020000"));
    const QString hidden = source("folder/._c.mp4"); // only named like one
    EXPECT_EQ(listedBelow(path("folder"), nullptr), (QStringList{hidden, film}));
    EXPECT_TRUE(sourceProblem(companion).contains("AppleDouble"));
    EXPECT_TRUE(sourceProblem(lonely).contains("AppleDouble"));
    EXPECT_TRUE(sourceProblem(hidden).isNull());
}

TEST_F(AdmissionTest, AnAliasInTheFirstPlaceIsAdmittedAsWhatItLeadsTo)
{
    ASSERT_TRUE(QFile::link(source("real.mp4"), path("alias.txt")));
    m_controller->draggedFiles({path("alias.txt")});
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(rows(), QStringList{"1 real.mp4"});
}

TEST_F(AdmissionTest, OnlyWrongTypesAreAnsweredWithAnAlert)
{
    source("folder/a.txt");
    m_controller->draggedFiles({path("folder")});
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(refusals(), 1);
    writeFile(path("empty.txt"), "");
    m_controller->draggedFiles({path("empty.txt")});
    EXPECT_EQ(refusals(), 2);
    EXPECT_EQ(m_face.ends, (QStringList{"analysis", "analysis"}));
    EXPECT_EQ(m_controller->window().dropImage, "dndApp");
    QDir().mkpath(path("bare"));
    m_controller->draggedFiles({path("bare"), source("loose.mp4")});
    EXPECT_TRUE(m_controller->isGateOpen());
    EXPECT_EQ(refusals(), 2) << "an empty folder has no wrong types";
}

TEST_F(AdmissionTest, FilesNamedOneByOneAreTakenWhateverTheirExtension)
{
    EXPECT_TRUE(admit({"a.txt", "b"}));
    EXPECT_EQ(rows(), (QStringList{"1 a.txt", "2 b"}));
}

TEST_F(AdmissionTest, ASourceIsAdmittedOnceHoweverOftenItIsDropped)
{
    const QString film = source("film.mp4");
    m_controller->draggedFiles({film, source("other.mp4"), film});
    ASSERT_TRUE(waitForGate());
    m_controller->draggedFiles({film});
    EXPECT_TRUE(m_controller->isGateOpen());
    EXPECT_EQ(refusals(), 0);
    EXPECT_EQ(rows(), (QStringList{"1 film.mp4", "2 other.mp4"}));
}

TEST_F(AdmissionTest, AClosedGateIgnoresDropsAndTheOpenMenu)
{
    m_controller->applicationOpenFiles(sources({"first.mp4"}));
    EXPECT_TRUE(m_controller->isGateOpen()) << "opened files come in from the event loop";
    ASSERT_TRUE(waitUntil([this] { return !m_controller->isGateOpen(); }));
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

TEST_F(AdmissionTest, TheRowsCaptionTellsNameSizeRateAndDuration)
{
    const struct {
        MediaInfoRecord record;
        const char *expected;
    } rows[] = {
        {{{"v0_width", 1920},
          {"v0_height", 1080},
          {"v0_fields", localized("PFF", "fields")},
          {"v0_fps", 29.97}},
         "(1920x)1080p30"},
        {{{"v0_width", 720}, {"v0_height", 480}, {"v0_fps", 23.49}}, "(720x)480i23"},
        {{{"v0_fps", 1e30}, {"v0_width", "wide"}}, "(0x)0i0"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(plainText(rowCaption(row.record, "/a/100% film.mp4")),
                  QString("100% film.mp4\n%1\n").arg(row.expected) + durationText(0));
    }
}
