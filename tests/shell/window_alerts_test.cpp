#include "common/log_capture.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "shell/window_alerts.h"
#include "support/localized_strings.h"

#include <QApplication>
#include <QCheckBox>
#include <QMainWindow>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

using namespace qv;

namespace
{

class WindowAlertsTest : public testing::Test
{
protected:
    WindowAlertsTest()
    {
        m_window->show();
        m_alerts->setMainWindow(m_window.get());
    }
    ~WindowAlertsTest() override { utilsAlert::setSleeper(nullptr); }

    // The one that can be answered now.
    static AlertDialog *front()
    {
        return qobject_cast<AlertDialog *>(QApplication::activeModalWidget());
    }
    static QList<AlertDialog *> seen()
    {
        QList<AlertDialog *> dialogs;
        for (QWidget *widget : QApplication::topLevelWidgets()) {
            auto *dialog = qobject_cast<AlertDialog *>(widget);
            if (dialog != nullptr && dialog->isVisible()) {
                dialogs << dialog;
            }
        }
        return dialogs;
    }
    static QString titleSeen() { return seen().isEmpty() ? "" : seen().first()->accessibleName(); }
    static bool waitForTitle(const QString &title)
    {
        return waitUntil([&] { return titleSeen() == title; });
    }
    // Does it once the next alert can be answered.
    static void whenAsked(const std::function<void(AlertDialog *)> &act)
    {
        const AlertDialog *before = front();
        QTimer::singleShot(0, qApp, [act, before] {
            ASSERT_TRUE(waitUntil([&] { return front() != nullptr && front() != before; }));
            act(front());
        });
    }
    static Alert alert(const QString &title, const QStringList &buttons = {},
                       AlertButton harmless = AlertButton::Alternate)
    {
        return {title, "detail", AlertStyle::Warning, {buttons, harmless}};
    }
    static void report(const QString &title)
    {
        alertReport(title, "detail", 0, AlertPlace::SheetOnWindow);
    }
    static QString ask(double seconds, const QString &suppression = QString())
    {
        const auto answer =
            utilsAlert::timedQuestion("Replace?", "a & b.jpg", 0, "Keep", "Replace", QString(),
                                      seconds, suppression, AlertButton::Default);
        return answer.text + (answer.suppressed == 1 ? " always" : "");
    }

    TestBundle m_bundle{TestBundle::Ffmpeg::None};
    LogCapture m_log;
    std::unique_ptr<QMainWindow> m_window = std::make_unique<QMainWindow>();
    std::unique_ptr<WindowAlerts> m_alerts = std::make_unique<WindowAlerts>();
};

} // namespace

TEST_F(WindowAlertsTest, KeysAnswerAModalAlert)
{
    const QStringList three{"First", "Second", "Third"};
    const struct {
        QStringList buttons;
        AlertButton harmless;
        QList<Qt::Key> keys;
        int answer;
    } rows[] = {
        {three, AlertButton::Default, {Qt::Key_Return}, 0},
        {three, AlertButton::Default, {Qt::Key_Escape}, 0},
        {three, AlertButton::Alternate, {Qt::Key_Escape}, 1},
        {three, AlertButton::Other, {Qt::Key_Escape}, 2},
        {{"Yes", "", "No"}, AlertButton::Other, {Qt::Key_Escape}, 1},
        {three, AlertButton::Default, {Qt::Key_Enter}, 0},
        {three, AlertButton::Default, {Qt::Key_Tab, Qt::Key_Tab, Qt::Key_Space}, 2},
        {{}, AlertButton::Default, {Qt::Key_Escape}, 0},
        {{}, AlertButton::Default, {Qt::Key_Return}, 0},
    };
    for (const auto &[buttons, harmless, keys, answer] : rows) {
        whenAsked([keys](AlertDialog *dialog) {
            for (const Qt::Key key : keys) {
                QTest::keyClick(dialog->focusWidget(), key);
            }
        });
        EXPECT_EQ(alertPresenter().runModal(alert("Question", buttons, harmless)), answer);
    }
}

