#include "common/log_capture.h"
#include "common/scripted_presenter.h"

#include <gtest/gtest.h>

using namespace qv;

namespace
{

class SilentPresenter : public ScriptedPresenter
{
public:
    int runSession() override { return alertContinues; }
};

class Alerts : public testing::Test
{
protected:
    Alerts()
    {
        utilsAlert::setSleeper([this](int milliseconds) { slept += milliseconds; });
    }
    ~Alerts() override { utilsAlert::setSleeper({}); }
    static utilsAlert::Answer ask(const QString &other, double timeout = 1,
                                  const QString &suppression = QString())
    {
        return utilsAlert::timedQuestion("50%", "100%?", 2, "Yes", "No", other, timeout,
                                         suppression);
    }

    LogCapture log;
    int slept = 0;
};

TEST_F(Alerts, APercentSignIsShownAsItIs)
{
    ScriptedPresenter presenter;
    EXPECT_EQ(alertReport("50%", "%d %% %n", 2, AlertPlace::SheetOnWindow), 0);
    const Alert shown = presenter.shown.value(0);
    EXPECT_EQ(shown.title, "50%%");
    EXPECT_EQ(shown.detail, "%%d %%%% %%n");
    EXPECT_EQ(shown.style, AlertStyle::Critical);
    EXPECT_EQ(Alert::shownText(shown.detail), "%d %% %n");
}

TEST_F(Alerts, WithNobodyToAskTheDefaultButtonAnswersAtOnceAndTheTextIsLogged)
{
    EXPECT_EQ(ask("Later").text, "Yes");
    EXPECT_EQ(slept, 0);
    EXPECT_TRUE(log.contains("100%?"));
}

TEST_F(Alerts, AQuestionNobodyAnswersTakesTheDefaultAfterItsTimeOrTenSeconds)
{
    SilentPresenter presenter;
    EXPECT_EQ(ask("Later", 3).text, "Yes");
    EXPECT_EQ(slept, 3000);
    EXPECT_TRUE(log.contains("FERMETURE AUTO      : TIMEOUT"));
    ask("Later", 0);
    EXPECT_EQ(slept, 13000);
}

// With three buttons a click on the second answers with the third's text and the other way round.
TEST_F(Alerts, AClickAnswersByItsSessionCode)
{
    ScriptedPresenter presenter;
    struct {
        const char *other;
        int click;
        const char *expected;
    } const cases[] = {{nullptr, 0, "Yes"},
                       {nullptr, 1, "No"},
                       {"Later", 0, "Yes"},
                       {"Later", 1, "Later"},
                       {"Later", 2, "No"}};
    for (const auto &[other, click, expected] : cases) {
        presenter.answers = {{click}};
        EXPECT_EQ(ask(other).text, expected);
    }
}

TEST_F(Alerts, SuppressionCountsOnlyWhenItsBoxIsShown)
{
    ScriptedPresenter presenter;
    presenter.answers = {{0, true}, {0, true}, {0, true}};
    EXPECT_EQ(ask({}, 1, "for all").suppressed, 1);
    EXPECT_EQ(ask({}, 1, "").suppressed, 1);
    EXPECT_EQ(ask({}, 1).suppressed, 0);
}

TEST_F(Alerts, ATimedSheetStaysForItsSecondsAndAnEndIsLogged)
{
    ScriptedPresenter presenter;
    utilsAlert::timedSheet("Done", "100%", "OK", QString(), QString(), 2);
    EXPECT_EQ(presenter.shown.value(0).detail, "100%%");
    EXPECT_GE(slept, 3000);
    utilsAlert::alertDidEnd(1000);
    for (const char *line : {"giveUpAfterSeconds : 2", "i = 2", "1m", "returnCode:1000"}) {
        EXPECT_TRUE(log.contains(line)) << line;
    }
}

} // namespace
