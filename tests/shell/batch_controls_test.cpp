#include "shell/batch_controls.h"

#include "common/test_bundle.h"
#include "common/test_files.h"
#include "shell/focus_ring.h"
#include "shell/readable.h"
#include "shell/segmented_control.h"
#include "shell/time_left.h"
#include "shell/window_memory.h"
#include "support/localized_strings.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace qv;

namespace
{

QAbstractButton *segment(SegmentedControl *control, int index)
{
    return control->findChildren<QAbstractButton *>().at(index);
}

} // namespace

class BatchControlsTest : public testing::Test
{
protected:
    BatchControlsTest() : m_bundle(TestBundle::Ffmpeg::None)
    {
        m_controls = std::make_unique<BatchControls>();
        m_controls->resize(500, 300);
        m_controls->QWidget::show();
    }
    template <typename Widget> Widget *find(const char *name)
    {
        return m_controls->findChild<Widget *>(name);
    }

    TestBundle m_bundle;
    std::unique_ptr<BatchControls> m_controls;
};

TEST_F(BatchControlsTest, KeepsACountForEachLayout)
{
    for (const auto &[out, count] : {std::pair{0, 8}, {1, 16}, {2, 48}, {3, 32}}) {
        m_controls->setThumbnailCount(out, count);
    }
    auto *counts = find<QComboBox>("countSelector");
    EXPECT_EQ(counts->currentText(), "16") << "the medium layout's";
    QTest::mouseClick(segment(find<SegmentedControl>("layoutSelector"), 2), Qt::LeftButton);
    EXPECT_EQ(m_controls->layoutIndex(), 2);
    EXPECT_EQ(counts->currentText(), "48");
    counts->setCurrentText("12");
    Q_EMIT counts->activated(counts->currentIndex());
    EXPECT_EQ(m_controls->thumbnailCount(2), 12);
    EXPECT_EQ(m_controls->thumbnailCount(1), 16);
    m_controls->setThumbnailCount(2, 13);
    EXPECT_EQ(counts->currentText(), "13") << "a number that is not offered is shown all the same";
}

TEST_F(BatchControlsTest, ShowsABatchAndItsPause)
{
    auto *go = find<QPushButton>("goBt");
    auto *stop = find<SegmentedControl>("taskStopBt");
    WindowState state;
    state.goEnabled = true;
    m_controls->show(state);
    EXPECT_TRUE(go->isEnabled());
    EXPECT_FALSE(stop->isVisible());

    m_controls->activateWindow();
    go->setFocus();
    state.goPressed = true;
    state.stepCaption = "Picture 3/15";
    state.stepValue = 3;
    state.stepMaximum = 15;
    state.encoding.actionCaption = QString("<b>clip</b>").repeated(60);
    m_controls->show(state);
    EXPECT_FALSE(go->isEnabled());
    EXPECT_EQ(m_controls->focusWidget(), segment(stop, 0)) << "and no other part of the window";
    EXPECT_EQ(find<QLabel>("stepCaption")->text(), "Picture 3/15");
    EXPECT_EQ(find<QProgressBar>("stepBar")->value(), 200);
    EXPECT_FALSE(find<QProgressBar>("taskProgress")->isVisible());
    EXPECT_TRUE(find<QLabel>("taskProgressActionStr")->text().contains(QChar(0x2026)));
    EXPECT_TRUE(find<QLabel>("taskProgressActionStr")->toolTip().contains("&lt;b&gt;clip"));
    EXPECT_LE(m_controls->minimumSizeHint().width(), 600)
        << "a long name must not widen the window";

    QSignalSpy clicked(m_controls.get(), &BatchControls::taskStopClicked);
    QTest::mouseClick(segment(stop, 0), Qt::LeftButton);
    QTest::keyClick(segment(stop, 1), Qt::Key_Space);
    EXPECT_EQ(clicked.size(), 2);
    EXPECT_EQ(stop->name(0), "Pause");
    state.stop.images[0] = "btResume";
    m_controls->show(state);
    EXPECT_EQ(stop->name(0), "Resume");
    EXPECT_EQ(find<QLabel>("taskProgressActionStr")->text(), "Paused");
    state.stop.waitsForAnalysis = true;
    m_controls->show(state);
    EXPECT_EQ(find<QLabel>("taskProgressActionStr")->text(), localized("pausedForVideos"));
    state.goPressed = false;
    m_controls->show(state);
    EXPECT_EQ(m_controls->focusWidget(), go);
}

