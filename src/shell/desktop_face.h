#pragma once

#include "controller/app_delegate.h"
#include "controller/face.h"
#include "shell/batch_drawer.h"
#include "shell/file_chooser.h"
#include "shell/help_window.h"
#include "shell/main_window.h"
#include "shell/menus.h"
#include "shell/preferences_window.h"
#include "shell/time_left.h"
#include "shell/workspace.h"

#include <QHash>
#include <QObject>
#include <QTimer>

#include <optional>

// The controller's view of the windows: what it tells is shown, what it asks is read from the
// controls or asked of the user.
namespace qv
{

class DesktopFace : public QObject, public Face
{
    Q_OBJECT

public:
    // The widgets that it speaks for; the drawer comes when the controller stands.
    struct Widgets {
        MainWindow &window;
        Menus &menus;
        PreferencesWindow &preferencesWindow;
        PreferencesStore &preferences;
        WindowMemory &memory;
        FileChooser &chooser;
        Workspace &workspace;
        HelpWindow &help;
    };
    explicit DesktopFace(const Widgets &widgets);

    void setController(appDelegate &controller, BatchDrawer &drawer);
    // Counts and picture choice of the main window, from the stored preferences: those that changed
    // since the last time, for the others may have been chosen in the window.
    void takePreferences();
    // Shows the last state now instead of soon.
    void showNow();

    void windowChanged(const WindowState &window) override;
    void rowsChanged() override;
    void rowChanged(int row) override;
    void gateChanged(bool open) override;
    void sourceSkipped(const QString &source, const QString &reason) override;
    void leftOut(const QList<LeftOut> &paths, int duplicates) override;
    void pathsWaiting(const QStringList &paths) override;
    void rowFinished(const RowResult &result) override;
    void batchEnded(const QString &message, const QString &folder) override;
    void batchStopped() override;

    QString destination() const override { return m_widgets.window.controls().destination(); }
    void setDestination(const QString &path) override;
    QString defaultDestination() const override;
    void setDefaultDestination(const QString &path) override;
    int layoutIndex() const override { return m_widgets.window.controls().layoutIndex(); }
    int pictureChoice() const override { return m_widgets.window.controls().pictureChoice(); }
    QString layoutLabel(int out) const override;
    int thumbnailCount(int out) const override;
    bool captionShown(const QString &caption) const override;
    bool refusesDamaged() const override;
    bool wantsQuickPictures() const override { return m_widgets.memory.wantsQuickPictures(); }
    QStringList chooseSources(const QString &title, const QStringList &extensions) override;
    void chooseDestination() override;
    void closeHelp() override { m_widgets.help.close(); }

private:
    void followBatch();
    void followDrawer();
    void showMenus();
    void showGate(bool open);
    void showProgress();
    QString batchSummary() const;
    void admitWaiting();
    std::optional<int> changedPreference(const QString &key);

    Widgets m_widgets;
    appDelegate *m_controller = nullptr;
    BatchDrawer *m_drawer = nullptr;
    WindowState m_state;
    QTimer m_showSoon;
    TimeLeft m_timeLeft;
    bool m_batchSeen = false;
    bool m_drawerSeen = false;
    struct Counts {
        int made = 0;
        int kept = 0;
        int failed = 0;
    };
    Counts m_counts; // of the rows that the present or last batch finished
    QList<QStringList> m_waiting;
    QHash<QString, int> m_taken; // by preference
};

} // namespace qv
