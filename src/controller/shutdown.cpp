// The end of the controller's work.

#include "controller/app_delegate.h"

#include "process/tool_environment.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <utility>

namespace qv
{

bool appDelegate::iba_menuQuit(Quit how)
{
    logLine(QStringLiteral("iba_menuQuit"));
    m_context.face.closeHelp();
    if (how == Quit::Asking && m_window.goPressed && !userEndsBatch()) {
        return false;
    }
    closeDown();
    return true;
}

// The batch goes on while the question is up. A second wish to quit finds it open and waits, too.
bool appDelegate::userEndsBatch()
{
    if (m_asksToQuit) {
        return false;
    }
    logLine(QStringLiteral("taskClass !"));
    m_asksToQuit = true;
    const bool ends = alertConfirms(
        localized(QStringLiteral("D_quit_1")), localized(QStringLiteral("D_quit_2")),
        localized(QStringLiteral("menuQuit")), localized(QStringLiteral("D_Annuler")));
    m_asksToQuit = false;
    return ends || m_isClosing;
}

void appDelegate::closeDown()
{
    if (std::exchange(m_isClosing, true)) {
        return;
    }
    m_context.gateOpen = false;
    m_taskSlots.endAll();
    m_encoding.abandon();
    m_analysis.abandon();
    encBatchRemoveAll(Sender::Internal);
    rmCocoa(temporaryFolder());
    m_context.preferences.synchronize();
}

bool appDelegate::applicationShouldTerminateAfterLastWindowClosed()
{
    logLine(QStringLiteral("applicationShouldTerminateAfterLastWindowClosed ?"));
    return iba_menuQuit();
}

void appDelegate::applicationWillTerminate()
{
    closeDown();
    logLine(QStringLiteral("applicationWillTerminate:"));
}

} // namespace qv
