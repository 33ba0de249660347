#pragma once

#include "controller/admission.h"
#include "controller/analysis_driver.h"
#include "controller/batch_table.h"
#include "controller/context.h"
#include "controller/encoding_driver.h"
#include "controller/face.h"
#include "controller/task_slots.h"

#include <QObject>
#include <QSet>
#include <QStringList>

// The controller: sources come in and become rows of the batch, rows become sheets. The window and
// the headless command drive it through this interface and see it through a Face.
namespace qv
{

class appDelegate : public QObject
{
    Q_OBJECT

public:
    appDelegate(PreferencesStore &preferences, Face &face, MovieFramework &movies,
                Placement placement);
    ~appDelegate() override;

    // Who asks for a removal: its button, or the controller itself.
    enum class Sender { Button, Internal };

    // ---- what comes in
    // Admits dropped or opened paths and starts their analysis; while the gate is closed the face
    // is told of them instead.
    void draggedFiles(const QStringList &paths);
    // The same for paths that already are what they stand for: no alias is resolved and no folder
    // walked.
    void admitSources(const QStringList &paths);
    void dragNDropPerformDrag(const QStringList &paths);
    void applicationOpenFiles(const QStringList &paths);
    void iba_menuOpen();

    // ---- the batch table
    BatchTable &whichArrayController() { return m_table; }
    const BatchTable &table() const { return m_table; }
    const WindowState &window() const { return m_window; }
    bool isGateOpen() const { return m_context.gateOpen; }
    void encBatchRemove(Sender sender);
    void encBatchRemoveAll(Sender sender);
    // Puts back the rows that the user's last removal of all took away.
    void undoRemoveAll();
    bool canUndoRemoveAll() const { return !m_removed.empty(); }
    int encBatchInprogressRowIdentification() const;
    // How many tools may take a row's pictures at once, from the next row on.
    void setToolsPerRow(int tools) { m_context.placement.toolsPerRow = tools; }
    void iba_batchGoBt();

    // ---- the step machines
    void analysis() { m_analysis.analysis(); }
    void encSend(const QString &stepNameStr) { m_encoding.encSend(stepNameStr); }
    void taskLauncherDone() { m_taskSlots.taskLauncherDone(nullptr); }
    void tasklauncherSuspend();
    void tasklauncherResume();

    // ---- the stop controls
    // The batch's control: its first segment pauses and resumes, its second stops the batch.
    void iba_taskStopBt(int segment);
    void iba_analysisStopBt();

    // The user opened or closed the drawer.
    void drawerToggled(bool open);

    // ---- the end
    // Quitting: asks when a batch is being encoded, then ends whatever runs, leaves no half-made
    // file and saves the settings. False when the user cancelled; else the application is to end.
    enum class Quit { Asking, AtOnce };
    bool iba_menuQuit(Quit how = Quit::Asking);
    bool applicationShouldTerminateAfterLastWindowClosed();
    // When the event loop has ended, for whatever reason.
    void applicationWillTerminate();

    // Where a source's sheet goes, without extension; and that of one source settled by another
    // process.
    QString sheetBase(const QString &sourcePath) { return m_encoding.sheetBase(sourcePath); }
    void giveSheetBase(const QString &sourcePath, const QString &base)
    {
        m_encoding.giveSheetBase(sourcePath, base);
    }
    QString destinationFolder() const { return m_encoding.destinationFolder(); }
    QSet<QString> admittedExtensions() const { return m_admitted; }

private:
    void performOpenFiles(const QStringList &paths);
    void admit(const QStringList &paths, decltype(&expandedDrop) expand);
    QStringList withoutDuplicates(const QStringList &paths) const;
    void pauseForAdmission();
    void resumeAfterAdmission();
    void showStopControl();
    void admitNothing(bool wrongTypes);
    void removeRows(const QList<int> &indexes);
    void removePreviews();
    bool userRemovesAll();
    void rowsWentAway();
    bool hasDestination();
    bool userEndsBatch();
    void closeDown();

    BatchTable m_table;
    std::vector<RemovedRow> m_removed;
    WindowState m_window;
    TaskSlots m_taskSlots;
    ControllerContext m_context;
    AnalysisDriver m_analysis;
    EncodingDriver m_encoding;
    QSet<QString> m_admitted;
    bool m_pausedByAdmission = false;
    bool m_isClosing = false; // the application quits
    bool m_asksToQuit = false;
    QStringList m_leftPreviews; // of rows that are gone
};

} // namespace qv
