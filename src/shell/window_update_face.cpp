#include "shell/window_update_face.h"

#include "shell/reason_text.h"
#include "support/alerts.h"
#include "support/localized_strings.h"

namespace qv
{

void WindowUpdateFace::bringMainWindowBack()
{
    if (m_widgets.window.isMinimized()) {
        m_widgets.window.showNormal();
    }
}

// Alerts stay: what they tell would be lost.
void WindowUpdateFace::closeOtherSheets()
{
    if (m_widgets.preferences.isVisible()) {
        m_widgets.preferences.reject();
    }
}

bool WindowUpdateFace::mayOfferUnasked()
{
    m_isPutOff = m_widgets.preferences.isVisible();
    return !m_isPutOff;
}

QString WindowUpdateFace::words(const QString &reason) const
{
    return reasonText(reason);
}

bool WindowUpdateFace::mayEndForUpdate()
{
    if (!m_widgets.controller.window().goPressed) {
        return true;
    }
    return alertConfirms(
        localized(QStringLiteral("updateQuit_1")), localized(QStringLiteral("updateQuit_2")),
        localized(QStringLiteral("updateQuit_install")), localized(QStringLiteral("D_Annuler")));
}

} // namespace qv
