#pragma once

#include "analysis/movie_tool.h"
#include "controller/app_delegate.h"
#include "controller/startup.h"
#include "settings/preferences_store.h"
#include "shell/desktop_face.h"
#include "shell/focus_ring.h"
#include "shell/help_window.h"
#include "shell/launch_action.h"
#include "shell/update_window.h"
#include "shell/window_alerts.h"
#include "shell/window_update_face.h"
#include "support/diagnostics.h"
#include "support/platform.h"
#include "updater/updater.h"

#include <QObject>

#include <functional>
#include <memory>

// The desktop application: its windows and its controller, from start-up to the end.
namespace qv
{

class Desktop : public QObject
{
    Q_OBJECT

public:
    // What it is started with; a test hands in its own.
    struct Launch {
        int runningCopies = 1;
        platform::Processor processor = platform::processor();
        std::function<void()> turnOverLogs = startLogs;
    };

    Desktop(std::unique_ptr<Workspace> workspace, std::unique_ptr<FileChooser> chooser,
            Launch launch);
    ~Desktop() override;

    // The start-up. False when the application can't run; the user has been told why.
    bool awakeFromNib();
    // Shows the window.
    void show();

    // From the command line or another copy: admitted now, or as soon as the gate opens.
    void openPaths(const QStringList &paths);
    void comeToFront();
    // Comes to the front and does what the menu's item does, unless a question is open.
    void act(LaunchAction action);
    // Ends the application unless the user says no; at once when the system ends it.
    void quit(appDelegate::Quit how = appDelegate::Quit::Asking);

    MainWindow &window() { return *m_window; }
    Menus &menus() { return *m_menus; }
    appDelegate &controller() { return *m_controller; }
    PreferencesStore &preferences() { return m_preferences; }
    PreferencesWindow &preferencesWindow() { return *m_preferencesWindow; }
    BatchDrawer &drawer() { return *m_drawer; }
    HelpWindow &helpWindow() { return *m_help; }
    UpdateWindow &updateWindow() { return *m_updateWindow; }
    Updater &updater() { return *m_updater; }

Q_SIGNALS:
    // Everything is closed down; the event loop may end.
    void finished();

private:
    bool isRefused();
    void localizeInterface();
    void prepareFolders();
    void startQueries();
    void loadPreferences();
    void checkTools();
    void checkLogs();
    void tellTroubles();
    void settingsNotSaved();
    void showDestination();

    void connectMenus();
    void connectControls();
    void iba_menuDebug();
    void iba_menuBugReport();
    void iba_menuOpenFolder();
    void paste();
    void showAbout();
    void showLogs();
    void showDestinationFolder();
    void preferencesSaved();
    void makeUpdater();
    void setAppearance(const QString &appearance);
    void quitByClosing();
    void end();

    Launch m_launch;
    std::unique_ptr<Workspace> m_workspace;
    std::unique_ptr<FileChooser> m_chooser;
    WindowMemory m_memory;
    WindowAlerts m_alerts;
    FocusRing m_focusRing;
    std::unique_ptr<ScratchFolder> m_scratch; // goes last
    PreferencesStore m_preferences;
    MovieTool m_movies;
    std::unique_ptr<MainWindow> m_window;
    Menus *m_menus;
    PreferencesWindow *m_preferencesWindow;
    HelpWindow *m_help;
    UpdateWindow *m_updateWindow;
    std::unique_ptr<DesktopFace> m_face;
    std::unique_ptr<appDelegate> m_controller;
    BatchDrawer *m_drawer = nullptr;
    std::unique_ptr<WindowUpdateFace> m_updateFace;
    std::unique_ptr<Updater> m_updater;
    DecoderQuery m_decoders;
    FfmpegQuery m_ffmpeg;
    QString m_storedDestination;
    QStringList m_troubles; // of the start-up
    bool m_saveTroubleTold = false;
    bool m_isOver = false;
};

} // namespace qv
