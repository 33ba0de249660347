#pragma once

#include "shell/alert_dialog.h"
#include "support/alerts.h"

#include <QObject>
#include <QPointer>

#include <deque>
#include <vector>

// Alerts on the screen. While it lives it is the presenter of the process, and the waits of timed
// alerts run the event loop instead of sleeping.
namespace qv
{

class WindowAlerts final : public QObject, public AlertPresenter
{
    Q_OBJECT

public:
    explicit WindowAlerts(QWidget *mainWindow = nullptr);
    ~WindowAlerts() override;

    // The window that alerts belong to. Until there is one, they stand alone.
    void setMainWindow(QWidget *mainWindow) { m_mainWindow = mainWindow; }

    int runModal(const Alert &alert) override;
    // One sheet is seen at a time, and none below a question; the others wait.
    int beginSheet(const Alert &alert) override;
    SheetState runSheet(int number, int secondsLeft) override;
    void endSheet(int number) override;
    void beginSession(const Alert &alert, const QList<int> &codes) override;
    int runSession() override;
    void endSession() override;
    bool suppressionTicked() const override;

private:
    struct Session {
        QPointer<AlertDialog> dialog;
        QList<int> codes;
        int harmless = 0; // index of the button
        double timeLeft = 0;
    };
    struct Sheet {
        int number = 0;
        Alert alert;
        QPointer<AlertDialog> dialog; // once it is shown
    };

    QWidget *owner() const;
    void runEventLoopFor(int milliseconds);
    void bringBack();
    void showNextSheet();
    void showNextSheetLater();
    std::deque<Sheet>::iterator sheetOf(int number);
    bool isQuestionOpen() const { return m_modals > 0 || !m_sessions.empty(); }

    QPointer<QWidget> m_mainWindow;
    int m_modals = 0;
    std::vector<Session> m_sessions; // each one opened while the one before waits
    std::deque<Sheet> m_sheets;      // in the order in which they were begun
    int m_lastSheet = 0;
    bool m_isEnding = false; // the application is; its event loops return at once
};

} // namespace qv
