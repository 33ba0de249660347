#include "support/alerts.h"

#include "support/log.h"
#include "support/visible_text.h"

#include <QThread>

#include <utility>

namespace qv
{
namespace
{

// What a click on the middle one of three buttons stops the session with.
constexpr int middleButtonCode = 1001;

// Nobody to ask: the alert is a line in the log. Questions get the harmless answer, timed ones
// that of a time-out.
class LoggingPresenter : public AlertPresenter
{
public:
    int runModal(const Alert &alert) override
    {
        write(alert);
        return alert.buttons.harmless();
    }
    int beginSheet(const Alert &alert) override
    {
        write(alert);
        return 0;
    }
    SheetState runSheet(int, int) override { return SheetState::Closed; }
    void endSheet(int) override {}
    void beginSession(const Alert &alert, const QList<int> &) override { write(alert); }
    int runSession() override { return alertStopped; }
    void endSession() override {}
    bool suppressionTicked() const override { return false; }

private:
    static void write(const Alert &alert)
    {
        logLine(QStringLiteral("alert               : %1 - %2")
                    .arg(Alert::shownText(alert.title), Alert::shownText(alert.detail)));
    }
};

AlertPresenter *g_presenter = nullptr;

std::function<void(int)> &sleeper()
{
    static std::function<void(int)> instance;
    return instance;
}

void sleepFor(int milliseconds)
{
    if (sleeper()) {
        sleeper()(milliseconds);
    } else {
        QThread::msleep(static_cast<unsigned long>(milliseconds));
    }
}

AlertStyle alertStyle(int style)
{
    constexpr int critical = 2;
    return style == critical ? AlertStyle::Critical : AlertStyle::Warning;
}

QList<int> sessionCodes(qsizetype buttons)
{
    if (buttons >= 3) {
        return {alertStopped, middleButtonCode, alertAborted};
    }
    return buttons == 2 ? QList<int>{alertStopped, alertAborted} : QList<int>{alertStopped};
}

// The session's code, or alertContinues when the time is over.
int runSessionFor(double seconds)
{
    constexpr int roundMilliseconds = 100;
    int code = alertContinues;
    for (int round = 0; code == alertContinues && round * alertRound < seconds; ++round) {
        code = alertPresenter().runSession();
        if (code == alertContinues) {
            sleepFor(roundMilliseconds);
        }
    }
    return code;
}

// Index of the button whose text answers for a code. With three buttons the texts of the second
// and the third stand for each other's click; callers count on it.
int answeredButton(int code)
{
    switch (code) {
    case alertContinues:
        logLine(QStringLiteral("FERMETURE AUTO      : TIMEOUT"));
        return 0;
    case alertStopped:
        logLine(QStringLiteral("FERMETURE USER      : CLIC=%1").arg(code));
        return 0;
    case alertAborted:
        logLine(QStringLiteral("FERMETURE USER      : CLIC=%1").arg(code));
        return 1;
    default:
        logLine(QStringLiteral("FERMETURE USER      : CLIC=%1").arg(code));
        return 2;
    }
}

void logAnswer(const QString &answer, const QStringList &texts)
{
    const QStringList labels{QStringLiteral("btDefault"), QStringLiteral("btAlt"),
                             QStringLiteral("btOther")};
    QString line = QStringLiteral("bt                  ? ") + answer;
    for (qsizetype i = 0; i < labels.size(); ++i) {
        if (!texts[i].isEmpty()) {
            line += QStringLiteral(" (%1=%2)").arg(labels[i], texts[i]);
        }
    }
    logLine(line);
}

QString answerText(int button, const QStringList &texts)
{
    const QString text = texts.value(button);
    return text.isEmpty() ? QStringLiteral("button %1").arg(button + 1) : text;
}

} // namespace

AlertButtons::AlertButtons(const QStringList &texts, AlertButton harmless)
{
    for (qsizetype i = 0; i < texts.size(); ++i) {
        if (texts.at(i).isEmpty()) {
            continue;
        }
        if (i == static_cast<int>(harmless)) {
            m_harmless = static_cast<int>(m_texts.size());
        }
        m_texts.append(texts.at(i));
    }
}

Alert::Alert(QString titleFormat, QString detailFormat, AlertStyle alertStyle,
             AlertButtons alertButtons)
    : title(std::move(titleFormat)), detail(std::move(detailFormat)), style(alertStyle),
      buttons(std::move(alertButtons))
{
}

QString Alert::shownText(const QString &format)
{
    QString text = format;
    return visibleLines(text.replace(QLatin1String("%%"), QLatin1String("%")));
}

AlertPresenter &alertPresenter()
{
    static LoggingPresenter logging;
    return g_presenter == nullptr ? logging : *g_presenter;
}

void setAlertPresenter(AlertPresenter *presenter)
{
    g_presenter = presenter;
}

QString alertFormat(const QString &text)
{
    QString format = text.isNull() ? QLatin1String("") : text;
    return format.replace(QLatin1String("%"), QLatin1String("%%"));
}

int alertReport(const QString &title, const QString &detail, int style, AlertPlace place)
{
    const Alert alert(alertFormat(title), alertFormat(detail), alertStyle(style),
                      AlertButtons::ok());
    if (place == AlertPlace::ApplicationModal) {
        return alertPresenter().runModal(alert);
    }
    alertPresenter().beginSheet(alert);
    return 0;
}

bool alertConfirms(const QString &title, const QString &detail, const QString &confirm,
                   const QString &refuse)
{
    const Alert question(alertFormat(title), alertFormat(detail), AlertStyle::Warning,
                         {{confirm, refuse}, AlertButton::Alternate});
    return alertPresenter().runModal(question) == 0;
}

utilsAlert::Answer utilsAlert::timedQuestion(const QString &title, const QString &message,
                                             int style, const QString &defaultText,
                                             const QString &alternateText, const QString &otherText,
                                             double timeout, const QString &suppressionText,
                                             AlertButton harmless)
{
    constexpr double usualTimeout = 10.0;
    const QStringList texts{defaultText, alternateText, otherText};
    Alert alert(alertFormat(title), alertFormat(message), alertStyle(style), {texts, harmless});
    alert.hasSuppression = !suppressionText.isNull();
    alert.suppressionTitle = alertFormat(suppressionText);
    alert.timeout = timeout == 0.0 ? usualTimeout : timeout;

    AlertPresenter &presenter = alertPresenter();
    presenter.beginSession(alert, sessionCodes(alert.buttons.texts().size()));
    const int code = runSessionFor(alert.timeout);
    const bool isSuppressed = alert.hasSuppression && presenter.suppressionTicked();
    presenter.endSession();

    const QString answer = answerText(answeredButton(code), texts);
    logAnswer(answer, texts);
    return {answer, isSuppressed ? 1 : 0};
}

void utilsAlert::timedSheet(const QString &title, const QString &message,
                            const QString &defaultText, const QString &alternateText,
                            const QString &otherText, int seconds)
{
    using SheetState = AlertPresenter::SheetState;
    constexpr int roundMilliseconds = 1000;
    Alert alert(alertFormat(title), alertFormat(message), AlertStyle::Warning,
                {{defaultText, alternateText, otherText}, AlertButton::Default});
    alert.timeout = seconds + 1;
    const int sheet = alertPresenter().beginSheet(alert);
    logLine(QStringLiteral("giveUpAfterSeconds : %1").arg(seconds));
    for (int i = 0; i <= seconds;) {
        const SheetState state = alertPresenter().runSheet(sheet, seconds + 1 - i);
        if (state == SheetState::Closed) {
            break;
        }
        sleepFor(roundMilliseconds);
        if (state == SheetState::Seen) {
            logLine(QStringLiteral("i = %1").arg(i++));
        }
    }
    alertPresenter().endSheet(sheet);
}

void utilsAlert::alertDidEnd(int sheet, int returnCode)
{
    constexpr int firstButton = 1000;
    if (returnCode == firstButton) {
        logLine(QStringLiteral("1m"));
    }
    logLine(QStringLiteral("2"));
    if (returnCode != 0) {
        logLine(QStringLiteral("returnCode:%1").arg(returnCode));
    }
    alertPresenter().endSheet(sheet);
}

void utilsAlert::setSleeper(std::function<void(int milliseconds)> newSleeper)
{
    sleeper() = std::move(newSleeper);
}

} // namespace qv
