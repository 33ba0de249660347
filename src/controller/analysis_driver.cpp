#include "controller/analysis_driver.h"

#include "analysis/analysis_merge.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/quick_probe.h"
#include "controller/admission.h"
#include "controller/preview.h"
#include "controller/progress_readers.h"
#include "controller/store_keys.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFile>
#include <QFileInfo>

#include <memory>
#include <utility>

namespace qv
{
namespace
{

using namespace std::chrono_literals;

// A source whose duration has to be measured is read for so long at most.
constexpr auto longestMeasuring = 20s;

} // namespace

AnalysisDriver::AnalysisDriver(ControllerContext &context) : m_context(context)
{
    m_measuringLimit.setSingleShot(true);
    m_measuringLimit.setInterval(longestMeasuring);
    connect(&m_measuringLimit, &QTimer::timeout, this,
            [this] { m_context.taskSlots.terminateAnalysis(); });
}

QStringList AnalysisDriver::analysisArray()
{
    return {keys::flagBegin, keys::flagFfmpeg, keys::flagResult,
            keys::flagParse, keys::flagRecord, keys::flagFinish};
}

void AnalysisDriver::handOver(const QStringList &paths)
{
    PreferencesStore &store = m_context.preferences;
    QVariantMap queue;
    for (qsizetype i = 0; i < paths.size(); ++i) {
        queue.insert(QString::number(i), paths.at(i));
    }
    store.prefDelete(keys::analysisQueue);
    store.prefDelete(keys::analysisQueueHead);
    store.prefWriteDico(keys::analysisQueue, queue);
    setFlag(keys::flagBegin);
    m_gate.begin();
    m_context.analysing = true;
}

bool AnalysisDriver::take(const QString &flag)
{
    if (!m_context.preferences.prefRead(flag).isValid()) {
        return false;
    }
    m_context.preferences.prefDelete(flag);
    return true;
}

void AnalysisDriver::setFlag(const QString &flag)
{
    m_context.preferences.prefWrite(flag, 1);
}

void AnalysisDriver::analysisLater()
{
    if (std::exchange(m_posted, true)) {
        return;
    }
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_posted = false;
            analysis();
        },
        Qt::QueuedConnection);
}

void AnalysisDriver::stop()
{
    if (!m_gate.stop()) {
        return;
    }
    if (m_context.taskSlots.isAnalysisRunning()) {
        m_context.taskSlots.terminateAnalysis();
    } else if (m_asking.isRunning()) {
        m_cancellation.cancel();
    } else {
        analysisLater();
    }
}

void AnalysisDriver::askThen(std::function<void()> question, std::function<void()> next)
{
    m_cancellation = {};
    m_asking.run(
        [cancellation = m_cancellation, question = std::move(question)] {
            const CancellableRuns runs(cancellation);
            question();
        },
        [this, next = std::move(next)] {
            if (m_gate.isStopping()) {
                analysisLater();
            } else {
                next();
            }
        });
}

// Nobody waits for a tool's answer any more.
void AnalysisDriver::endAsking()
{
    m_cancellation.cancel();
    m_asking.abandon();
}

void AnalysisDriver::abandon()
{
    endAsking();
    if (!m_gate.isIdle()) {
        dropEverything();
    }
    m_gate.close();
    PreferencesStore &store = m_context.preferences;
    for (const QString &key : {keys::flagFinish, keys::analysisSource, keys::previewPath}) {
        store.prefDelete(key);
    }
}

void AnalysisDriver::analysis()
{
    const bool isBusy = m_context.taskSlots.isAnalysisRunning() || m_asking.isRunning();
    if (m_gate.verdict(isBusy) != StepGate::Verdict::Run) {
        return;
    }
    if (m_gate.isStopping()) {
        dropEverything();
    }
    chooseSource();
    showCaption();
    if (take(keys::flagBegin)) {
        stepBegin();
    }
    if (take(keys::flagFfmpeg)) {
        setFlag(keys::flagParse);
        describe();
    } else if (take(keys::flagResult) || take(keys::flagParse)) {
        stepParse();
    } else if (take(keys::flagRecord)) {
        stepRecord();
    } else if (take(keys::flagDuration)) {
        goOnWith(stepDuration());
    } else if (take(keys::flagFinish)) {
        stepFinish();
    }
}