TEST_F(BatchControlsTest, IsWalkedByTabFromTopToBottom)
{
    WindowState state;
    state.goEnabled = true;
    m_controls->show(state);
    m_controls->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_controls.get()));
    find<QLineEdit>("destinationField")->setFocus();
    const FocusRing ring;
    QPoint last;
    for (int steps = 0; m_controls->focusWidget() != find<QPushButton>("goBt"); ++steps) {
        ASSERT_LT(steps, 12);
        QTest::keyClick(m_controls->focusWidget(), Qt::Key_Tab);
        const QPoint place = m_controls->focusWidget()->mapTo(m_controls.get(), QPoint(0, 8));
        EXPECT_TRUE(place.y() > last.y() + 12 || place.x() > last.x())
            << m_controls->focusWidget()->metaObject()->className();
        last = place;
        EXPECT_EQ(ring.framed(), m_controls->focusWidget()) << "the focus is seen";
        const auto *button = qobject_cast<QAbstractButton *>(m_controls->focusWidget());
        const bool isSegment =
            button != nullptr && qobject_cast<SegmentedControl *>(button->parent()) != nullptr;
        EXPECT_TRUE(!isSegment || button->isChecked()) << "a choice is entered where it stands";
    }
    QTest::mouseClick(find<QPushButton>("selectFolderBt"), Qt::LeftButton);
    EXPECT_EQ(ring.framed(), nullptr);
}

TEST_F(BatchControlsTest, SaysWhatIsWrongWithTheDestination)
{
    const QTemporaryDir folder;
    auto *warning = find<QLabel>("destinationWarning");
    for (const bool isThere : {false, true}) {
        m_controls->setDestination(folder.filePath(isThere ? "" : "disk"));
        EXPECT_EQ(warning->isVisible(), !isThere);
        EXPECT_EQ(warning->text(), isThere ? QString() : localized("destinationMissing"));
    }
}

TEST_F(BatchControlsTest, ElidesALongDestinationButKeepsIt)
{
    const QString path = "/" + QString("a <b>long</b> name/").repeated(40);
    m_controls->setDestination(path);
    EXPECT_EQ(m_controls->destination(), path);
    EXPECT_LT(find<QLineEdit>("destinationField")->text().size(), 200);
    EXPECT_EQ(find<QLineEdit>("destinationField")->toolTip(), plainToolTip(path));
}

TEST(TimeLeftTest, FollowsTheSpeedAndLeavesPausesOut)
{
    qint64 now = 0;
    TimeLeft left([&] { return now; });
    EXPECT_FALSE(left.seconds(0.5)) << "nothing runs";
    left.start();
    now = 1000;
    EXPECT_FALSE(left.seconds(0.5)) << "too early to tell";
    now = 10'000;
    EXPECT_DOUBLE_EQ(left.seconds(0.25).value_or(0), 30);
    left.setPaused(true);
    now = 500'000;
    EXPECT_DOUBLE_EQ(left.seconds(0.25).value_or(0), 30);
    left.setPaused(false);
    now = 510'000;
    EXPECT_DOUBLE_EQ(left.seconds(0.5).value_or(0), 20);
    EXPECT_FALSE(left.seconds(0));
    left.stop();
    EXPECT_FALSE(left.seconds(0.5));
}

TEST(TimeLeftTest, SpeaksInRoundNumbers)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    EXPECT_EQ(timeLeftText(12), "less than a minute left");
    EXPECT_EQ(timeLeftText(150), "about 3 min left");
    EXPECT_EQ(timeLeftText(3900), "about 1 h 5 min left");
}

TEST(WindowMemoryTest, TakesNothingOddFromADamagedFile)
{
    const QTemporaryDir folder;
    const QString damaged = folder.filePath("damaged.ini");
    writeFile(damaged,
              "layout=99\ndrawerWidth=-5\nappearance=\\x00zebra\ngeometry=@ByteArray(nonsense");
    WindowMemory memory(damaged);
    EXPECT_EQ(memory.layout(), 1);
    EXPECT_EQ(memory.drawerWidth(), 0);
    EXPECT_EQ(memory.appearance(), "system");
    memory.setAppearance("dark");
    EXPECT_EQ(memory.appearance(), "dark");
}
