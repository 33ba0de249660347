#include "controller/analysis_driver.h"

#include "controller/controller_fixture.h"
#include "controller/preview.h"
#include "controller/store_keys.h"

#include <sys/stat.h>

using namespace qv;

namespace
{

class AnalysisTest : public ControllerTest
{
protected:
    void expectIdle() const
    {
        QStringList keys = AnalysisDriver::analysisArray();
        keys << keys::analysisQueue << keys::analysisQueueHead << keys::analysisSource
             << keys::analysisRecord << keys::previewPath;
        for (const QString &key : keys) {
            EXPECT_FALSE(m_preferences.prefRead(key).isValid()) << key.toStdString();
        }
        const WindowState &window = m_controller->window();
        EXPECT_TRUE(m_controller->isGateOpen());
        EXPECT_EQ(window.dropImage, "dndApp");
        EXPECT_EQ(window.analysisCaption, "");
        EXPECT_FALSE(window.analysisWheel || window.analysisStopShown || window.actionCaptionShown);
    }
};

} // namespace

TEST_F(AnalysisTest, MakesARowOfEachSourceInTheOrderOfTheDrop)
{
    m_face.layout = 2;
    m_face.dpi = 1;
    QStringList captions;
    m_face.onWindow = [&] {
        const QString caption = m_controller ? m_controller->window().analysisCaption : QString();
        if (!caption.isEmpty() && !captions.contains(caption)) {
            captions << caption;
        }
    };
    ASSERT_TRUE(admit({"b.mp4", "a.mp4"}));
    EXPECT_EQ(runs(), (QStringList{"analysis -1 b.mp4", "preview -1 b.mp4", "analysis -1 a.mp4",
                                   "preview -1 a.mp4"}));
    EXPECT_EQ(rows(), (QStringList{"1 b.mp4", "2 a.mp4"}));
    EXPECT_EQ(captions, (QStringList{"1/2", "2/2"}));
    const BatchItem &row = m_controller->table().row(0);
    EXPECT_EQ(row.out, 2);
    EXPECT_EQ(row.dpi, 1);
    EXPECT_FALSE(row.img().isNull());
    EXPECT_FALSE(row.dico.contains("intraFailure"));
    EXPECT_TRUE(m_controller->window().drawerOpen && m_controller->window().goEnabled);
    EXPECT_EQ(m_face.ends, QStringList{"analysis"});
    expectIdle();
}

TEST_F(AnalysisTest, EachRefusedSourceSaysWhyAndTheOthersGoOn)
{
    QDir().mkpath(path("folder.mp4"));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("fifo.mp4")).constData(), 0600), 0);
    writeFile(path("empty.mp4"), "");
    QFile::link(path("gone"), path("dangling.mp4"));
    QFile::link(path("loop.mp4"), path("loop.mp4"));
    QStringList drop;
    const struct {
        const char *name;
        const char *words;
    } refused[] = {
        {"analysis-refuse.mp4", "invalid data"}, {"preview-missing.mp4", "no picture"},
        {"analysis-missing.mp4", "no picture"},  {"folder.mp4", "folder"},
        {"fifo.mp4", "no regular file"},         {"empty.mp4", "empty"},
        {"dangling.mp4", "no such file"},        {"loop.mp4", "circles"},
    };
    for (const auto &row : refused) {
        const QFileInfo info(path(row.name));
        drop << (info.exists() || info.isSymLink() ? info.filePath() : source(row.name));
    }
    drop << source("good.mp4");
    m_controller->draggedFiles(drop);
    ASSERT_TRUE(waitForGate());
    for (const auto &row : refused) {
        const QString reason = m_face.skipped.value(row.name);
        EXPECT_FALSE(reason.isEmpty()) << row.name;
        EXPECT_TRUE(reason.contains(row.words)) << row.name << ": " << reason.toStdString();
    }
    EXPECT_EQ(m_face.skipped.size(), std::size(refused)) << "each once";
    EXPECT_EQ(rows(), QStringList{"1 good.mp4"});
    expectIdle();
}

TEST_F(AnalysisTest, ASourceWithoutIntraPreviewGetsOneOfAnyFrameAndIsMarked)
{
    ASSERT_TRUE(admit({"preview-intra.mp4"}));
    ASSERT_EQ(rows().size(), 1);
    const BatchItem &row = m_controller->table().row(0);
    EXPECT_EQ(row.dico.value("intraFailure").toInt(), 1);
    EXPECT_FALSE(row.img().isNull());
    EXPECT_EQ(runs().count("preview -1 preview-intra.mp4"), 2);
}

TEST_F(AnalysisTest, AFrameLeftFromAnEarlierSourceIsNotTakenForThisOnes)
{
    writeFile(path("scratch/tools/frame.yuv"), "YUV4MPEG2 W720 H576 F25:1 It A1:1\nFRAME\n");
    ASSERT_TRUE(admit({"analysis-missing.mp4"}));
    EXPECT_EQ(rows(), QStringList());
}

