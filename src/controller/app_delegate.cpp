#include "controller/app_delegate.h"

#include "controller/admission.h"
#include "controller/destination.h"
#include "controller/store_keys.h"
#include "support/alerts.h"
#include "support/bundle.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/variant_values.h"

#include <QTimer>

namespace qv
{
namespace
{

constexpr double removeAllQuestionSeconds = 60;
constexpr qsizetype previewsAtOnce = 100;

} // namespace

appDelegate::appDelegate(PreferencesStore &preferences, Face &face, MovieFramework &movies,
                         Placement placement)
    : m_taskSlots(m_window, [this] { m_context.windowChanged(); }),
      m_context{preferences, face,        movies,    m_table,
                m_window,    m_taskSlots, placement, [] { return QDateTime::currentDateTime(); }},
      m_analysis(m_context), m_encoding(m_context),
      m_admitted(qv::admittedExtensions(Bundle::main().documentExtensions()))
{
    m_taskSlots.setPicturesFollow(placement.quickPicturesFollow);
    m_taskSlots.analysisRunEnded = [this] { m_analysis.analysisLater(); };
    m_taskSlots.encodingRunEnded = [this] { m_encoding.encSend(keys::stepProcesses); };
    m_analysis.resumePausedBatch = [this] { resumeAfterAdmission(); };
}

appDelegate::~appDelegate()
{
    m_taskSlots.analysisRunEnded = nullptr;
    m_taskSlots.encodingRunEnded = nullptr;
}

// ---- what comes in

void appDelegate::dragNDropPerformDrag(const QStringList &paths)
{
    draggedFiles(paths);
}

void appDelegate::applicationOpenFiles(const QStringList &paths)
{
    QTimer::singleShot(0, this, [this, paths] { performOpenFiles(paths); });
}

void appDelegate::performOpenFiles(const QStringList &paths)
{
    draggedFiles(paths);
}

void appDelegate::iba_menuOpen()
{
    if (!m_context.gateOpen) {
        return;
    }
    const QStringList chosen = m_context.face.chooseSources(
        localized(QStringLiteral("selectFileStr")), Bundle::main().documentExtensions());
    draggedFiles(chosen);
}

void appDelegate::draggedFiles(const QStringList &paths)
{
    logLine(QStringLiteral("drag'n'drop         -> draggedFiles : %1").arg(paths.size()));
    admit(paths, expandedDrop);
}

void appDelegate::admitSources(const QStringList &paths)
{
    admit(paths, [](const QStringList &p, QStringList *) { return p; });
}

void appDelegate::admit(const QStringList &paths, decltype(&expandedDrop) expand)
{
    if (paths.isEmpty()) {
        return;
    }
    if (!m_context.gateOpen) {
        m_context.face.pathsWaiting(paths);
        return;
    }
    m_window.showBusy();
    m_context.windowChanged();
    m_context.setGate(false);
    pauseForAdmission();
    QStringList closed;
    const QStringList expanded = expand(paths, &closed);
    const QStringList fresh = withoutDuplicates(expanded);
    m_context.face.leftOut(leftOutOf(paths, expanded, closed, m_admitted),
                           static_cast<int>(expanded.size() - fresh.size()));
    const QStringList admitted = admittedOf(paths, fresh, m_admitted);
    if (admitted.isEmpty()) {
        admitNothing(!fresh.isEmpty());
        return;
    }
    logLine(QStringLiteral("drag'n'drop, final  = %1").arg(admitted.size()));
    m_analysis.handOver(admitted);
    m_window.analysisStopShown = true;
    m_window.analysisStopEnabled = true;
    m_context.windowChanged();
    m_analysis.analysisLater();
}

QStringList appDelegate::withoutDuplicates(const QStringList &paths) const
{
    QStringList fresh;
    QSet<QString> seen;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (m_table.indexOfSource(paths.at(i)) < 0 && !seen.contains(paths.at(i))) {
            seen.insert(paths.at(i));
            fresh.append(paths.at(i));
            continue;
        }
        logLine(QStringLiteral("doublon             : pas de sur-analyse pour rien ;-) #%1/%2 : %3")
                    .arg(QString::number(i + 1), QString::number(paths.size()), paths.at(i)));
    }
    return fresh;
}

