#pragma once

#include "controller/app_delegate.h"
#include "shell/main_window.h"
#include "shell/preferences_window.h"
#include "shell/update_window.h"
#include "shell/workspace.h"
#include "updater/update_face.h"

#include <functional>
#include <utility>

namespace qv
{

// The updater's view of the windows.
class WindowUpdateFace : public UpdateFace
{
public:
    struct Widgets {
        MainWindow &window;
        PreferencesWindow &preferences;
        UpdateWindow &sheet;
        appDelegate &controller;
        // Ends the application without asking.
        std::function<void()> end;
    };
    explicit WindowUpdateFace(const Widgets &widgets) : m_widgets(widgets) {}

    void bringMainWindowBack() override;
    void closeOtherSheets() override;
    // Not while the preferences are open: closing them would throw away what was edited.
    bool mayOfferUnasked() override;
    // Whether an offer was put off since the last call.
    bool takePutOff() { return std::exchange(m_isPutOff, false); }
    bool isUpdateSheetVisible() const override { return m_widgets.sheet.isVisible(); }
    void showUpdateSheet(const UpdateOffer &offer) override { m_widgets.sheet.showOffer(offer); }
    void closeUpdateSheet() override { m_widgets.sheet.accept(); }
    void setUpdateStatus(const QString &status) override { m_widgets.sheet.setStatus(status); }
    void setUpdatePhase(UpdatePhase phase) override { m_widgets.sheet.setPhase(phase); }
    void setUpdateProgress(qint64 received, qint64 total) override
    {
        m_widgets.sheet.setProgress(received, total);
    }
    void showReleaseNotes(const tl::expected<WebPage, QString> &page) override
    {
        m_widgets.sheet.showNotes(page);
    }
    void updateNotice(const QString &text) override { m_widgets.window.notice(text); }
    QString words(const QString &reason) const override;
    bool mayEndForUpdate() override;
    void endForUpdate() override { m_widgets.end(); }

private:
    Widgets m_widgets;
    bool m_isPutOff = false;
};

} // namespace qv