TEST_F(AnalysisTest, StopEndsTheWholeRunInWhateverStepItComes)
{
    // The run that is waited for before the stop; none: at once.
    for (const QString run : {"", "analysis -1 analysis-hang.mp4", "preview -1 preview-hang.mp4"}) {
        SCOPED_TRACE(run.toStdString());
        m_face.ends.clear();
        m_controller->draggedFiles(
            sources({run.isEmpty() ? "early.mp4" : run.section(' ', -1), "queued.mp4"}));
        if (!run.isEmpty()) {
            ASSERT_TRUE(waitForRun(run));
        }
        m_controller->iba_analysisStopBt();
        m_controller->iba_analysisStopBt();
        ASSERT_TRUE(waitForGate());
        EXPECT_EQ(rows(), QStringList());
        EXPECT_EQ(m_face.ends, QStringList{"analysis"});
        EXPECT_EQ(runs().filter("queued").size(), 0);
        EXPECT_TRUE(hasNoChildren());
        expectIdle();
    }
    EXPECT_TRUE(m_face.skipped.isEmpty());
    m_controller->iba_analysisStopBt();
    ASSERT_TRUE(admit({"queued.mp4"}));
    EXPECT_EQ(rows(), QStringList{"1 queued.mp4"}) << "the next drop is not touched by the stops";
}

TEST_F(AnalysisTest, TenThousandMissingSourcesGiveTenThousandReasons)
{
    QStringList drop;
    for (int i = 0; i < 10000; ++i) {
        drop << path(QString("gone %1.mp4").arg(i));
    }
    m_controller->draggedFiles(drop);
    ASSERT_TRUE(waitForGate(30000));
    EXPECT_EQ(m_face.skipped.size(), 10000);
    EXPECT_EQ(m_face.skipped.value("gone 9999.mp4"), "no such file");
    expectIdle();
}

TEST_F(AnalysisTest, PreviewsAreNamedAfterTheirSourcesWithoutPatternsAndNeverShared)
{
    ASSERT_TRUE(admit({"one/100%d.mp4", "two/100%d.mp4"}));
    const QString first = m_controller->table().row(0).dico.value("imgPathStr").toString();
    const QString second = m_controller->table().row(1).dico.value("imgPathStr").toString();
    EXPECT_EQ(first, path("scratch/tools/100_d.jpg"));
    EXPECT_NE(first, second);
    EXPECT_TRUE(second.startsWith(path("scratch/tools/100_d_")));
    const QString longest = QString::fromUtf8("é").repeated(127);
    EXPECT_LE(lastPathComponent(previewPath("/a/" + longest + ".mp4")).toUtf8().size(), 255);
}

TEST_F(AnalysisTest, ThePreviewIsTakenFromInsideTheFilmAtItsAspect)
{
    const struct {
        MediaInfoRecord record;
        const char *offset;
        int height;
    } rows[] = {
        {{{"w_duration", 5}, {"v0_dar", "16:9"}}, "0", 90},
        {{{"w_duration", 11}, {"v0_width", 720}, {"v0_height", 576}}, "10", 120}, // 1.25 is 1.33
        {{{"w_duration", 61}, {"v0_width", 1000}, {"v0_height", 1000}}, "60", 160},
        {{{"w_duration", 7200}}, "120", 90},
        {{{"v0_dar", "0:1"}, {"v0_width", 0}}, "0", 160},
        {{{"v0_dar", "1000000:1"}}, "0", 1},
    };
    for (const auto &row : rows) {
        const QStringList any = previewArguments(row.record, "/s", "/p", PreviewFrame::Any);
        const QStringList intra = previewArguments(row.record, "/s", "/p", PreviewFrame::Intra);
        const QString scale = QString("scale=160:%1").arg(row.height);
        EXPECT_EQ(any.value(any.indexOf("-ss") + 1), row.offset) << row.height;
        EXPECT_EQ(any.value(any.indexOf("-vf") + 1), scale);
        EXPECT_EQ(intra.value(intra.indexOf("-vf") + 1), "select=eq(pict_type\\,I)," + scale);
        EXPECT_EQ(any.last(), "/p");
    }
}

TEST_F(AnalysisTest, ADurationThatThePacketsContradictIsMeasured)
{
    const QStringList drop{path("ends-30.mp4"), path("ends-60.mp4"),
                           path("ends-30.measure-cut.mp4")};
    for (const QString &film : drop) {
        writeFile(film, QByteArray(100000, 'x')); // enough for a minute
    }
    m_controller->draggedFiles(drop);
    ASSERT_TRUE(waitForGate());
    EXPECT_EQ(runs().mid(0, 5), (QStringList{"analysis -1 ends-30.mp4", "measure -1 ends-30.mp4",
                                             "measure -1 ends-30.mp4", "preview -1 ends-30.mp4",
                                             "analysis -1 ends-60.mp4"}));
    EXPECT_EQ(m_controller->table().row(0).dico.value("w_duration"), 30);
    EXPECT_EQ(m_controller->table().row(1).dico.value("w_duration"), 60);
    EXPECT_EQ(runs().count("measure -1 ends-60.mp4"), 1);
    EXPECT_EQ(m_controller->table().row(2).dico.value("w_duration"), 60) << "the run crashed";
    expectIdle();
}