void AnalysisDriver::goOnWith(const NextRun &next)
{
    if (next.isAskedFor) {
        return;
    }
    setFlag(next.isMeasuring ? keys::flagDuration : keys::flagFinish);
    if (next.work) {
        askThen(next.work, [this] { analysisLater(); });
        return;
    }
    if (next.arguments.isEmpty()) {
        analysisLater();
        return;
    }
    if (next.isMeasuring) {
        m_measuringLimit.start();
    }
    launch(next.arguments);
}

void AnalysisDriver::dropEverything()
{
    logLine(QStringLiteral("analysis stop       = 1"));
    m_measuringLimit.stop();
    PreferencesStore &store = m_context.preferences;
    store.prefDelete(keys::analysisQueue);
    store.prefDelete(keys::analysisQueueHead);
    store.prefDelete(keys::analysisRecord);
    store.prefWrite(keys::analysisSource, keys::cancelled);
    store.prefDelete(keys::flagDuration);
    for (const QString &flag : analysisArray()) {
        store.prefDelete(flag);
    }
    setFlag(keys::flagFinish);
}

// The queue's first entry has the number that stands under analysisQueueHead: taking one moves that
// number up instead of renumbering all that follow, so ten thousand sources cost ten thousand
// steps.
QString AnalysisDriver::takeFromQueue()
{
    PreferencesStore &store = m_context.preferences;
    const int head = intValue(store.prefReadString(keys::analysisQueueHead));
    const QString path =
        store.prefReadChildDico(keys::analysisQueue, QString::number(head)).toString();
    store.prefDeleteChildDico(keys::analysisQueue, QString::number(head));
    if (queuedCount() == 0) {
        store.prefDelete(keys::analysisQueue);
        store.prefDelete(keys::analysisQueueHead);
    } else {
        store.prefWrite(keys::analysisQueueHead, head + 1);
    }
    return path;
}

int AnalysisDriver::queuedCount() const
{
    return static_cast<int>(m_context.preferences.prefReadDico(keys::analysisQueue).toMap().size());
}

void AnalysisDriver::chooseSource()
{
    PreferencesStore &store = m_context.preferences;
    const QString current = store.prefReadString(keys::analysisSource);
    const QString head = store.prefReadString(keys::analysisQueueHead);
    const QVariant next =
        store.prefReadChildDico(keys::analysisQueue, head.isEmpty() ? QStringLiteral("0") : head);
    if (!next.isValid() || !(current.isEmpty() || current == next.toString())) {
        return;
    }
    const QString path = takeFromQueue();
    m_reason.clear();
    m_damage.clear();
    m_sourceState = sourceState(path);
    m_isUnsure = false;
    logLine(QStringLiteral("analysis new file   : %1").arg(path));
    store.prefWrite(keys::analysisSource, path);
}

void AnalysisDriver::showCaption()
{
    const int queued = queuedCount();
    QString &caption = m_context.window.analysisCaption;
    const qsizetype slash = caption.indexOf(QLatin1Char('/'));
    const int total = slash >= 0 ? intValue(caption.mid(slash + 1)) : std::max(1, queued + 1);
    caption = QStringLiteral("%1/%2").arg(std::max(1, total - queued)).arg(total);
    m_context.windowChanged();
}

void AnalysisDriver::stepBegin()
{
    logLine(QStringLiteral("analysisDeb         - deb"));
    const QString problem =
        QFileInfo(temporaryFolder()).isDir()
            ? sourceProblem(m_context.preferences.prefReadString(keys::analysisSource))
            : QStringLiteral("the temporary folder %1 is missing: start the application again")
                  .arg(temporaryFolder());
    if (problem.isNull()) {
        setFlag(keys::flagFfmpeg);
        return;
    }
    // No tool needs to be asked about a file that can't be read.
    refuse(problem);
    setFlag(keys::flagFinish);
}

void AnalysisDriver::describe()
{
    // An earlier source's must not be taken for this one's.
    QFile::remove(analysisFrameFile());
    const bool isForced =
        !m_context.preferences.prefReadString(QStringLiteral("ffFileForceFormatStr")).isEmpty();
    m_isProbing = !m_isUnsure && !isForced && !m_context.face.refusesDamaged() && hasQuickTool();
    launch(m_isProbing ? probeArguments() : ffmpegArguments());
}

QStringList AnalysisDriver::probeArguments()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    m_probePreview = previewPath(source);
    return quickProbeCommand(source, analysisFrameFile(), m_probePreview, previewWidth,
                             previewOffsets());
}

// When the quick tool's word does not do, ffmpeg is asked as if nobody had been asked before.
bool AnalysisDriver::hasRepeatedExactly(const QString &why)
{
    if (!m_isProbing) {
        return false;
    }
    logLine(QStringLiteral("quickThumbs         :-( %1: ffmpeg decides").arg(why));
    QFile::remove(m_probePreview);
    m_isUnsure = true;
    m_isProbing = false;
    setFlag(keys::flagFfmpeg);
    analysisLater();
    return true;
}