TEST_F(WindowAlertsTest, TextsFromOutsideAreShownAsTheyAreInABoundedSize)
{
    const QString path = "/films/<b>bold</b> & 50%/" + QString(400, 'x') + "\nsecond line.mp4";
    for (const QString &detail : {path, QString("line\n").repeated(2000)}) {
        whenAsked([&](AlertDialog *dialog) {
            const auto texts = dialog->findChildren<WrappedText *>();
            ASSERT_EQ(texts.size(), 2);
            EXPECT_EQ(texts.at(1)->toPlainText(), detail);
            EXPECT_LE(dialog->width(), 560);
            EXPECT_LT(dialog->height(), 560);
            const bool whole = texts.at(1)->verticalScrollBarPolicy() == Qt::ScrollBarAlwaysOff;
            EXPECT_EQ(whole, detail == path);
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        alertReport("50% & <i>more</i>", detail, 2, AlertPlace::ApplicationModal);
    }
}

TEST_F(WindowAlertsTest, AnAlertBringsTheWindowBackUnlessItWasNeverSeen)
{
    const auto isSeenDuringAlert = [this] {
        bool seenThen = false;
        whenAsked([&](AlertDialog *dialog) {
            seenThen = m_window->isVisible() && !m_window->isMinimized();
            QTest::keyClick(dialog, Qt::Key_Escape);
        });
        alertPresenter().runModal(alert("Question"));
        return seenThen;
    };
    m_window->hide();
    EXPECT_TRUE(isSeenDuringAlert());
    m_window->showMinimized();
    EXPECT_TRUE(isSeenDuringAlert());
    m_window = std::make_unique<QMainWindow>();
    m_alerts->setMainWindow(m_window.get());
    EXPECT_FALSE(isSeenDuringAlert());
}

TEST_F(WindowAlertsTest, SheetsComeOneAfterTheOtherAndNoneDuringAQuestion)
{
    whenAsked([](AlertDialog *dialog) {
        for (const char *title : {"one", "two", "three"}) {
            report(title);
        }
        QCoreApplication::processEvents();
        EXPECT_EQ(seen(), QList<AlertDialog *>{dialog});
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    alertPresenter().runModal(alert("Question"));
    for (const char *title : {"one", "two", "three"}) {
        ASSERT_TRUE(waitForTitle(title));
        EXPECT_EQ(seen().size(), 1);
        QTest::mouseClick(seen().first()->button(0), Qt::LeftButton);
    }
    EXPECT_TRUE(waitUntil([] { return seen().isEmpty(); }));
}

TEST_F(WindowAlertsTest, ATimedSheetCountsFromWhenItIsSeenAndTakesNoOtherAlong)
{
    report("before");
    int rounds = 0;
    QStringList shown;
    utilsAlert::setSleeper([&](int) {
        if (++rounds == 10) {
            QTest::keyClick(seen().first(), Qt::Key_Return);
            ASSERT_TRUE(waitForTitle("timed"));
            report("behind");
        }
        shown << seen().first()->button(0)->text();
    });
    utilsAlert::timedSheet("timed", "detail", "Close", {}, {}, 2);
    EXPECT_EQ(rounds, 13);
    EXPECT_EQ(shown.mid(10), (QStringList{"Close (3)", "Close (2)", "Close (1)"}));
    EXPECT_TRUE(waitForTitle("behind"));
    EXPECT_EQ(seen().size(), 1);
    utilsAlert::setSleeper([&](int) {
        ASSERT_TRUE(waitUntil([] { return front() != nullptr; }));
        QTest::keyClick(front(), Qt::Key_Return);
    });
    utilsAlert::timedSheet("closed by hand", "detail", "Close", {}, {}, 1000);
}

TEST_F(WindowAlertsTest, ATimedQuestionCountsDownOnItsDefaultButtonOrIsAnsweredByHand)
{
    QStringList shown;
    utilsAlert::setSleeper([&](int milliseconds) {
        EXPECT_EQ(milliseconds, 100);
        shown << seen().value(0)->button(0)->text();
        shown.removeDuplicates();
    });
    EXPECT_EQ(ask(3), "Keep");
    EXPECT_EQ(shown, (QStringList{"Keep (3)", "Keep (2)", "Keep (1)"}));
    EXPECT_TRUE(seen().isEmpty());
    utilsAlert::setSleeper(nullptr);
    whenAsked([](AlertDialog *dialog) {
        auto *box = dialog->findChild<QCheckBox *>();
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->text(), "Same && for all 50%");
        box->click();
        QTest::mouseClick(dialog->button(1), Qt::LeftButton);
    });
    EXPECT_EQ(ask(60, "Same & for all 50%"), "Replace always");
}

TEST_F(WindowAlertsTest, AlertsInAlertsEndInTheirOrder)
{
    QString inner;
    int modal = -1;
    whenAsked([&](AlertDialog *outer) {
        whenAsked([&](AlertDialog *) {
            whenAsked([](AlertDialog *third) { QTest::keyClick(third, Qt::Key_Escape); });
            modal = alertPresenter().runModal(alert("Third", {"Yes", "No"}));
        });
        inner = ask(0.5);
        QTest::keyClick(outer, Qt::Key_Escape);
    });
    EXPECT_EQ(ask(60), "Keep");
    EXPECT_EQ(inner, "Keep");
    EXPECT_EQ(modal, 1);
    EXPECT_TRUE(seen().isEmpty());
}

TEST_F(WindowAlertsTest, TheMainWindowMayGoWhileAlertsAreUp)
{
    report("notice");
    whenAsked([&](AlertDialog *) { m_window.reset(); });
    EXPECT_EQ(ask(60), "Keep");
    m_window = std::make_unique<QMainWindow>();
    m_window->show();
    m_alerts->setMainWindow(m_window.get());
    whenAsked([&](AlertDialog *) { m_window.reset(); });
    EXPECT_EQ(alertPresenter().runModal(alert("Question", {"Yes", "No"})), 1);
}

TEST_F(WindowAlertsTest, TheApplicationMayEndWhileAlertsAreUp)
{
    QStringList answers;
    QTimer::singleShot(0, qApp, [&] {
        whenAsked([&](AlertDialog *) {
            whenAsked([](AlertDialog *) { QCoreApplication::quit(); });
            answers << QString::number(alertPresenter().runModal(alert("Quit?", {"Yes", "No"})));
        });
        answers << ask(60);
    });
    QCoreApplication::exec();
    EXPECT_EQ(answers, (QStringList{"1", "Keep"}));
    report("late");
    m_alerts.reset();
}
