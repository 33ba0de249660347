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
    utilsAlert::setSleeper([this](int milliseconds) { runEventLoopFor(milliseconds); });
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

void WindowAlerts::runEventLoopFor(int milliseconds)
{
    const QPointer<WindowAlerts> self(this);
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    const bool isRefused = loop.exec() == -1;
    if (self) {
        m_isEnding = m_isEnding || isRefused;
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
    int answer = alert.buttons.harmless();
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
    m_sessions.push_back({dialog, codes, alert.buttons.harmless(), alert.timeout});
}

int WindowAlerts::runSession()
{
    QCoreApplication::processEvents();
    Session &session = m_sessions.back();
    if (!session.dialog || session.dialog->isOver()) {
        const int clicked = session.dialog ? session.dialog->clickedButton() : -1;
        return session.codes.value(clicked < 0 ? session.harmless : clicked, alertStopped);
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

std::deque<WindowAlerts::Sheet>::iterator WindowAlerts::sheetOf(int number)
{
    return std::find_if(m_sheets.begin(), m_sheets.end(),
                        [number](const Sheet &sheet) { return sheet.number == number; });
}

int WindowAlerts::beginSheet(const Alert &alert)
{
    m_sheets.push_back({++m_lastSheet, alert, nullptr});
    showNextSheet();
    return m_lastSheet;
}

WindowAlerts::SheetState WindowAlerts::runSheet(int number, int secondsLeft)
{
    const auto sheet = sheetOf(number);
    if (m_isEnding || sheet == m_sheets.end()) {
        return SheetState::Closed;
    }
    const QWidget *window = owner();
    const bool isInFront = sheet->dialog && QApplication::activeModalWidget() == sheet->dialog;
    if (!isInFront || (window != nullptr && window->isMinimized())) {
        return SheetState::Unseen;
    }
    sheet->dialog->showSecondsLeft(secondsLeft);
    return SheetState::Seen;
}

void WindowAlerts::endSheet(int number)
{
    const auto sheet = sheetOf(number);
    if (sheet != m_sheets.end()) {
        dispose(sheet->dialog);
        m_sheets.erase(sheet);
        showNextSheetLater();
    }
}

void WindowAlerts::showNextSheetLater()
{
    QMetaObject::invokeMethod(this, &WindowAlerts::showNextSheet, Qt::QueuedConnection);
}

void WindowAlerts::showNextSheet()
{
    if (m_sheets.empty() || m_sheets.front().dialog || isQuestionOpen()) {
        return;
    }
    Sheet &next = m_sheets.front();
    next.dialog = new AlertDialog(next.alert, owner());
    connect(next.dialog, &QDialog::finished, this,
            [this, number = next.number] { endSheet(number); });
    next.dialog->setWindowModality(Qt::WindowModal);
    next.dialog->show();
    if (QWidget *window = owner()) {
        QApplication::alert(window);
    }
}

} // namespace qv
