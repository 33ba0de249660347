#include "shell/window_alerts.h"

#include <QApplication>
#include <QEventLoop>
#include <QTimer>
#include <QWindow>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

void runEventLoopFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void dispose(const QPointer<AlertDialog> &dialog)
{
    if (dialog) {
        dialog->disconnect();
        dialog->hide();
        dialog->deleteLater();
    }
}

} // namespace

WindowAlerts::WindowAlerts(QWidget *mainWindow) : m_mainWindow(mainWindow)
{
    setAlertPresenter(this);
    utilsAlert::setSleeper(runEventLoopFor);
}

WindowAlerts::~WindowAlerts()
{
    setAlertPresenter(nullptr);
    utilsAlert::setSleeper(nullptr);
    for (const Session &session : m_sessions) {
        delete session.dialog;
    }
    for (const Sheet &sheet : m_sheets) {
        delete sheet.dialog;
    }
}

// A window that was never seen yet must not come up by an alert.
QWidget *WindowAlerts::owner() const
{
    return m_mainWindow && m_mainWindow->windowHandle() != nullptr ? m_mainWindow.data() : nullptr;
}

void WindowAlerts::bringBack()
{
    if (QWidget *window = owner()) {
        window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
        window->show();
        window->raise();
        window->activateWindow();
        QApplication::alert(window);
    }
}

// ---- waiting for an answer

int WindowAlerts::runModal(const Alert &alert)
{
    bringBack();
    const QPointer<WindowAlerts> self(this);
    const QPointer<AlertDialog> dialog = new AlertDialog(alert, owner());
    int answer = dialog->escapeButton();
    ++m_modals;
    dialog->exec();
    if (dialog && dialog->clickedButton() >= 0) {
        answer = dialog->clickedButton();
    }
    delete dialog;
    if (self) {
        --m_modals;
        showNextSheetLater();
    }
    return answer;
}

void WindowAlerts::beginSession(const Alert &alert, const QList<int> &codes)
{
    bringBack();
    auto *dialog = new AlertDialog(alert, owner());
    dialog->setWindowModality(Qt::ApplicationModal);
    dialog->show();
    dialog->activateWindow();
    m_sessions.push_back({dialog, codes, alert.timeout});
}

int WindowAlerts::runSession()
{
    QCoreApplication::processEvents();
    Session &session = m_sessions.back();
    if (!session.dialog || session.dialog->isOver()) {
        const int clicked = session.dialog ? session.dialog->clickedButton() : -1;
        return session.codes.value(clicked, alertStopped);
    }
    session.dialog->showSecondsLeft(static_cast<int>(std::ceil(session.timeLeft - alertRound / 2)));
    session.timeLeft = std::max(0.0, session.timeLeft - alertRound);
    return alertContinues;
}

void WindowAlerts::endSession()
{
    dispose(m_sessions.back().dialog);
    m_sessions.pop_back();
    showNextSheetLater();
}

bool WindowAlerts::suppressionTicked() const
{
    const QPointer<AlertDialog> dialog = m_sessions.back().dialog;
    return dialog && dialog->isSuppressionTicked();
}

// ---- sheets

void WindowAlerts::beginSheet(const Alert &alert)
{
    m_sheets.push_back({alert, nullptr});
    showNextSheet();
}

void WindowAlerts::endSheet()
{
    auto last = std::find_if(m_sheets.rbegin(), m_sheets.rend(),
                             [](const Sheet &sheet) { return sheet.isTimed(); });
    if (last == m_sheets.rend()) {
        last = m_sheets.rbegin();
    }
    if (last != m_sheets.rend()) {
        dispose(last->dialog);
        m_sheets.erase(std::next(last).base());
        showNextSheetLater();
    }
}

void WindowAlerts::showNextSheetLater()
{
    QMetaObject::invokeMethod(this, &WindowAlerts::showNextSheet, Qt::QueuedConnection);
}

void WindowAlerts::showNextSheet()
{
    const auto next = std::find_if(m_sheets.begin(), m_sheets.end(),
                                   [](const Sheet &sheet) { return !sheet.isClosed; });
    if (next == m_sheets.end() || next->dialog || isQuestionOpen()) {
        return;
    }
    next->dialog = new AlertDialog(next->alert, owner());
    connect(next->dialog, &QDialog::finished, this,
            [this, dialog = next->dialog.data()] { sheetClosed(dialog); });
    next->dialog->setWindowModality(Qt::WindowModal);
    next->dialog->show();
    if (QWidget *window = owner()) {
        QApplication::alert(window);
    }
}

void WindowAlerts::sheetClosed(AlertDialog *dialog)
{
    const auto sheet = std::find_if(m_sheets.begin(), m_sheets.end(), [dialog](const Sheet &other) {
        return other.dialog == dialog;
    });
    if (sheet != m_sheets.end()) {
        dispose(sheet->dialog);
        if (sheet->isTimed()) {
            sheet->isClosed = true;
        } else {
            m_sheets.erase(sheet);
        }
    }
    showNextSheetLater();
}

} // namespace qv