void appDelegate::admitNothing(bool wrongTypes)
{
    logLine(QStringLiteral("no compatible file (or no new files ;-))"));
    if (wrongTypes) {
        alertReport(localized(QStringLiteral("dndNonCompliantFolderFilesTitle")),
                    localized(QStringLiteral("D_go_source3")), 0, AlertPlace::SheetOnWindow);
    }
    m_window.showIdle();
    resumeAfterAdmission();
    m_window.goEnabled = m_window.goEnabled || (!m_table.isEmpty() && !m_window.goPressed);
    m_context.setGate(true);
    m_context.windowChanged();
    m_context.face.analysisEnded();
}

// ---- pausing a batch while a drop is analysed

void appDelegate::pauseForAdmission()
{
    if (!m_window.goPressed) {
        return;
    }
    const bool isRunning = !m_encoding.isPaused();
    if (m_window.stop.hasTwoSegments() && m_window.stop.offersPause()) {
        iba_taskStopBt(StopControl::pauseSegment);
    } else {
        tasklauncherSuspend();
    }
    m_pausedByAdmission = isRunning && m_encoding.isPaused();
    showStopControl();
    logLine(QStringLiteral("was in progress     : to suspend"));
    m_window.goEnabled = false;
}

// Only what the admission itself paused: a batch that the user paused stays paused.
void appDelegate::resumeAfterAdmission()
{
    if (!std::exchange(m_pausedByAdmission, false)) {
        return;
    }
    if (m_window.stop.hasTwoSegments() && m_window.stop.selected == StopControl::pauseSegment) {
        iba_taskStopBt(StopControl::pauseSegment);
    } else {
        tasklauncherResume();
    }
    logLine(QStringLiteral("was suspended       : to resume"));
}

void appDelegate::tasklauncherSuspend()
{
    if (m_encoding.pause()) {
        m_taskSlots.tasklauncherSuspend();
    }
}

void appDelegate::tasklauncherResume()
{
    if (m_encoding.resume()) {
        m_taskSlots.tasklauncherResume();
    }
}

void appDelegate::iba_taskStopBt(int segment)
{
    if (!m_window.goPressed) {
        return;
    }
    m_window.stop.selected = segment;
    if (segment == StopControl::stopSegment) {
        m_encoding.stop();
    } else if (m_encoding.isPaused()) {
        tasklauncherResume();
    } else {
        tasklauncherSuspend();
    }
    m_pausedByAdmission = m_pausedByAdmission && m_encoding.isPaused();
    showStopControl();
}

void appDelegate::showStopControl()
{
    StopControl &stop = m_window.stop;
    stop.images[StopControl::pauseSegment] =
        m_encoding.isPaused() ? QStringLiteral("btResume") : QStringLiteral("btPause");
    stop.enabled = !m_pausedByAdmission && !m_encoding.isStopping();
    stop.waitsForAnalysis = m_pausedByAdmission;
    m_context.windowChanged();
}

void appDelegate::drawerToggled(bool open)
{
    m_window.drawerOpen = open;
}

void appDelegate::iba_analysisStopBt()
{
    m_analysis.stop();
}

// ---- the batch table

int appDelegate::encBatchInprogressRowIdentification() const
{
    return m_encoding.encBatchInprogressRowIdentification();
}

void appDelegate::encBatchRemove(Sender sender)
{
    logLine(QStringLiteral("encBatchRemove      - deb"));
    QList<int> selection = m_table.selection();
    if (selection.isEmpty() && sender == Sender::Internal && !m_table.isEmpty()) {
        selection = {0};
    }
    if (selection.isEmpty()) {
        return;
    }
    if (sender == Sender::Button && selection.contains(encBatchInprogressRowIdentification())) {
        logLine(QStringLiteral("pas de suppression de la source en cours d'encodage ;-)"));
        alertReport(localized(QStringLiteral("D_batch_1")), QString(), 0,
                    AlertPlace::SheetOnWindow);
        return;
    }
    removeRows(selection);
}

