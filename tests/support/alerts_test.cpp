#include "support/alerts.h"

#include "support/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace qv;
using testing::HasSubstr;
using testing::Return;

namespace
{

QString q(const char *text)
{
    return QString::fromLatin1(text);
}

class MockPresenter : public AlertPresenter
{
public:
    MOCK_METHOD(int, runModal, (const Alert &), (override));
    MOCK_METHOD(void, beginSheet, (const Alert &), (override));
    MOCK_METHOD(void, endSheet, (), (override));
    MOCK_METHOD(void, beginSession, (const Alert &, const QList<int> &), (override));
    MOCK_METHOD(int, runSession, (), (override));
    MOCK_METHOD(void, endSession, (), (override));
    MOCK_METHOD(bool, suppressionTicked, (), (const, override));
};

class Alerts : public testing::Test
{
protected:
    void SetUp() override
    {
        setLogSink([this](const QByteArray &line) { log += line.toStdString(); });
        utilsAlert::setSleeper([this](int milliseconds) { slept += milliseconds; });
        setAlertPresenter(&presenter);
    }
    void TearDown() override
    {
        setAlertPresenter(nullptr);
        utilsAlert::setSleeper({});
        setLogSink([](const QByteArray &) {});
    }
    utilsAlert::Answer ask(const char *other, double timeout = 1,
                           const QString &suppression = QString())
    {
        return utilsAlert::timedQuestion(q("50%"), q("100%?"), 2, q("Yes"), q("No"),
                                         other ? q(other) : QString(), timeout, suppression);
    }

    testing::NiceMock<MockPresenter> presenter;
    std::string log;
    int slept = 0;
};

TEST_F(Alerts, AReportIsCriticalOnlyInStyleTwo)
{
    Alert shown;
    EXPECT_CALL(presenter, runModal).Times(2).WillRepeatedly([&](const Alert &alert) {
        return shown = alert, 1;
    });
    EXPECT_EQ(alertReport(q("T"), q("d"), 2, AlertPlace::ApplicationModal), 1);
    EXPECT_EQ(shown.style, AlertStyle::Critical);
    alertReport(q("T"), q("d"), 0, AlertPlace::ApplicationModal);
    EXPECT_EQ(shown.style, AlertStyle::Warning);
}

TEST_F(Alerts, APercentSignIsShownAsItIs)
{
    Alert shown;
    EXPECT_CALL(presenter, beginSheet).WillOnce([&](const Alert &alert) { shown = alert; });
    EXPECT_EQ(alertReport(q("50%"), q("%d %% %n"), 2, AlertPlace::SheetOnWindow), 0);
    EXPECT_EQ(shown.title, q("50%%"));
    EXPECT_EQ(shown.detail, q("%%d %%%% %%n"));
    EXPECT_EQ(Alert::shownText(shown.detail), q("%d %% %n"));
}

TEST_F(Alerts, WithNobodyToAskTheDefaultButtonAnswersAtOnceAndTheTextIsLogged)
{
    setAlertPresenter(nullptr);
    EXPECT_EQ(ask("Later").text, q("Yes"));
    EXPECT_EQ(slept, 0);
    EXPECT_THAT(log, HasSubstr("100%?"));
    EXPECT_EQ(alertReport(q("T"), q("d"), 2, AlertPlace::ApplicationModal), 0);
}

TEST_F(Alerts, AQuestionNobodyAnswersTakesTheDefaultAfterItsTime)
{
    EXPECT_CALL(presenter, runSession).Times(30).WillRepeatedly(Return(alertContinues));
    EXPECT_CALL(presenter, endSession);
    EXPECT_EQ(ask("Later", 3).text, q("Yes"));
    EXPECT_EQ(slept, 3000);
    EXPECT_THAT(log, HasSubstr("FERMETURE AUTO      : TIMEOUT"));
    EXPECT_THAT(log,
                HasSubstr("bt                  ? Yes (btDefault=Yes) (btAlt=No) (btOther=Later)"));
}

TEST_F(Alerts, ZeroSecondsMeansTen)
{
    EXPECT_CALL(presenter, runSession).WillRepeatedly(Return(alertContinues));
    ask(nullptr, 0);
    EXPECT_EQ(slept, 10000);
}

// With three buttons a click on the second answers with the third's text and the other way round.
TEST_F(Alerts, AClickAnswersByItsSessionCode)
{
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
        QList<int> codes;
        EXPECT_CALL(presenter, beginSession).WillOnce([&](const Alert &alert, const auto &given) {
            codes = given;
            EXPECT_EQ(alert.buttons.size(), given.size());
            EXPECT_EQ(alert.style, AlertStyle::Critical);
        });
        EXPECT_CALL(presenter, runSession)
            .WillOnce(Return(alertContinues))
            .WillOnce([&, at = click] { return codes[at]; });
        EXPECT_EQ(ask(other).text, q(expected));
    }
    EXPECT_EQ(slept, 500);
}

TEST_F(Alerts, AButtonWithoutTextAnswersByItsNumber)
{
    EXPECT_CALL(presenter, runSession).WillRepeatedly(Return(alertContinues));
    const auto answer = utilsAlert::timedQuestion({}, {}, 0, {}, q(""), {}, 0.1, {});
    EXPECT_EQ(answer.text, q("button 1"));
    EXPECT_EQ(answer.suppressed, 0);
}

TEST_F(Alerts, SuppressionCountsOnlyWhenItsBoxIsShown)
{
    Alert shown;
    EXPECT_CALL(presenter, runSession).WillRepeatedly(Return(alertStopped));
    EXPECT_CALL(presenter, suppressionTicked).WillRepeatedly(Return(true));
    EXPECT_CALL(presenter, beginSession).WillRepeatedly([&](const Alert &alert, const auto &) {
        shown = alert;
    });
    EXPECT_EQ(ask(nullptr, 1, q("for all")).suppressed, 1);
    EXPECT_EQ(shown.suppressionTitle, q("for all"));
    EXPECT_EQ(ask(nullptr, 1, q("")).suppressed, 1);
    EXPECT_TRUE(shown.hasSuppression);
    EXPECT_EQ(ask(nullptr, 1).suppressed, 0);
    EXPECT_FALSE(shown.hasSuppression);
}

TEST_F(Alerts, ATimedSheetGoesAwayAfterItsSeconds)
{
    EXPECT_CALL(presenter, beginSheet);
    EXPECT_CALL(presenter, endSheet);
    utilsAlert::timedSheet(q("T"), q("m"), q("OK"), {}, {}, 2);
    EXPECT_EQ(slept, 3000);
    EXPECT_THAT(log, HasSubstr("giveUpAfterSeconds : 2"));
    EXPECT_THAT(log, HasSubstr("i = 2"));
}

TEST_F(Alerts, TheEndOfASheetIsLoggedWithItsCode)
{
    EXPECT_CALL(presenter, endSheet).Times(2);
    utilsAlert::alertDidEnd(1000);
    EXPECT_THAT(log, HasSubstr("1m"));
    EXPECT_THAT(log, HasSubstr("returnCode:1000"));
    log.clear();
    utilsAlert::alertDidEnd(0);
    EXPECT_THAT(log, testing::Not(HasSubstr("returnCode")));
}

} // namespace
