#include "shell/desktop.h"

#include "process/tool_environment.h"
#include "sheet/text_painter.h"
#include "shell/appearance.h"
#include "shell/localize_widgets.h"
#include "support/alerts.h"
#include "support/diagnostics.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QApplication>
#include <QFileInfo>
#include <QThread>
#include <QTimer>

#include <utility>

namespace qv
{
namespace
{

constexpr int criticalStyle = 2;
constexpr int fontsDelay = 400; // milliseconds
constexpr int updateDelay = 1500;

} // namespace

Desktop::Desktop(std::unique_ptr<Workspace> workspace, std::unique_ptr<FileChooser> chooser,
                 Launch launch)
    : m_launch(std::move(launch)), m_workspace(std::move(workspace)), m_chooser(std::move(chooser)),
      m_preferences(PreferencesStore::userFile(Bundle::main().identifier()),
                    PreferencesStore::Saving::Written),
      m_decoders(m_movies)
{
    setLocalizationBundle(Bundle::main());
    setLocalizationTable(QStringLiteral("Localized"));
    applyAppearance(m_memory.appearance());
    m_window = std::make_unique<MainWindow>();
    m_menus = new Menus(*m_window);
    m_preferencesWindow = new PreferencesWindow(m_preferences, m_window.get());
    m_help = new HelpWindow(m_window.get());
    m_updateWindow = new UpdateWindow(m_window.get());
    m_face = std::make_unique<DesktopFace>(
        DesktopFace::Widgets{*m_window, *m_menus, *m_preferencesWindow, m_preferences, m_memory,
                             *m_chooser, *m_workspace, *m_help});
    m_controller = std::make_unique<appDelegate>(
        m_preferences, *m_face, m_movies, Placement{.toolsPerRow = QThread::idealThreadCount()});
    m_drawer = new BatchDrawer(*m_controller, *m_workspace, m_window.get());
    m_window->setDrawer(m_drawer);
    m_face->setController(*m_controller, *m_drawer);
    m_alerts.setMainWindow(m_window.get());
    makeUpdater();
    connectMenus();
    connectControls();
}

Desktop::~Desktop()
{
    m_updater.reset();
    m_controller.reset();
}

// ---- start-up

bool Desktop::awakeFromNib()
{
    if (isRefused()) {
        return false;
    }
    logLine(QStringLiteral("post old processes  :-)"));
    logLine(QStringLiteral("dnd                 - post"));
    localizeInterface();
    m_launch.turnOverLogs();
    checkTools();
    checkLogs();
    prepareFolders();
    startQueries();
    m_window->setVersion(Bundle::main().version());
    connect(m_menus->insertUpdateItem(), &QAction::triggered, this,
            [this] { m_updater->iba_checkForUpdates(Updater::Sender::MenuItem); });
    logLine(QStringLiteral("update              - done"));
    localizeMenu(m_window->menuBar());
    loadPreferences();
    m_window->restore(m_memory);
    m_controller->drawerToggled(m_window->isDrawerOpen());
    m_face->showNow();
    tellTroubles();
    logLines(QStringLiteral("\n\n----------\nawakeFromNib - fin\n----------\n\n"));
    return true;
}

bool Desktop::isRefused()
{
    std::optional<Refusal> refusal = refuseProcessor(m_launch.processor);
    if (!refusal) {
        refusal = refuseInstance(m_launch.runningCopies);
    }
    if (!refusal) {
        refusal = refusePath(Bundle::main().resourcePath());
    }
    if (refusal) {
        alertReport(refusal->title, refusal->detail, criticalStyle, AlertPlace::ApplicationModal);
    }
    return refusal.has_value();
}

void Desktop::localizeInterface()
{
    localizeMenu(m_window->menuBar());
    localizeWindow(m_window.get());
    localizeWindow(m_preferencesWindow);
    localizeWindow(m_help);
    localizeWindow(m_updateWindow);
    localizeView(m_drawer);
    logLine(QStringLiteral("localisations       - post"));
}

// Without a temporary folder no source can be looked at; the user is told, and may mend it.
void Desktop::prepareFolders()
{
    auto folder = makeTemporaryFolder(Bundle::main());
    if (folder) {
        m_scratch = std::move(*folder);
        setForeignNamesFolder(appendPath(m_scratch->path(), QStringLiteral("names")));
    } else {
        m_troubles.append(folder.error());
    }
    logEnvironment(Bundle::main());
    makeMovieFolder();
    clearLeftUpdates(Bundle::main());
}

void Desktop::checkLogs()
{
    const QFileInfo folder(logFolder());
    if (!folder.isDir() || !folder.isWritable()) {
        m_troubles.append(localized(QStringLiteral("troubleNoLogs")).arg(folder.filePath()));
    }
}

void Desktop::checkTools()
{
    if (ffmpegPath().isEmpty()) {
        m_troubles.append(
            localized(QStringLiteral("troubleNoFfmpeg")).arg(Bundle::main().toolsPath()));
    }
}

// All in one alert: none of them keeps the window from opening.
void Desktop::tellTroubles()
{
    if (!m_troubles.isEmpty()) {
        alertReport(localized(QStringLiteral("startTroubles")),
                    m_troubles.join(QStringLiteral("\n\n")), 0, AlertPlace::SheetOnWindow);
    }
}

// Once: the working state would be tried again every half second.
void Desktop::settingsNotSaved()
{
    if (!std::exchange(m_saveTroubleTold, true)) {
        m_window->notice(localized(QStringLiteral("troubleSettingsNotSaved"))
                             .arg(QFileInfo(m_preferences.path()).path()));
    }
}

void Desktop::startQueries()
{
    m_decoders.start();
    m_ffmpeg.start();
}

void Desktop::loadPreferences()
{
    logLine(QStringLiteral("PREFERENCES         - deb"));
    if (const QString damaged = m_preferences.damagedFile(); !damaged.isEmpty()) {
        logLine(QStringLiteral("plist               :-( damaged, now %1").arg(damaged));
        m_troubles.append(localized(QStringLiteral("troubleSettingsDamaged")).arg(damaged));
    }
    clearLeftStills(m_preferences);
    m_preferences.prefsPurgeUnknownKeys();
    if (!m_preferences.prefsMendImpossible().isEmpty()) {
        m_troubles.append(localized(QStringLiteral("troubleSettingsMended")));
    }
    m_preferences.prefsFillMissingDefaults();
    if (!m_preferences.synchronize()) {
        m_saveTroubleTold = true;
        m_troubles.append(localized(QStringLiteral("troubleSettingsNotSaved"))
                              .arg(QFileInfo(m_preferences.path()).path()));
    }
    m_preferencesWindow->showStored(m_preferences.prefsSnapshot());
    showDestination();
    m_face->takePreferences();
    logLine(QStringLiteral("PREFERENCES         - fin"));
}

// Also a folder that is missing: the window says so.
void Desktop::showDestination()
{
    m_storedDestination =
        expandTilde(m_preferences.prefReadString(QStringLiteral("prefDefautDstPathStr")));
    if (!m_storedDestination.isEmpty()) {
        m_face->setDestination(m_storedDestination);
    }
}

// The sheets' fonts take a tenth of a second to load, which is least felt before anything runs.
void Desktop::show()
{
    m_window->show();
    QTimer::singleShot(fontsDelay, this, prepareTexts);
    QTimer::singleShot(updateDelay, this,
                       [this] { m_updater->iba_checkForUpdates(Updater::Sender::Nobody); });
}

// ---- from outside

void Desktop::openPaths(const QStringList &paths)
{
    if (!paths.isEmpty()) {
        m_controller->applicationOpenFiles(paths);
    }
}

void Desktop::comeToFront()
{
    if (m_window->isMinimized()) {
        m_window->showNormal();
    }
    m_window->raise();
    m_window->activateWindow();
}

void Desktop::act(LaunchAction action)
{
    comeToFront();
    if (QApplication::activeModalWidget() != nullptr) {
        return;
    }
    switch (action) {
    case LaunchAction::ChooseVideos:
        m_menus->open->trigger();
        break;
    case LaunchAction::ChooseFolder:
        m_menus->openFolder->trigger();
        break;
    case LaunchAction::ShowPreferences:
        m_menus->preferences->trigger();
        break;
    }
}

// ---- the end

void Desktop::quit(appDelegate::Quit how)
{
    // Emptying the table closes the drawer, which is not what is to be remembered.
    m_window->remember(m_memory);
    if (m_controller->iba_menuQuit(how)) {
        end();
    }
}

void Desktop::quitByClosing()
{
    m_window->remember(m_memory);
    if (m_controller->applicationShouldTerminateAfterLastWindowClosed()) {
        end();
    }
}

void Desktop::end()
{
    if (std::exchange(m_isOver, true)) {
        return;
    }
    m_memory.save();
    m_preferencesWindow->close();
    m_updateWindow->accept();
    m_window->hide();
    // A loop that an alert runs may have to be ended first, so the wish is repeated.
    for (const int delay : {0, 100, 500}) {
        QTimer::singleShot(delay, this, [] { QCoreApplication::exit(0); });
    }
    Q_EMIT finished();
}

} // namespace qv
