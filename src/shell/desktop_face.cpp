#include "shell/desktop_face.h"

#include "controller/admission.h"
#include "settings/preferences_store.h"
#include "sheet/caption_texts.h"
#include "sheet/layout.h"
#include "shell/choice_labels.h"
#include "shell/reason_text.h"
#include "support/alerts.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/numbers.h"

#include <QApplication>
#include <QFileInfo>
#include <QLocale>

namespace qv
{
namespace
{

// Changes come by the hundred; the eye sees thirty a second.
constexpr int showMilliseconds = 33;
constexpr int endMessageSeconds = 8;

} // namespace

DesktopFace::DesktopFace(const Widgets &widgets) : m_widgets(widgets)
{
    m_showSoon.setSingleShot(true);
    m_showSoon.setInterval(showMilliseconds);
    connect(&m_showSoon, &QTimer::timeout, this, &DesktopFace::showNow);
}

void DesktopFace::setController(appDelegate &controller, BatchDrawer &drawer)
{
    m_controller = &controller;
    m_drawer = &drawer;
    m_state = controller.window();
    m_drawerSeen = m_state.drawerOpen;
    showNow();
}

void DesktopFace::takePreferences()
{
    BatchControls &controls = m_widgets.window.controls();
    for (int out = 0; out < layoutCount; ++out) {
        if (const auto count = changedPreference(countPreference(out))) {
            controls.setThumbnailCount(out, *count);
        }
    }
    if (const auto choice = changedPreference(QStringLiteral("prefDpi"))) {
        controls.setPictureChoice(*choice);
    }
}

std::optional<int> DesktopFace::changedPreference(const QString &key)
{
    const int now = intValue(m_widgets.preferences.prefReadString(key));
    const auto before = m_taken.constFind(key);
    if (before != m_taken.cend() && *before == now) {
        return std::nullopt;
    }
    m_taken.insert(key, now);
    return now;
}

// ---- what is shown

void DesktopFace::windowChanged(const WindowState &window)
{
    m_state = window;
    followBatch();
    if (!m_showSoon.isActive()) {
        m_showSoon.start();
    }
}

void DesktopFace::showNow()
{
    m_showSoon.stop();
    followDrawer();
    m_widgets.window.show(m_state);
    showMenus();
    showProgress();
}

// The clock of the time that is left starts and rests with the batch.
void DesktopFace::followBatch()
{
    if (m_state.goPressed != m_batchSeen) {
        m_batchSeen = m_state.goPressed;
        if (m_batchSeen) {
            m_counts = {};
            m_timeLeft.start();
        } else {
            m_timeLeft.stop();
        }
    }
    m_timeLeft.setPaused(!m_state.stop.offersPause());
}

// The controller opens and closes the drawer at certain moments; in between it is the user's.
void DesktopFace::followDrawer()
{
    if (m_state.drawerOpen != m_drawerSeen) {
        m_drawerSeen = m_state.drawerOpen;
        // Refused sources outlast the rows, and must not go out of sight with them.
        const bool isNeeded = m_drawer != nullptr && m_drawer->refused()->count() > 0;
        if (m_drawerSeen || !isNeeded) {
            m_widgets.window.setDrawerOpen(m_drawerSeen);
        }
    }
}

void DesktopFace::showMenus()
{
    Menus &menus = m_widgets.menus;
    const bool gate = m_controller != nullptr && m_controller->isGateOpen();
    const bool paused = !m_state.stop.offersPause();
    menus.go->setEnabled(m_state.goEnabled && !m_state.goPressed);
    menus.pause->setEnabled(m_state.goPressed && m_state.stop.enabled);
    menus.pause->setText(
        localized(paused ? QStringLiteral("menuResume") : QStringLiteral("menuPause")));
    menus.stop->setEnabled(m_state.goPressed);
    menus.stopAnalysis->setEnabled(m_state.analysisStopShown && m_state.analysisStopEnabled);
    menus.undoRemoveAll->setEnabled(m_controller != nullptr && m_controller->canUndoRemoveAll());
    menus.drawer->setChecked(m_widgets.window.isDrawerOpen());
    showGate(gate);
}

void DesktopFace::showGate(bool open)
{
    const Menus &menus = m_widgets.menus;
    for (QAction *action : {menus.open, menus.openFolder, menus.paste}) {
        action->setEnabled(open);
    }
    m_widgets.window.dropView().setAcceptsDrops(open);
}

void DesktopFace::showProgress()
{
    BatchControls &controls = m_widgets.window.controls();
    const int row =
        m_controller == nullptr ? -1 : m_controller->encBatchInprogressRowIdentification();
    if (!m_state.goPressed || row < 0) {
        controls.showBatch(m_state.goPressed ? QString() : batchSummary(), QString());
        return;
    }
    const int rows = m_controller->table().count();
    const double part = m_state.stepMaximum > 0 ? (m_state.stepValue - 1) / m_state.stepMaximum : 0;
    const auto left = m_timeLeft.seconds((row + part) / rows);
    controls.showBatch(localized(QStringLiteral("batchProgress")).arg(row + 1).arg(rows),
                       left ? timeLeftText(*left) : QString());
}

void DesktopFace::rowsChanged()
{
    if (m_drawer != nullptr) {
        m_drawer->rowsChanged();
    }
    if (m_controller != nullptr && m_controller->table().isEmpty()) {
        m_counts = {};
    }
}

void DesktopFace::rowChanged(int row)
{
    if (m_drawer != nullptr) {
        m_drawer->rowChanged(row);
    }
}

// ---- what comes in and what does not

void DesktopFace::gateChanged(bool open)
{
    showGate(open);
    if (open && !m_waiting.isEmpty()) {
        QMetaObject::invokeMethod(this, &DesktopFace::admitWaiting, Qt::QueuedConnection);
    }
}

void DesktopFace::pathsWaiting(const QStringList &paths)
{
    m_waiting.append(paths);
    m_widgets.window.notice(localized(QStringLiteral("pathsWaiting")));
}

// One list a time, as they came: a folder at the head of one would displace the others.
void DesktopFace::admitWaiting()
{
    if (m_controller != nullptr && m_controller->isGateOpen() && !m_waiting.isEmpty()) {
        m_controller->draggedFiles(m_waiting.takeFirst());
    }
}

void DesktopFace::sourceSkipped(const QString &source, const QString &reason)
{
    if (m_drawer != nullptr) {
        m_drawer->addRefused(source, reasonText(reason));
    }
    m_widgets.window.setDrawerOpen(true);
}

void DesktopFace::leftOut(const QList<LeftOut> &paths, int duplicates)
{
    for (const LeftOut &left : paths) {
        sourceSkipped(left.path, left.reason);
    }
    if (duplicates > 0) {
        m_widgets.window.notice(localized(QStringLiteral("duplicatesLeftOut")).arg(duplicates));
    }
}

// ---- the batch

void DesktopFace::rowFinished(const RowResult &result)
{
    switch (result.status) {
    case RowResult::Status::Made:
        ++m_counts.made;
        break;
    case RowResult::Status::Kept:
        ++m_counts.kept;
        break;
    case RowResult::Status::Failed:
        ++m_counts.failed;
        break;
    case RowResult::Status::Stopped:
        break;
    }
    const int row =
        m_controller == nullptr ? -1 : m_controller->table().indexOfSource(result.source);
    if (row >= 0) {
        m_controller->whichArrayController().row(row).isQuick = result.isQuick;
    } else if (result.status == RowResult::Status::Failed) {
        // A row that vanished with its source is told among the refused ones.
        sourceSkipped(result.source, result.reason);
    }
}

QString DesktopFace::batchSummary() const
{
    if (m_counts.made + m_counts.kept + m_counts.failed == 0) {
        return {};
    }
    const QLocale numbers(language());
    QStringList parts{localized(QStringLiteral("sheetsMade")).arg(numbers.toString(m_counts.made))};
    if (m_counts.kept > 0) {
        parts << localized(QStringLiteral("sheetsKept")).arg(numbers.toString(m_counts.kept));
    }
    if (m_counts.failed > 0) {
        parts << localized(QStringLiteral("sheetsFailed")).arg(numbers.toString(m_counts.failed));
    }
    return parts.join(QStringLiteral(" · "));
}

void DesktopFace::batchEnded(const QString &message, const QString &folder)
{
    const QString summary = batchSummary();
    if (m_counts.made > 0) {
        m_widgets.workspace.open(folder);
    }
    if (QApplication::activeWindow() == nullptr) {
        m_widgets.workspace.notify(message, summary);
        QApplication::alert(&m_widgets.window);
    }
    // The message stays some seconds; whoever ended the batch goes on meanwhile.
    QMetaObject::invokeMethod(
        this,
        [message, summary] {
            utilsAlert::timedSheet(message, summary, QStringLiteral("OK"), QString(), QString(),
                                   endMessageSeconds);
        },
        Qt::QueuedConnection);
}

void DesktopFace::batchStopped()
{
    showNow();
    m_widgets.window.notice(localized(QStringLiteral("batchStopped")));
}

// ---- what is asked

void DesktopFace::setDestination(const QString &path)
{
    m_widgets.window.controls().setDestination(path);
}

QString DesktopFace::defaultDestination() const
{
    return m_widgets.preferencesWindow.destinationText();
}

void DesktopFace::setDefaultDestination(const QString &path)
{
    m_widgets.preferencesWindow.setDestinationText(path);
}

QString DesktopFace::layoutLabel(int out) const
{
    return layoutLabels().value(static_cast<int>(sheetLayout(out)));
}

int DesktopFace::thumbnailCount(int out) const
{
    return m_widgets.window.controls().thumbnailCount(static_cast<int>(sheetLayout(out)));
}

bool DesktopFace::refusesDamaged() const
{
    return intValue(m_widgets.preferences.prefReadString(QStringLiteral("prefRefuseDamaged"))) != 0;
}

bool DesktopFace::captionShown(const QString &caption) const
{
    return isCaptionOn(m_widgets.preferences, caption);
}

QStringList DesktopFace::chooseSources(const QString &title, const QStringList &extensions)
{
    const QSet<QString> spellings = admittedExtensions(extensions);
    QStringList patterns(spellings.begin(), spellings.end());
    patterns.sort();
    const QStringList chosen = m_widgets.chooser.files(&m_widgets.window, title, patterns,
                                                       m_widgets.memory.sourceFolder());
    if (!chosen.isEmpty()) {
        m_widgets.memory.setSourceFolder(QFileInfo(chosen.first()).path());
    }
    return chosen;
}

void DesktopFace::chooseDestination()
{
    const QString before = destination().isEmpty() ? defaultDestination() : destination();
    const QString chosen = m_widgets.chooser.folder(
        &m_widgets.window, localized(QStringLiteral("chooseDestinationTitle")),
        expandTilde(before));
    if (!chosen.isEmpty()) {
        setDestination(chosen);
    }
}

} // namespace qv
