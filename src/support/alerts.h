#pragma once

#include <QString>
#include <QStringList>

#include <functional>

// Alerts, over an interface that a window, a command or a test answers.
namespace qv
{

// A session is run in rounds of so many seconds; its time is counted in rounds.
inline constexpr double alertRound = 0.1;

enum class AlertStyle { Warning = 0, Critical = 2 };

// Answers of a modal session to one round of it.
inline constexpr int alertStopped = -1000;
inline constexpr int alertAborted = -1001;
inline constexpr int alertContinues = -1002;

// An alert's button by its place.
enum class AlertButton { Default = 0, Alternate = 1, Other = 2 };

// The buttons of an alert. Whoever asks must say which of them does no harm: that is the answer of
// Escape, of closing the box, and of an application that ends meanwhile.
class AlertButtons
{
public:
    // Texts in the order default, alternate, other; empty ones are not shown.
    AlertButtons(const QStringList &texts, AlertButton harmless);
    // A notice: the single "OK".
    static AlertButtons ok() { return {{}, AlertButton::Default}; }

    QStringList texts() const { return m_texts; } // of the buttons that are shown; none: "OK"
    int harmless() const { return m_harmless; }   // index among those

private:
    QStringList m_texts;
    int m_harmless = 0;
};

// What an alert shows. Every "%" in title and detail is doubled, because they are formats for
// the presenter; shownText undoes it.
struct Alert {
    Alert(QString titleFormat, QString detailFormat, AlertStyle alertStyle,
          AlertButtons alertButtons);

    QString title;
    QString detail;
    AlertStyle style;
    AlertButtons buttons;
    bool hasSuppression = false;
    QString suppressionTitle;
    double timeout = 0; // seconds after which it closes by itself; 0: never

    static QString shownText(const QString &format);
};

class AlertPresenter
{
public:
    virtual ~AlertPresenter() = default;
    // Shows the alert and waits; gives the index of the button.
    virtual int runModal(const Alert &alert) = 0;
    // Shows it as a sheet on the main window and returns at once, with a number for the sheet.
    virtual int beginSheet(const Alert &alert) = 0;
    // Called each second for a sheet that closes by itself. Others may be in front of it.
    enum class SheetState { Unseen, Seen, Closed };
    virtual SheetState runSheet(int sheet, int secondsLeft) = 0;
    virtual void endSheet(int sheet) = 0;
    // A modal session in rounds: begin, run until the answer isn't alertContinues, end. The code of
    // a click on each button is given by `codes`, in the order of the alert's buttons.
    virtual void beginSession(const Alert &alert, const QList<int> &codes) = 0;
    virtual int runSession() = 0;
    virtual void endSession() = 0;
    virtual bool suppressionTicked() const = 0;
};

// The presenter of the process; until one is set, alerts are only logged and answer themselves.
AlertPresenter &alertPresenter();
void setAlertPresenter(AlertPresenter *presenter);

// The error report. Style 2 is critical, any other a warning. On the window it is a sheet and the
// answer is 0; otherwise it waits and gives the button's index.
enum class AlertPlace { ApplicationModal, SheetOnWindow };
int alertReport(const QString &title, const QString &detail, int style, AlertPlace place);

// Asks, and waits for the answer: whether the user confirms. Refusing is the harmless answer, and
// the one when there is nobody to ask.
bool alertConfirms(const QString &title, const QString &detail, const QString &confirm,
                   const QString &refuse);

// Doubles each "%".
QString alertFormat(const QString &text);

// Alerts that close by themselves, so that a batch never stalls for want of an answer.
class utilsAlert
{
public:
    struct Answer {
        QString text; // of the button taken as answered, or "button 1" to "button 3"
        int suppressed = 0;
    };

    // Waits at most `timeout` seconds (0 means 10), counted in steps of a tenth, then answers with
    // the default button. A suppression text that is not null shows the check box.
    static Answer timedQuestion(const QString &title, const QString &message, int style,
                                const QString &defaultText, const QString &alternateText,
                                const QString &otherText, double timeout,
                                const QString &suppressionText, AlertButton harmless);

    // Shows a sheet until it has been seen for that many seconds or is closed, blocking.
    static void timedSheet(const QString &title, const QString &message, const QString &defaultText,
                           const QString &alternateText, const QString &otherText, int seconds);

    // The end notification of a sheet alert; orders its window out.
    static void alertDidEnd(int sheet, int returnCode);

    // How the waits above pass their time: sleeping, unless a test says otherwise.
    static void setSleeper(std::function<void(int milliseconds)> sleeper);
};

} // namespace qv
