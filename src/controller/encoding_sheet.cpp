// The part of the encoding driver that makes a row's sheet out of its stills and ends the row.

#include "controller/encoding_driver.h"

#include "controller/reasons.h"
#include "controller/sheet_delivery.h"
#include "controller/sheet_freshness.h"
#include "controller/store_keys.h"
#include "sheet/caption_texts.h"
#include "sheet/composer.h"
#include "sheet/extraction_plan.h"
#include "sheet/stills_folder.h"
#include "support/bundle.h"
#include "support/dates.h"
#include "support/diagnostics.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <memory>

namespace qv
{

// Whatever ends the application while a sheet grows, nothing partial carries its final name.
QString EncodingDriver::growingSheetFolder() const
{
    return appendPath(m_row.stills, QStringLiteral("sheet"));
}

// A large sheet takes a third of a second, and a slow disk much longer, so it is drawn, written and
// brought to its place on another thread. A pause or a stop that comes meanwhile counts from the
// next step on.
void EncodingDriver::composeRow()
{
    if (m_row.byMovieFramework) {
        noteMovieFailure();
    }
    if (m_row.byMovieFramework || m_row.isQuick) {
        noteInstants(m_context.taskSlots.lastEncodingRun().instants);
    }
    QDir(m_row.stills).mkdir(lastPathComponent(growingSheetFolder()));
    const QVariantMap display = displayOfRow();
    prepareSheet(display); // fonts are loaded by this thread
    using Composed = tl::expected<ComposedSheet, QString>;
    const auto composed = std::make_shared<Composed>();
    m_composing.run(
        [composed, dpi = m_row.dpi, display, provenance = provenanceOfRow()] {
            *composed = sheetPicture(dpi, display, provenance);
        },
        [this, composed] { takeSheet(*composed); });
}

void EncodingDriver::takeSheet(const tl::expected<ComposedSheet, QString> &composed)
{
    const bool nothingDrawn = composed && composed->drawn == 0;
    setChild(QStringLiteral("postProcessPurge"), m_row.stills);
    takeChild(QStringLiteral("appkyDisplay"));
    if (!composed) {
        m_row.reason = outerCause().value_or(composed.error());
        goOn();
        return;
    }
    m_row.drawn = composed->drawn;
    if (nothingDrawn) {
        rmCocoa(composed->path);
        const QString why = m_row.reason.isEmpty()
                                ? QStringLiteral("no picture could be taken from it")
                                : m_row.reason;
        m_row.reason = outerCause().value_or(why);
        goOn();
        return;
    }
    placeSheet(composed->path);
}

QVariantMap EncodingDriver::displayOfRow() const
{
    const PreferencesStore &store = m_context.preferences;
    QVariantMap display = child(QStringLiteral("appkyDisplay")).toMap();
    // By index and with its holes: a picture that did not come leaves its own cell empty.
    QStringList stills;
    for (int i = 0; i < m_row.asked; ++i) {
        stills.append(pictureFile(m_row.stills, i));
    }
    display.insert(QStringLiteral("dstPathStr"), growingSheetFolder());
    display.insert(QStringLiteral("th"), stills);
    display.insert(QStringLiteral("bigMedMinMix"), m_row.out);
    display.insert(QStringLiteral("borderColor"),
                   store.prefRead(QStringLiteral("prefBorderColor")));
    display.insert(QStringLiteral("borderSize"), store.prefRead(QStringLiteral("prefBorderSize")));
    display.insert(QStringLiteral("bkgColor"), store.prefRead(QStringLiteral("pageBkgColor")));
    for (const CaptionSwitch &caption : captionSwitches()) {
        if (!m_context.face.captionShown(caption.caption)) {
            display.remove(caption.caption);
        }
    }
    return display;
}

Provenance EncodingDriver::provenanceOfRow() const
{
    Provenance provenance;
    provenance.application = Bundle::main().name();
    provenance.version = Bundle::main().version();
    provenance.made = m_context.now().toUTC();
    provenance.title =
        stringIn(child(QStringLiteral("appkyDisplay")).toMap(), QStringLiteral("name"));
    provenance.sourceName = lastPathComponent(shownPath(m_row.source));
    if (!m_context.face.leavesOutPaths()) {
        provenance.sourcePath = rawPath(m_row.source);
    } else {
        provenance.sourceMark = pathMark(rawPath(m_row.source));
    }
    provenance.source = m_row.state;
    provenance.duration = m_row.duration;
    provenance.settings =
        sheetSettings(m_context.face, m_context.preferences, m_row.out, m_row.dpi);
    provenance.settings.count = m_row.asked;
    provenance.settings.quick = m_row.wishesQuick;
    provenance.madeQuick = m_row.isQuick;
    provenance.instants = m_row.instants;
    provenance.plannedInstants = m_row.planned;
    return provenance;
}

// What happened around the row: it explains a failure better than what the tool or the composer
// stumbled over.
std::optional<QString> EncodingDriver::outerCause() const
{
    if (!fileExists(m_row.source)) {
        return QStringLiteral("the file has vanished while its sheet was being made");
    }
    // Meanwhile the user may have chosen another one for the rows to come.
    const QString destination = QFileInfo(m_row.sheet).path();
    if (!QFileInfo(destination).isDir()) {
        return QStringLiteral("the destination folder has gone: %1").arg(destination);
    }
    if (const auto full = fullDisk()) {
        return full;
    }
    if (!QFileInfo(m_row.stills).isDir()) {
        return QStringLiteral("the folder of its stills has gone: %1").arg(m_row.stills);
    }
    return std::nullopt;
}

std::optional<QString> EncodingDriver::fullDisk() const
{
    const auto isFull = [](int free) { return free >= 0 && free < neededMegabytes; };
    if (const int free = freeDiskSpace(QFileInfo(m_row.sheet).path()); isFull(free)) {
        return reasons::destinationFull(free);
    }
    if (const int free = freeDiskSpace(QFileInfo(m_row.stills).path()); isFull(free)) {
        return QStringLiteral("the disk of the stills has no space left (%1 MB free)").arg(free);
    }
    return std::nullopt;
}

void EncodingDriver::placeSheet(const QString &composed)
{
    const bool replaces =
        m_row.replace ||
        numberValue(m_context.preferences.prefRead(keys::replaceFiles)).value_or(0) != 0;
    const auto placed = std::make_shared<DeliveryResult>();
    m_composing.run(
        [placed, delivery = SheetDelivery{composed, m_row.sheet, m_row.source, replaces,
                                          m_row.replacesAny}] { *placed = deliverSheet(delivery); },
        [this, placed, composed] { notePlaced(*placed, composed); });
}

void EncodingDriver::notePlaced(const DeliveryResult &placed, const QString &composed)
{
    const bool isTaken = placed.end == DeliveryEnd::OthersIsThere;
    const QString base = isTaken ? otherBase() : QString();
    if (!base.isEmpty()) {
        noteSheet(base);
        placeSheet(composed);
        return;
    }
    rmCocoa(composed);
    m_row.written = placed.end == DeliveryEnd::Done;
    m_row.kept = placed.end == DeliveryEnd::OwnIsThere;
    if (m_row.kept) {
        m_row.reason = reasons::sheetIsThere;
    } else if (isTaken) {
        m_row.reason = reasons::namesAreTaken;
    } else if (placed.end == DeliveryEnd::Failed) {
        m_row.reason = outerCause().value_or(placed.reason);
    }
    goOn();
}

// ---- the row's end

void EncodingDriver::finishRow()
{
    takeChild(keys::finish);
    m_context.preferences.prefDelete(keys::finish);
    purgeStills();
    WindowState &window = m_context.window;
    window.stepCaption.clear();
    window.stepValue = window.stepMaximum = 0;
    window.encoding.actionCaption.clear();
    if (isStopping()) {
        finishStopped();
        return;
    }
    markRow();
    m_context.preferences.prefDelete(keys::work);
    encSend(keys::stepBatch);
}

void EncodingDriver::markRow()
{
    const int index = m_context.table.indexOfSource(m_row.source);
    if (index < 0) {
        return;
    }
    BatchItem &row = m_context.table.row(index);
    if (row.resultat == RowMark::PuceCurrent) {
        const bool made = m_row.written && fileExists(m_row.sheet);
        if (!made && m_row.reason.isEmpty()) {
            m_row.reason = QStringLiteral("the sheet could not be written");
        }
        setMark(made ? RowMark::PuceSuccess : markWithoutSheet());
    }
    row.reason = m_row.reason;
    if (row.resultat == RowMark::PuceSuccess) {
        row.reason.clear();
        writeSummary();
        report(RowResult::Status::Made);
    } else {
        report(m_row.kept ? RowResult::Status::Kept : RowResult::Status::Failed);
    }
}

void EncodingDriver::finishStopped()
{
    if (!m_row.reported && !m_row.source.isEmpty()) {
        markStoppedRow();
    }
    m_context.preferences.prefDelete(keys::work);
    releaseBatch();
    m_context.window.goEnabled = !m_context.table.isEmpty();
    m_context.windowChanged();
    m_context.face.batchStopped();
}

// The stop may come when the row's outcome is settled already.
void EncodingDriver::markStoppedRow()
{
    const int index = m_context.table.indexOfSource(m_row.source);
    const bool isSettled =
        m_row.written || m_row.kept ||
        (index >= 0 && m_context.table.row(index).resultat == RowMark::PuceFailure);
    if (isSettled) {
        markRow();
        return;
    }
    m_row.reason = QStringLiteral("stopped");
    setMark(RowMark::PuceStopped);
    report(RowResult::Status::Stopped);
}

void EncodingDriver::writeSummary()
{
    const qint64 elapsed = std::max<qint64>(1, m_row.started.secsTo(m_context.now()));
    resumeLogAppend(QStringLiteral("   Total speed      : real time / %1\n"
                                   "date                : %2\n(made by Quorvantel)\n")
                        .arg(fixedText(m_row.duration / static_cast<double>(elapsed), 2),
                             dateDescription(m_context.now())));
}

void EncodingDriver::report(RowResult::Status status)
{
    RowResult result;
    result.status = status;
    result.source = m_row.source;
    const bool there = status == RowResult::Status::Made || status == RowResult::Status::Kept;
    result.sheet = there ? m_row.sheet : QString();
    result.reason = status == RowResult::Status::Made ? QString() : m_row.reason;
    result.picturesAsked = m_row.asked;
    result.picturesDrawn = m_row.drawn;
    result.isQuick = m_row.isQuick;
    result.instants = m_row.instants;
    result.picturesMoved = static_cast<int>(m_row.moved.size());
    result.hasWrongColours = m_row.hasWrongColours;
    result.duration = m_row.duration;
    result.seconds = static_cast<double>(m_row.clock.elapsed()) / 1000;
    m_row.reported = true;
    m_context.face.rowFinished(result);
}

RowMark EncodingDriver::markWithoutSheet() const
{
    return m_row.kept ? RowMark::PuceKept : RowMark::PuceFailure;
}

// The row's remaining steps are dropped but the last.
void EncodingDriver::failRow(const QString &reason)
{
    logLine(QStringLiteral("enc                 :-( %1: %2").arg(m_row.source, reason));
    m_row.reason = reason;
    setMark(markWithoutSheet());
    for (const QString &flag : encArray()) {
        takeChild(flag);
    }
    setChild(keys::finish, 1);
    encSend(keys::stepProcesses);
}

void EncodingDriver::purgeStills()
{
    if (!m_row.stills.isEmpty()) {
        purgeStillsFolder(m_row.stills, m_stillsMark);
    }
    m_row.stills.clear();
}

} // namespace qv
