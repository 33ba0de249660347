#include "common/log_capture.h"
#include "common/scripted_presenter.h"

#include <gtest/gtest.h>

using namespace qv;

namespace
{

utilsAlert::Answer ask(const QString &other, const QString &suppression = {})
{
    return utilsAlert::timedQuestion("50%", "100%?", 2, "Yes", "No", other, 1, suppression,
                                     AlertButton::Alternate);
}

TEST(Alerts, APercentSignIsShownAsItIs)
{
    ScriptedPresenter presenter;
    EXPECT_EQ(alertReport("50%", "%d %% %n", 2, AlertPlace::SheetOnWindow), 0);
    const Alert shown = presenter.shown.first();
    EXPECT_EQ(shown.title, "50%%");
    EXPECT_EQ(shown.detail, "%%d %%%% %%n");
    EXPECT_EQ(shown.style, AlertStyle::Critical);
    EXPECT_EQ(Alert::shownText(shown.detail), "%d %% %n");
}

TEST(Alerts, WithNobodyToAskTheDefaultButtonAnswersAtOnceAndTheTextIsLogged)
{
    const LogCapture log;
    utilsAlert::setSleeper([](int) { ADD_FAILURE() << "it waits"; });
    EXPECT_EQ(ask("Later").text, "Yes");
    EXPECT_FALSE(alertConfirms("Quit?", "", "Quit", "Cancel")) << "nobody has confirmed it";
    utilsAlert::setSleeper({});
    EXPECT_TRUE(log.contains("100%?"));
}

// With three buttons a click on the second answers with the third's text and the other way round.
TEST(Alerts, AClickAnswersByItsSessionCode)
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

TEST(Alerts, SuppressionCountsOnlyWhenItsBoxIsShown)
{
    ScriptedPresenter presenter;
    presenter.answers = {{0, true}, {0, true}, {0, true}};
    EXPECT_EQ(ask({}, "for all").suppressed, 1);
    EXPECT_EQ(ask({}, "").suppressed, 1);
    EXPECT_EQ(ask({}).suppressed, 0);
}

} // namespace