void appDelegate::removeRows(const QList<int> &indexes)
{
    for (const int index : indexes) {
        m_leftPreviews.append(stringIn(m_table.row(index).dico, QStringLiteral("imgPathStr")));
    }
    removePreviews();
    m_table.remove(QSet<int>(indexes.begin(), indexes.end()));
    rowsWentAway();
}

// A few at a time: thousands of files would keep the window from answering.
void appDelegate::removePreviews()
{
    const QStringList some = m_leftPreviews.mid(0, previewsAtOnce);
    m_leftPreviews.remove(0, some.size());
    for (const QString &preview : some) {
        rmCocoa(preview);
    }
    if (!m_leftPreviews.isEmpty()) {
        QMetaObject::invokeMethod(this, &appDelegate::removePreviews, Qt::QueuedConnection);
    }
}

void appDelegate::encBatchRemoveAll(Sender sender)
{
    const bool isUsers = sender == Sender::Button;
    if (m_table.isEmpty() || (isUsers && !userRemovesAll())) {
        return;
    }
    QSet<int> others;
    for (int i = 0; i < m_table.count(); ++i) {
        others.insert(i);
    }
    others.remove(encBatchInprogressRowIdentification());
    // Their previews stay on the disk until the application quits, so that they can come back.
    std::vector<RemovedRow> removed = m_table.take(others);
    if (isUsers) {
        m_removed = std::move(removed);
    }
    rowsWentAway();
}

bool appDelegate::userRemovesAll()
{
    const QString cancel = localized(QStringLiteral("D_Annuler"));
    return utilsAlert::timedQuestion(localized(QStringLiteral("D_batch_4")),
                                     localized(QStringLiteral("D_batch_5")), 0,
                                     localized(QStringLiteral("D_oui")), cancel, QString(),
                                     removeAllQuestionSeconds, QString(), AlertButton::Alternate)
               .text != cancel;
}

void appDelegate::undoRemoveAll()
{
    if (m_removed.empty()) {
        return;
    }
    m_table.restore(std::exchange(m_removed, {}));
    m_window.goEnabled = m_window.goEnabled || !m_window.goPressed;
    m_window.drawerOpen = true;
    m_context.face.rowsChanged();
    m_context.windowChanged();
}

void appDelegate::rowsWentAway()
{
    if (m_table.isEmpty()) {
        m_window.goEnabled = false;
        m_window.drawerOpen = false;
    }
    m_context.face.rowsChanged();
    m_context.windowChanged();
}

// ---- Go

// False when there is nowhere to write. The user is told once, and may choose another folder; the
// batch waits for the next Go.
bool appDelegate::hasDestination()
{
    Face &face = m_context.face;
    if (face.destination().isEmpty() && fileExists(face.defaultDestination())) {
        face.setDestination(face.defaultDestination());
    }
    // The command tells of each sheet why it could not be written.
    const bool tries = !m_context.placement.stillsInTemporaryFolder;
    const auto problem =
        prepareDestination(face.destination(), tries ? m_encoding.destinationFolder() : QString());
    if (problem) {
        alertReport(problem->title, problem->detail, 2, AlertPlace::ApplicationModal);
        face.chooseDestination();
    }
    return !problem;
}

void appDelegate::iba_batchGoBt()
{
    logLine(QStringLiteral("-------------------- iba_batchGoBt"));
    if (m_table.isEmpty() || m_window.goPressed || !hasDestination()) {
        return;
    }
    Face &face = m_context.face;
    if (face.defaultDestination().isEmpty()) {
        face.setDefaultDestination(face.destination());
    }
    m_window.goEnabled = false;
    m_window.goPressed = true;
    for (int i = 0; i < m_table.count(); ++i) {
        m_table.row(i).resultat = RowMark::Puce;
    }
    face.rowsChanged();
    m_context.windowChanged();
    m_encoding.begin();
}

} // namespace qv
