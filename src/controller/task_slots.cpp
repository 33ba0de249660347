#include "controller/task_slots.h"

#include "support/localized_strings.h"
#include "support/log.h"

#include <algorithm>

namespace qv
{
namespace
{

// An analysis report is some hundred kilobytes; a tool that prints without end is cut here.
constexpr qsizetype reportLimit = 64 * 1024 * 1024;

// Takes the text off the bytes, up to a character that is not all there yet. Qt's own decoder of
// chunks loses the line end behind a character that a chunk and a tool have cut at the same place.
QString decodedPart(QByteArray &bytes)
{
    constexpr qsizetype longest = 4; // bytes of a character
    qsizetype end = bytes.size();
    for (qsizetype back = 1; back < longest && back <= bytes.size(); ++back) {
        const auto byte = static_cast<quint8>(bytes[bytes.size() - back]);
        if (byte >= 0xC0) {
            const qsizetype length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
            end = length > back ? bytes.size() - back : end;
            break;
        }
    }
    const QString text = QString::fromUtf8(bytes.left(end));
    bytes.remove(0, end);
    return text;
}

} // namespace

TaskSlots::TaskSlots(WindowState &window, std::function<void()> changed)
    : m_changed(std::move(changed)), m_encoding(window.encoding), m_analysis(window.analysis)
{
}

TaskSlots::~TaskSlots()
{
    endAll();
}

void TaskSlots::endAll()
{
    m_keptProbe.endTool();
    m_pictures.endAll();
    for (Slot *slot : {&m_encoding, &m_analysis}) {
        if (slot->taskClass) {
            slot->taskClass->setDelegate(nullptr);
            slot->taskClass->tasklauncherTerminate();
            slot->taskClass.reset();
        }
        resetControls(*slot);
    }
}

int TaskSlots::tasklauncherStart(const QStringList &argsArray, float progressMaxValueFloat,
                                 int parseInt, const RunControls &controls, bool isTaskOther,
                                 const QString &outputFolder)
{
    if (argsArray.isEmpty()) {
        logLine(QStringLiteral("tl start argsArray  :-( nil || empty"));
        return 0;
    }
    Slot &slot = isTaskOther ? m_analysis : m_encoding;
    slot.taskProgressMaxValue = progressMaxValueFloat;
    slot.taskParseInt = parseInt;
    slot.taskPreviousTime.reset();
    slot.undecoded.clear();
    slot.pendingLine.clear();
    slot.report = {};
    if (isTaskOther && parseInt == CollectOutput) {
        m_analysisOutput = QStringLiteral("");
        logLine(QStringLiteral("analysisTaskVerboseM:-) alloc"));
    }
    prepareControls(slot, controls);
    slot.taskClass = std::make_unique<taskLauncher>();
    slot.taskClass->setDelegate(this);
    slot.taskClass->setOutputFolder(outputFolder);
    // Names and tags in any script stand in the tools' output, and text chunks must be ASCII; so
    // the bytes are taken and decoded here.
    slot.taskClass->dontConvertDataToString(true);
    const int code = launch(slot, argsArray, outputFolder);
    if (code != taskLauncher::Launched) {
        logLine(QStringLiteral("tlStart launch error:-( = %1 (from: %2)")
                    .arg(QString::number(code), argsArray.join(QLatin1Char(' '))));
        taskLauncherDone(slot.taskClass.get());
        return 0;
    }
    m_changed();
    return 1;
}

int TaskSlots::launch(Slot &slot, const QStringList &command, const QString &outputFolder)
{
    taskLauncher &launcher = *slot.taskClass;
    if (auto tool = m_keptProbe.takeFor(command, outputFolder);
        tool && launcher.continueTool(std::move(*tool), command.mid(1)) == taskLauncher::Launched) {
        return taskLauncher::Launched;
    }
    if (&slot != &m_analysis || !m_keptProbe.mayStay(command)) {
        return launcher.launchTasksWithArguments(command);
    }
    slot.command = command;
    launcher.allowWaiting();
    return launcher.launchTasksWithArguments(KeptProbe::stayingCommand(command));
}

void TaskSlots::startPictures(std::vector<QStringList> commands, int atOnce,
                              const QString &outputFolder)
{
    m_keptProbe.endTool();
    m_encoding.controls.wheelSpinning = true;
    m_encoding.controls.stopShown = true;
    m_pictures.start(std::move(commands), atOnce, outputFolder);
    m_changed();
}

void TaskSlots::picturesDone()
{
    resetControls(m_encoding);
    m_progressActionStrBeforePause.clear();
    m_changed();
    if (encodingRunEnded) {
        encodingRunEnded();
    }
}

void TaskSlots::prepareControls(Slot &slot, const RunControls &controls)
{
    SlotControls &shown = slot.controls;
    if (slot.taskProgressMaxValue > 0 && slot.taskParseInt != PictureRuns) {
        shown.determinate = controls.progressBar;
        shown.minimum = 0;
        shown.maximum = static_cast<double>(slot.taskProgressMaxValue);
    } else {
        shown.wheelSpinning = controls.progressWheel;
    }
    shown.stopShown = controls.stopBt;
}

TaskSlots::Slot &TaskSlots::slotOf(const taskLauncher *launcher)
{
    if (launcher != nullptr && launcher == m_encoding.taskClass.get()) {
        return m_encoding;
    }
    return m_analysis.taskClass ? m_analysis : m_encoding;
}

void TaskSlots::didReceiveNewData(taskLauncher &launcher, const QByteArray &data)
{
    Slot &slot = slotOf(&launcher);
    const QString text = decodedPart(slot.undecoded += data);
    slot.report.tail = (slot.report.tail + text).right(tailLength);
    if (slot.taskParseInt == CollectOutput) {
        if (&slot == &m_analysis && m_analysisOutput.size() < reportLimit) {
            m_analysisOutput += text;
        }
        return;
    }
    takeText(slot, text);
}

// Progress lines end with a lone carriage return; a chunk may end anywhere.
void TaskSlots::takeText(Slot &slot, const QString &text)
{
    slot.pendingLine += text;
    qsizetype from = 0;
    for (qsizetype i = 0; i < slot.pendingLine.size(); ++i) {
        const QChar c = slot.pendingLine.at(i);
        if (c == QLatin1Char('\r') || c == QLatin1Char('\n')) {
            takeLine(slot, slot.pendingLine.mid(from, i - from));
            from = i + 1;
        }
    }
    slot.pendingLine = slot.pendingLine.mid(from).right(tailLength);
}

void TaskSlots::noteToldPicture(Slot &slot, const QString &line)
{
    if (const auto told = toldPicture(line)) {
        slot.report.instants.insert(told->index, told->seconds);
    }
}

void TaskSlots::takeLine(Slot &slot, const QString &line)
{
    if (slot.taskParseInt == PercentageQuiet) {
        noteToldPicture(slot, line);
    }
    const float value = progressValue(slot.taskParseInt, line);
    if (value > 0 && slot.taskProgressMaxValue > 0 &&
        static_cast<double>(value) != slot.taskPreviousTime) {
        slot.taskPreviousTime = static_cast<double>(value);
        showProgress(slot, value);
    }
}

void TaskSlots::showProgress(Slot &slot, float value)
{
    slot.controls.value = static_cast<double>(value);
    if (slot.taskParseInt != PercentageQuiet) {
        const double percentage =
            static_cast<double>(value) * 100.0 / static_cast<double>(slot.taskProgressMaxValue);
        slot.controls.percent =
            QStringLiteral("%1 %").arg(static_cast<int>(std::clamp(percentage, 0.0, 1e6)));
    }
    m_changed();
}

void TaskSlots::taskLauncherTaskDidSuspend(taskLauncher &launcher)
{
    logLine(QStringLiteral("process             : suspend"));
    showPause(slotOf(&launcher));
}

void TaskSlots::taskLauncherTaskDidResume(taskLauncher &launcher)
{
    logLine(QStringLiteral("process             : resume"));
    showResume(slotOf(&launcher));
}

void TaskSlots::showPause(Slot &slot)
{
    m_progressActionStrBeforePause = slot.controls.actionCaption;
    slot.controls.actionCaption = localized(QStringLiteral("D_action_pause"));
    m_changed();
}

void TaskSlots::showResume(Slot &slot)
{
    slot.controls.actionCaption = std::exchange(m_progressActionStrBeforePause, {});
    m_changed();
}

void TaskSlots::taskLauncherTaskDidEnd(taskLauncher &launcher)
{
    taskLauncherDone(&launcher);
}

void TaskSlots::resetControls(Slot &slot)
{
    const QString caption = slot.controls.actionCaption;
    slot.controls = {};
    slot.controls.actionCaption = caption;
}

void TaskSlots::taskLauncherDone(taskLauncher *launcher)
{
    Slot &slot = slotOf(launcher);
    resetControls(slot);
    if (slot.taskClass) {
        slot.taskClass->setDelegate(nullptr);
        slot.taskClass->tasklauncherTerminate();
        slot.report.outcome = slot.taskClass->outcome();
        if (auto tool = slot.taskClass->takeWaitingTool()) {
            m_keptProbe.keep(slot.command, std::move(tool));
        }
        // It may be the one that is calling.
        slot.taskClass.release()->deleteLater();
    }
    const bool analysis = &slot == &m_analysis;
    if (analysis || slot.taskParseInt != PictureRuns) {
        slot.taskProgressMaxValue = 0;
        slot.taskParseInt = CollectOutput;
    }
    if (!analysis) {
        m_progressActionStrBeforePause.clear();
    }
    m_changed();
    const auto &ended = analysis ? analysisRunEnded : encodingRunEnded;
    if (ended) {
        ended();
    }
}

void TaskSlots::tasklauncherSuspend()
{
    if (m_encoding.taskClass) {
        m_encoding.taskClass->suspend();
    }
    if (m_pictures.suspend()) {
        logLine(QStringLiteral("process             : suspend"));
        showPause(m_encoding);
    }
}

void TaskSlots::tasklauncherResume()
{
    if (m_encoding.taskClass) {
        m_encoding.taskClass->resume();
    }
    if (m_pictures.resume()) {
        logLine(QStringLiteral("process             : resume"));
        showResume(m_encoding);
    }
}

void TaskSlots::terminateEncoding()
{
    m_pictures.terminate();
    if (m_encoding.taskClass) {
        m_encoding.taskClass->tasklauncherTerminate();
    }
}

void TaskSlots::terminateAnalysis()
{
    if (m_analysis.taskClass) {
        m_analysis.taskClass->tasklauncherTerminate();
    }
}

} // namespace qv