// Ten frames are decoded: their stream header tells the interlacing, the debug report the rest.
QStringList AnalysisDriver::ffmpegArguments() const
{
    const PreferencesStore &store = m_context.preferences;
    QStringList arguments{ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("debug"),
                          QStringLiteral("-fdebug"), QStringLiteral("ts")};
    if (const QString format = store.prefReadString(QStringLiteral("ffFileForceFormatStr"));
        !format.isEmpty()) {
        arguments << QStringLiteral("-f") << format;
    }
    arguments << QStringLiteral("-i") << store.prefReadString(keys::analysisSource)
              << QStringLiteral("-vframes") << QStringLiteral("10") << QStringLiteral("-pix_fmt")
              << QStringLiteral("yuv420p") << QStringLiteral("-an") << QStringLiteral("-f")
              << QStringLiteral("yuv4mpegpipe") << QStringLiteral("-y") << analysisFrameFile();
    return arguments;
}

void AnalysisDriver::stepFinish()
{
    PreferencesStore &store = m_context.preferences;
    m_context.taskSlots.releaseAnalysisOutput();
    const MediaInfoRecord record = store.prefReadDico(keys::analysisRecord).toMap();
    store.prefDelete(keys::analysisRecord);
    const QString source = store.prefReadString(keys::analysisSource);
    if (record.isEmpty()) {
        endSource(source, false);
        return;
    }
    const auto row = std::make_shared<NewRow>(
        NewRow{source, store.prefReadString(keys::previewPath), record, {}});
    askThen([row] { completeRow(*row); }, [this, row] { endSource(row->source, makeRow(*row)); });
}

void AnalysisDriver::endSource(const QString &source, bool made)
{
    m_context.preferences.prefDelete(keys::previewPath);
    if (!made && source != keys::cancelled) {
        if (m_reason.isEmpty()) {
            refuse(QStringLiteral("it could not be analysed"));
        }
        m_context.face.sourceSkipped(source, m_reason);
    }
    m_retained.clear();
    m_reason.clear();
    finishSource();
}

void AnalysisDriver::finishSource()
{
    PreferencesStore &store = m_context.preferences;
    const bool wasCancelled = store.prefReadString(keys::analysisSource) == keys::cancelled;
    store.prefDelete(keys::analysisSource);
    if (queuedCount() > 0 && !wasCancelled && !m_gate.isStopping()) {
        logLine(QStringLiteral("analysis            - fin (src current)"));
        setFlag(keys::flagBegin);
        analysisLater();
        return;
    }
    finishRun();
}

void AnalysisDriver::finishRun()
{
    logLine(QStringLiteral("analysis stop       : final end"));
    PreferencesStore &store = m_context.preferences;
    store.prefDelete(keys::analysisQueue);
    store.prefDelete(keys::analysisQueueHead);
    m_gate.end();
    WindowState &window = m_context.window;
    window.analysisCaption.clear();
    window.analysisStopShown = false;
    m_context.analysing = false;
    m_context.setGate(true);
    store.prefDelete(keys::flagBegin);
    window.showIdle();
    if (resumePausedBatch) {
        resumePausedBatch();
    }
    if (!m_context.table.isEmpty()) {
        window.drawerOpen = true;
        window.goEnabled = window.goEnabled || !window.goPressed;
    }
    store.prefDelete(QStringLiteral("alertIfIsNotSrcValid"));
    logLine(QStringLiteral("analysis            - fin (all src)"));
    m_context.windowChanged();
    m_context.face.analysisEnded();
}

void AnalysisDriver::launch(const QStringList &arguments)
{
    if (arguments.isEmpty() || arguments.first().isEmpty()) {
        logLine(QStringLiteral("analysis no arg     :-( nil || empty"));
        refuse(QStringLiteral("ffmpeg is not there: no tool to analyse it with"));
        for (const QString &flag : analysisArray()) {
            m_context.preferences.prefDelete(flag);
        }
        setFlag(keys::flagFinish);
        analysisLater();
        return;
    }
    m_context.taskSlots.tasklauncherStart(arguments, 0, CollectOutput, {}, true);
}

void AnalysisDriver::refuse(const QString &reason)
{
    m_reason = reason;
    logLine(QStringLiteral("analysis            :-( %1").arg(reason));
}

} // namespace qv
