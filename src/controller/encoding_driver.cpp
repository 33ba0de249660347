#include "controller/encoding_driver.h"

#include "analysis/quick_probe.h"
#include "controller/destination.h"
#include "controller/reasons.h"
#include "controller/sheet_delivery.h"
#include "controller/store_keys.h"
#include "process/tool_environment.h"
#include "sheet/composer.h"
#include "sheet/extraction_plan.h"
#include "sheet/record_values.h"
#include "sheet/stills_folder.h"
#include "support/alerts.h"
#include "support/diagnostics.h"
#include "support/files.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"
#include "support/visible_text.h"

#include <QFileInfo>

#include <algorithm>

namespace qv
{
namespace
{

// Matches no row: what stands for the row before the first.
const QString noRow = QStringLiteral("totoCestLePlusBeau");

constexpr double diskAlertSeconds = 30;
constexpr double overwriteQuestionSeconds = 10;

} // namespace

EncodingDriver::EncodingDriver(ControllerContext &context)
    : m_context(context), m_pictures(context.taskSlots)
{
    m_pictures.outerCause = [this] { return outerCause(); };
    m_pictures.progressed = [this] { showPictureProgress(); };
}

QStringList EncodingDriver::encArray()
{
    return {QStringLiteral("encDeb"),       QStringLiteral("encV"),
            QStringLiteral("appkyThQt"),    QStringLiteral("appkyThFf"),
            QStringLiteral("appkyDisplay"), keys::finish};
}

void EncodingDriver::begin()
{
    m_gate.begin();
    m_row = {};
    encSend(keys::stepBatch);
}

void EncodingDriver::encSend(const QString &stepNameStr)
{
    logLine(QStringLiteral("stepNameStr         ? %1").arg(stepNameStr));
    const bool posted = !m_pendingStep.isEmpty();
    m_pendingStep = stepNameStr;
    if (posted) {
        return;
    }
    QMetaObject::invokeMethod(
        this, [this] { enc(std::exchange(m_pendingStep, {})); }, Qt::QueuedConnection);
}

void EncodingDriver::enc(const QString &stepNameStr)
{
    const bool isBusy =
        m_context.taskSlots.isEncodingRunning() || m_composing.isRunning() || m_isSaving;
    switch (m_gate.verdict(isBusy)) {
    case StepGate::Verdict::Vanish:
        return;
    case StepGate::Verdict::Wait:
        m_heldStep = stepNameStr;
        return;
    case StepGate::Verdict::Run:
        break;
    }
    if (isStopping()) {
        noteStop();
        finishRow();
    } else if (stepNameStr == keys::stepBatch) {
        encBatch();
    } else if (stepNameStr == keys::stepProcesses) {
        encProcesses();
    }
    m_context.windowChanged();
}

void EncodingDriver::stop()
{
    if (!m_gate.stop()) {
        return;
    }
    m_heldStep.clear();
    if (m_context.taskSlots.isEncodingRunning()) {
        m_context.taskSlots.terminateEncoding();
    } else {
        encSend(keys::stepProcesses);
    }
}

bool EncodingDriver::resume()
{
    const bool resumed = m_gate.resume();
    sendHeldStep();
    return resumed;
}

void EncodingDriver::sendHeldStep()
{
    if (!m_heldStep.isEmpty() && m_gate.verdict(false) == StepGate::Verdict::Run) {
        encSend(std::exchange(m_heldStep, {}));
    }
}

void EncodingDriver::noteStop()
{
    logLine(QStringLiteral("enc stop            = 1"));
    PreferencesStore &store = m_context.preferences;
    store.prefWrite(keys::currentFile, keys::cancelled);
    store.prefDelete(keys::work);
    store.prefWrite(keys::finish, 1);
}

void EncodingDriver::abandon()
{
    m_gate.close();
    m_heldStep.clear();
    m_composing.abandon();
    purgeStills();
    PreferencesStore &store = m_context.preferences;
    for (const QString &key : {keys::currentFile, keys::work, keys::finish, keys::replaceFiles}) {
        store.prefDelete(key);
    }
    m_context.window.goPressed = false;
}

int EncodingDriver::encBatchInprogressRowIdentification() const
{
    const QVariant current = m_context.preferences.prefRead(keys::currentFile);
    return current.isValid() ? m_context.table.indexOfSource(current.toString()) : -1;
}

QString EncodingDriver::destinationFolder() const
{
    const QString field = expandTilde(m_context.face.destination());
    return m_context.placement.ownSubfolder ? sheetFolder(field) : field;
}

QString EncodingDriver::sheetBase(const QString &sourcePath)
{
    return m_names.baseFor(sourcePath, destinationFolder());
}

// ---- choosing rows

void EncodingDriver::encBatch()
{
    logLine(QStringLiteral("stepNameStr         : encBatch"));
    const int current = encBatchInprogressRowIdentification();
    // As a batch begins; the command, which makes one of each source, has done so for all of them.
    if (current < 0 && !m_context.placement.stillsInTemporaryFolder) {
        removeForgottenDeliveries(destinationFolder());
    }
    const int next = current < 0 ? 0 : current + 1;
    if (next >= m_context.table.count()) {
        endBatch();
        return;
    }
    mkdir(destinationFolder());
    logLine(QStringLiteral("new indexBatchInt   = %1").arg(next));
    if (fileExists(m_context.table.row(next).sourcePath())) {
        beginRow(next);
    } else {
        dropVanishedRow(next);
    }
    encSend(keys::stepProcesses);
}

void EncodingDriver::beginRow(int index)
{
    BatchItem &row = m_context.table.row(index);
    PreferencesStore &store = m_context.preferences;
    m_row = {};
    m_row.source = row.sourcePath();
    m_row.duration = numberIn(row.dico, QStringLiteral("w_duration")).value_or(0);
    m_row.hasWrongColours = hasWrongColours(row.dico);
    m_row.state = row.state;
    m_row.clock.start();
    row.reason.clear();
    store.prefWrite(keys::currentFile, m_row.source);
    store.prefWriteDico(keys::work, row.dico);
    setChild(QStringLiteral("encDeb"), 1);
    setMark(RowMark::PuceCurrent);
}

void EncodingDriver::dropVanishedRow(int index)
{
    BatchTable &table = m_context.table;
    m_row = {};
    m_row.source = table.row(index).sourcePath();
    m_row.reason = QStringLiteral("the file has vanished since it was analysed");
    m_row.clock.start();
    m_context.preferences.prefWrite(keys::currentFile,
                                    index > 0 ? table.row(index - 1).sourcePath() : noRow);
    rmCocoa(stringIn(table.row(index).dico, QStringLiteral("imgPathStr")));
    table.remove({index});
    m_context.window.drawerOpen = m_context.window.drawerOpen && !table.isEmpty();
    m_context.face.rowsChanged();
    report(RowResult::Status::Failed);
    m_context.preferences.prefWrite(keys::finish, 1);
}

void EncodingDriver::openGate()
{
    if (!m_context.analysing) {
        m_context.setGate(true);
    }
}

// However the batch ends, the next one begins with nothing of it.
void EncodingDriver::releaseBatch()
{
    m_gate.end();
    m_diskFullTold = false;
    m_replacesOthers.reset();
    m_context.preferences.prefDelete(keys::replaceFiles);
    WindowState &window = m_context.window;
    window.goPressed = false;
    window.stop = {};
    window.stepValue = window.stepMaximum = 0;
    openGate();
}

void EncodingDriver::endBatch()
{
    logLine(QStringLiteral("enc fini            :-)"));
    releaseBatch();
    WindowState &window = m_context.window;
    window.goEnabled = true;
    window.stepCaption.clear();
    window.encoding.actionCaption.clear();
    m_context.preferences.prefDelete(keys::currentFile);
    m_context.windowChanged();
    const QString last =
        m_row.sheet.isEmpty() ? destinationFolder() : QFileInfo(m_row.sheet).path();
    m_context.face.batchEnded(localized(QStringLiteral("D_fin_GUI")), last);
}

// ---- one row, step by step

void EncodingDriver::encProcesses()
{
    if (isDue(QStringLiteral("encDeb"))) {
        startRow();
    } else if (takeChild(QStringLiteral("encV"))) {
        runPlan();
        setChild(QStringLiteral("encVPostDeb"), 1);
        goOn();
    } else if (isDue(QStringLiteral("appkyThQt"))) {
        launchOneRun();
    } else if (hasQuickFailed()) {
        takeExactPictures();
    } else if (continuePictures()) {
        return;
    } else if (isDue(QStringLiteral("appkyDisplay"))) {
        composeRow();
    } else if (isDue(keys::finish)) {
        finishRow();
    }
}

// A step that launched nothing: the next one that is due follows; when none is, the row rests.
void EncodingDriver::goOn()
{
    logDebug([] { return QStringLiteral("argsArray           :-( nil || empty"); });
    const QStringList steps = encArray();
    if (std::any_of(steps.begin(), steps.end(), [this](const QString &s) { return isDue(s); })) {
        encSend(keys::stepProcesses);
    }
}

void EncodingDriver::startRow()
{
    takeChild(QStringLiteral("encDeb"));
    setChild(keys::finish, 1);
    const int index = encBatchInprogressRowIdentification();
    const BatchItem *item = index < 0 ? nullptr : &m_context.table.row(index);
    const QVariantMap work = m_context.preferences.prefReadDico(keys::work).toMap();
    m_row.out = intIn(work, QStringLiteral("out")).value_or(item != nullptr ? item->out : 1);
    m_row.dpi = intIn(work, QStringLiteral("dpi")).value_or(item != nullptr ? item->dpi : 0);
    logLine(QStringLiteral("out                 = %1 (%2)")
                .arg(QString::number(m_row.out), m_context.face.layoutLabel(m_row.out)));
    m_row.listed = item != nullptr ? item->listed : ListedPictures();
    m_row.wishesQuick = m_context.face.wantsQuickPictures();
    m_row.isQuick = m_row.wishesQuick && hasQuickTool() &&
                    intIn(work, QStringLiteral("decSkip")).value_or(0) == 0;
    if (!beginSheet(sheetBase(m_row.source)) || !mayWriteSheet() || !hasFreeSpace()) {
        return;
    }
    m_row.started = m_context.now();
    resumeLogAppend(QStringLiteral("\n----------\n\nsource              : %1\n"
                                   "destination         : %2\n")
                        .arg(visibleText(shownPath(m_row.source)), visibleText(m_row.sheet)));
    setChild(QStringLiteral("encQtEnc"), 1);
    m_context.window.stepCaption.clear();
    m_context.window.encoding.actionCaption = lastPathComponent(shownPath(m_row.source));
    setChild(QStringLiteral("encV"), 1);
    noteStillsThenGoOn();
}

// A killed run leaves its stills. The next start finds in the store where they are and by which
// mark, so the folder must not be made before the store is on disk.
void EncodingDriver::noteStillsThenGoOn()
{
    m_isSaving = true;
    m_context.preferences.saveThen(this, [this] {
        m_isSaving = false;
        goOn();
    });
}

// A folder of the sheet's name that the user made stays the user's. ffmpeg takes a "%20d" anywhere
// in a picture's path for a pattern, so such paths are kept from it.
QString EncodingDriver::stillsFolder(const QString &base)
{
    if (m_context.placement.stillsInTemporaryFolder || base.contains(QLatin1Char('%')) ||
        !mayUseStillsFolder(base, m_stillsMark)) {
        return appendPath(toolFolder(), QStringLiteral("stills-%1").arg(++m_stillsCounter));
    }
    return base;
}

// The event loop runs while a question is open. A step that comes due then, as by a stop, waits.
utilsAlert::Answer EncodingDriver::ask(const std::function<utilsAlert::Answer()> &question)
{
    m_gate.setAsking(true);
    const utilsAlert::Answer answer = question();
    m_gate.setAsking(false);
    sendHeldStep();
    return answer;
}

bool EncodingDriver::mayWriteSheet()
{
    const PlaceContent content = placeContent(m_row.sheet);
    if (content.isNothing()) {
        return true;
    }
    const bool isOwn = claimOn(content, m_row.source) != Claim::None;
    const bool isOthers = !isOwn && (content.isSheet() || m_context.placement.yieldsToOthers);
    if (isOthers && !mayReplaceOthers(content)) {
        return !m_gate.isOver() && beginSheet(otherBase());
    }
    // A file that does not say whose sheet it is may be this source's; the user decides.
    m_row.replace = isOthers || mayReplace(m_row.sheet);
    m_row.replacesAny = m_row.replace && !isOwn;
    if (m_gate.isOver()) {
        return false;
    }
    if (!m_row.replace) {
        m_row.kept = true;
        failRow(reasons::sheetIsThere);
    }
    return m_row.replace;
}

// The answer given for all, or the question.
bool EncodingDriver::mayReplace(const QString &sheet)
{
    PreferencesStore &store = m_context.preferences;
    if (const QVariant stored = store.prefRead(keys::replaceFiles); stored.isValid()) {
        return numberValue(stored).value_or(0) != 0;
    }
    const QString replaceText = localized(QStringLiteral("D_replace"));
    const utilsAlert::Answer answer = ask([&] {
        return utilsAlert::timedQuestion(
            localized(QStringLiteral("D_go_dossier_destination4Bis")), sheet, 0,
            localized(QStringLiteral("D_keep")), replaceText, QString(), overwriteQuestionSeconds,
            localized(QStringLiteral("D_applyToAll")), AlertButton::Default);
    });
    const bool replace = answer.text == replaceText;
    if (answer.suppressed == 1 && !m_gate.isOver()) {
        store.prefWrite(keys::replaceFiles, replace ? 1 : 0);
    }
    return replace;
}

bool EncodingDriver::hasFreeSpace()
{
    const int freeMegabytes = freeDiskSpace(destinationFolder());
    logLine(
        QString::asprintf("free necessary space: %.1f vs %d (MB)", neededMegabytes, freeMegabytes));
    if (freeMegabytes < 0 || freeMegabytes >= neededMegabytes) {
        m_diskFullTold = false;
        return true;
    }
    // A thousand rows in a row must not ask for half a minute each; each still says why it failed.
    if (!std::exchange(m_diskFullTold, true)) {
        ask([] {
            return utilsAlert::timedQuestion(localized(QStringLiteral("D_go_echec_disque1")),
                                             localized(QStringLiteral("D_go_echec_disque2")), 0,
                                             QString(), QString(), QString(), diskAlertSeconds,
                                             QString(), AlertButton::Default);
        });
    }
    if (m_gate.isOver()) {
        return false;
    }
    failRow(reasons::destinationFull(freeMegabytes));
    return false;
}

QVariantMap EncodingDriver::planInput() const
{
    QVariantMap input = m_context.preferences.prefReadDico(keys::work).toMap();
    input.insert(QStringLiteral("thNumberInt"), m_context.face.thumbnailCount(m_row.out));
    if (m_row.isQuick) {
        input.insert(QStringLiteral("quick"), 1);
    }
    return input;
}

// Plans the stills; the plan's entries in the store make the next steps due.
void EncodingDriver::runPlan()
{
    const QVariantMap plan = planInput();
    m_row.planned.clear();
    for (const PlannedPicture &picture : planExtraction(m_row.out, plan).pictures) {
        m_row.planned.append(picture.time);
    }
    m_row.instants = m_row.planned;
    encodage(m_row.out, Bundle::main().version(), plan, m_context.preferences);
    const QVariant display = child(QStringLiteral("appkyDisplay"));
    if (!display.isValid()) {
        failRow(fullDisk().value_or(
            QStringLiteral("the folder %1 for its stills can't be made, or is not this "
                           "application's to empty")
                .arg(m_row.stills)));
        return;
    }
    m_row.asked = static_cast<int>(mapIn(display.toMap(), QStringLiteral("timecode")).size());
    m_row.interval = m_row.asked > 0 ? m_row.duration / m_row.asked : 0;
    m_row.fps = numberIn(plan, QStringLiteral("v0_fps")).value_or(0);
    if (m_row.asked == 0) {
        failRow(QStringLiteral("fewer pictures are asked for than the layout has columns"));
        return;
    }
    goOn();
}

// ---- the store's child entries

QVariant EncodingDriver::child(const QString &key) const
{
    return m_context.preferences.prefReadChildDico(keys::work, key);
}

bool EncodingDriver::isDue(const QString &key) const
{
    return child(key).isValid() ||
           (key == keys::finish && m_context.preferences.prefRead(key).isValid());
}

bool EncodingDriver::takeChild(const QString &key)
{
    const bool due = child(key).isValid();
    m_context.preferences.prefDeleteChildDico(keys::work, key);
    return due;
}

void EncodingDriver::setChild(const QString &key, const QVariant &value)
{
    m_context.preferences.prefWriteChildDico(keys::work, key, value);
}

void EncodingDriver::setMark(RowMark mark)
{
    const int index = m_context.table.indexOfSource(m_row.source);
    if (index >= 0) {
        m_context.table.row(index).resultat = mark;
        m_context.face.rowChanged(index);
    }
}

} // namespace qv
