// What the menus and the controls of the main window do.

#include "shell/desktop.h"

#include "shell/appearance.h"
#include "shell/bug_report.h"
#include "shell/dropped_paths.h"
#include "shell/localize_widgets.h"
#include "support/alerts.h"
#include "support/diagnostics.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QApplication>
#include <QClipboard>
#include <QFileInfo>
#include <QMessageBox>

namespace qv
{
namespace
{

void showNote(QWidget *window, const QString &title, const QString &text, const QString &detail)
{
    auto *note = new QMessageBox(window);
    note->setAttribute(Qt::WA_DeleteOnClose);
    note->setWindowModality(Qt::WindowModal);
    note->setWindowTitle(title);
    note->setTextFormat(Qt::PlainText);
    note->setText(text);
    note->setInformativeText(detail);
    note->setIconPixmap(window->windowIcon().pixmap(64, 64));
    note->open();
}

} // namespace

void Desktop::connectMenus()
{
    const auto on = [this](QAction *action, auto handler) {
        connect(action, &QAction::triggered, this, handler);
    };
    const Menus &menus = *m_menus;
    on(menus.about, &Desktop::showAbout);
    on(menus.preferences, [this] { m_preferencesWindow->iba_menuPref(); });
    on(menus.quit, [this] { quit(); });
    on(menus.open, [this] { m_controller->iba_menuOpen(); });
    on(menus.openFolder, &Desktop::iba_menuOpenFolder);
    on(menus.chooseDestination, [this] { m_face->chooseDestination(); });
    on(menus.showDestination, &Desktop::showDestinationFolder);
    on(menus.paste, &Desktop::paste);
    on(menus.selectAll, [this] { m_drawer->view()->selectAll(); });
    on(menus.remove, [this] { m_controller->encBatchRemove(appDelegate::Sender::Button); });
    on(menus.removeAll, [this] { m_controller->encBatchRemoveAll(appDelegate::Sender::Button); });
    on(menus.undoRemoveAll, [this] { m_controller->undoRemoveAll(); });
    on(menus.go, [this] { m_controller->iba_batchGoBt(); });
    on(menus.pause, [this] { m_controller->iba_taskStopBt(StopControl::pauseSegment); });
    on(menus.stop, [this] { m_controller->iba_taskStopBt(StopControl::stopSegment); });
    on(menus.stopAnalysis, [this] { m_controller->iba_analysisStopBt(); });
    on(menus.drawer, [this](bool open) {
        m_window->setDrawerOpen(open);
        m_controller->drawerToggled(open);
    });
    on(menus.debugToggle, &Desktop::iba_menuDebug);
    on(menus.showLogs, &Desktop::showLogs);
    on(menus.helpPage, [this] { m_help->open(); });
    on(menus.bugReport, &Desktop::iba_menuBugReport);
    for (QAction *action : menus.appearances->actions()) {
        const QString appearance = action->data().toString();
        action->setChecked(appearance == m_memory.appearance());
        on(action, [this, appearance] { setAppearance(appearance); });
    }
}

void Desktop::connectControls()
{
    dragNDropView &drop = m_window->dropView();
    connect(&drop, &dragNDropView::performDrag, m_controller.get(),
            &appDelegate::dragNDropPerformDrag);
    connect(&drop, &dragNDropView::nothingDropped, this,
            [this] { m_window->notice(localized(QStringLiteral("nothingToDrop"))); });
    connect(&drop, &dragNDropView::stopRequested, m_controller.get(),
            &appDelegate::iba_analysisStopBt);
    connect(&drop, &dragNDropView::openRequested, m_controller.get(), &appDelegate::iba_menuOpen);
    BatchControls &controls = m_window->controls();
    connect(&controls, &BatchControls::goClicked, m_controller.get(), &appDelegate::iba_batchGoBt);
    connect(&controls, &BatchControls::taskStopClicked, m_controller.get(),
            &appDelegate::iba_taskStopBt);
    connect(&controls, &BatchControls::folderRequested, this,
            [this] { m_face->chooseDestination(); });
    connect(&controls, &BatchControls::quickPicturesChosen, this,
            [this](bool quick) { m_memory.setQuickPictures(quick); });
    connect(m_window.get(), &MainWindow::closeRequested, this, &Desktop::quitByClosing);
    connect(m_workspace.get(), &Workspace::failed, m_window.get(), &MainWindow::notice);
    connect(&m_preferences, &PreferencesStore::notSaved, this, &Desktop::settingsNotSaved);
    connect(m_preferencesWindow, &PreferencesWindow::saved, this, &Desktop::preferencesSaved);
}

void Desktop::iba_menuOpenFolder()
{
    const QString folder = m_chooser->folder(
        m_window.get(), localized(QStringLiteral("chooseFolderOfVideos")), m_memory.sourceFolder());
    if (!folder.isEmpty()) {
        m_memory.setSourceFolder(folder);
        m_controller->draggedFiles({folder});
    }
}

void Desktop::paste()
{
    const QMimeData *data = QApplication::clipboard()->mimeData();
    const QStringList paths = data == nullptr ? QStringList() : pathsIn(*data);
    if (paths.isEmpty()) {
        m_window->notice(localized(QStringLiteral("nothingToPaste")));
    } else {
        m_controller->draggedFiles(paths);
    }
}

// The item says what its next click does.
void Desktop::iba_menuDebug()
{
    QAction *action = m_menus->debugToggle;
    const int before = action->isChecked() ? 0 : 1;
    const DebugMenuItem item = iba_menuDebugToggle({action->text(), before});
    action->setText(item.title);
    action->setChecked(item.state == 1);
}

void Desktop::iba_menuBugReport()
{
    QStringList there;
    const QList<bool> flags = m_decoders.flags();
    for (qsizetype i = 0; i < flags.size(); ++i) {
        if (flags.at(i)) {
            there.append(DecoderQuery::codes().value(i).trimmed());
        }
    }
    const BugReportFacts facts =
        BugReportFacts::gathered(m_ffmpeg.versionLine(), m_ffmpeg.revision(), there);
    m_workspace->openUrl(bugReportMail(facts));
}

void Desktop::showAbout()
{
    showNote(m_window.get(), localized(QStringLiteral("menuAbout")), Bundle::main().name(),
             localized(QStringLiteral("about_1")).arg(Bundle::main().version()) +
                 QStringLiteral("\n\n") + localized(QStringLiteral("about_2")));
}

// The sheet's actions go to the updater, the updater's words to the sheet.
void Desktop::makeUpdater()
{
    m_updateFace = std::make_unique<WindowUpdateFace>(
        WindowUpdateFace::Widgets{*m_window, *m_preferencesWindow, *m_updateWindow, *m_controller,
                                  [this] { quit(appDelegate::Quit::AtOnce); }});
    m_updater = std::make_unique<Updater>(Updater::Parts{m_preferences, *m_updateFace});
    connect(m_updateWindow, &UpdateWindow::segmentClicked, this,
            [this](int segment) { m_updater->iba_dl(segment); });
    connect(m_updateWindow, &UpdateWindow::cancelClicked, this, [this] { m_updater->cancel(); });
    connect(m_updateWindow, &UpdateWindow::linkClicked, this,
            [this](const QUrl &address) { m_workspace->openUrl(address); });
    const auto check = [this] { m_updater->iba_checkForUpdates(Updater::Sender::Nobody); };
    m_preferencesWindow->checkForUpdates = check;
    connect(m_preferencesWindow, &QDialog::finished, this, [this, check] {
        if (m_updateFace->takePutOff() && !m_isOver) {
            check();
        }
    });
}

void Desktop::showLogs()
{
    m_workspace->reveal({detailsLogPath()});
}

void Desktop::showDestinationFolder()
{
    const QString own = m_controller->destinationFolder();
    const QString folder = QFileInfo(own).isDir() ? own : expandTilde(m_face->destination());
    if (QFileInfo(folder).isDir()) {
        m_workspace->open(folder);
    } else {
        m_window->notice(localized(QStringLiteral("D_go_dossier_destination1")));
    }
}

// A destination that was chosen for this session stays.
void Desktop::preferencesSaved()
{
    if (!m_preferences.synchronize()) {
        alertReport(localized(QStringLiteral("D_echec_1")),
                    localized(QStringLiteral("troubleSettingsNotSaved"))
                        .arg(QFileInfo(m_preferences.path()).path()),
                    0, AlertPlace::SheetOnWindow);
    }
    const bool isUsual =
        m_face->destination().isEmpty() || m_face->destination() == m_storedDestination;
    if (isUsual) {
        showDestination();
    }
    m_face->takePreferences();
}

void Desktop::setAppearance(const QString &appearance)
{
    applyAppearance(appearance);
    m_memory.setAppearance(appearance);
    m_memory.save();
}

} // namespace qv
