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
    void beginSheet(const Alert &alert) override;
    // Closes the last timed sheet when there is one, else the last one, unless its button did.
    void endSheet() override;
    void beginSession(const Alert &alert, const QList<int> &codes) override;
    int runSession() override;
    void endSession() override;
    bool suppressionTicked() const override;

private:
    struct Session {
        QPointer<AlertDialog> dialog;
        QList<int> codes;
        double timeLeft = 0;
    };
    struct Sheet {
        Alert alert;
        QPointer<AlertDialog> dialog; // once it is seen
        bool isClosed = false;        // by its button; kept while endSheet is to come
        bool isTimed() const { return alert.timeout > 0; }
    };

    QWidget *owner() const;
    void bringBack();
    void showNextSheet();
    void showNextSheetLater();
    void sheetClosed(AlertDialog *dialog);
    bool isQuestionOpen() const { return m_modals > 0 || !m_sessions.empty(); }

    QPointer<QWidget> m_mainWindow;
    int m_modals = 0;
    std::vector<Session> m_sessions; // each one opened while the one before waits
    std::deque<Sheet> m_sheets;      // in the order in which they were begun
};

} // namespace qv
