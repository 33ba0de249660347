#include "controller/analysis_driver.h"

#include "analysis/analysis_merge.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
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

namespace qv
{
namespace
{

const QString flagBegin = QStringLiteral("analysisDeb");
const QString flagFfmpeg = QStringLiteral("analysisFfmpeg");
const QString flagResult = QStringLiteral("analysisFfmpegResult");
const QString flagParse = QStringLiteral("analysisFfmpegParse");
const QString flagRecord = QStringLiteral("analysisDico");
const QString flagFinish = QStringLiteral("analysisFin");

QString frameFile()
{
    return appendPath(temporaryFolder(), QStringLiteral("frame.yuv"));
}

bool hasPictureKeys(const MediaInfoRecord &record)
{
    return record.contains(QStringLiteral("v0_codec")) &&
           record.contains(QStringLiteral("v0_width")) &&
           record.contains(QStringLiteral("v0_height"));
}

bool isMov(const QString &path)
{
    return pathExtension(path).toLower() == QLatin1String("mov");
}

QString codecOf(const MediaInfoRecord &record)
{
    return stringIn(record, QStringLiteral("v0_codec")).toLower();
}

} // namespace

AnalysisDriver::AnalysisDriver(ControllerContext &context) : m_context(context) {}

QStringList AnalysisDriver::analysisArray()
{
    return {flagBegin, flagFfmpeg, flagResult, flagParse, flagRecord, flagFinish};
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
    setFlag(flagBegin);
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
    if (m_context.gateOpen) {
        return;
    }
    m_analysisStopInt = 1;
    if (m_context.taskSlots.isAnalysisRunning()) {
        m_context.taskSlots.terminateAnalysis();
    } else {
        analysisLater();
    }
}

void AnalysisDriver::analysis()
{
    if (m_context.taskSlots.isAnalysisRunning()) {
        return;
    }
    if (m_analysisStopInt == 1) {
        dropEverything();
    }
    chooseSource();
    showCaption();
    if (take(flagBegin)) {
        stepBegin();
    }
    if (take(flagFfmpeg)) {
        setFlag(flagParse);
        // An earlier source's must not be taken for this one's.
        QFile::remove(frameFile());
        launch(ffmpegArguments());
    } else if (take(flagResult) || take(flagParse)) {
        stepParse();
        analysisLater();
    } else if (take(flagRecord)) {
        const QStringList arguments = stepRecord();
        setFlag(flagFinish);
        if (arguments.isEmpty()) {
            analysisLater();
        } else {
            launch(arguments);
        }
    } else if (take(flagFinish)) {
        stepFinish();
    }
}

void AnalysisDriver::dropEverything()
{
    logLine(QStringLiteral("analysis stop       = 1"));
    PreferencesStore &store = m_context.preferences;
    store.prefDelete(keys::analysisQueue);
    store.prefDelete(keys::analysisQueueHead);
    store.prefDelete(keys::analysisRecord);
    store.prefWrite(keys::analysisSource, keys::cancelled);
    for (const QString &flag : analysisArray()) {
        store.prefDelete(flag);
    }
    setFlag(flagFinish);
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
        sourceProblem(m_context.preferences.prefReadString(keys::analysisSource));
    if (problem.isNull()) {
        setFlag(flagFfmpeg);
        return;
    }
    // No tool needs to be asked about a file that can't be read.
    refuse(problem);
    setFlag(flagFinish);
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
              << QStringLiteral("yuv4mpegpipe") << QStringLiteral("-y") << frameFile();
    return arguments;
}

void AnalysisDriver::stepParse()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const QString output = m_context.taskSlots.analysisTaskVerboseMStr();
    const RunReport &run = m_context.taskSlots.lastAnalysisRun();
    setFlag(flagFinish);
    if (output.isEmpty() || output == QLatin1String(" ")) {
        refuse(QStringLiteral("ffmpeg %1 and printed nothing").arg(outcomeText(run.outcome)));
        return;
    }
    m_retained = output;
    if (run.outcome.ending == ToolOutcome::Ending::Hung) {
        refuse(QStringLiteral("ffmpeg %1").arg(outcomeText(run.outcome)));
        return;
    }
    const bool accepted = isFfmpegSuccess(reportWithoutNames(output, source));
    const bool openable = !accepted && isMov(source) && m_context.movies.canOpen(source);
    if (openable) {
        logLine(QStringLiteral("appky > decSkip #1  :-)"));
    }
    if (accepted || openable) {
        take(flagFinish);
        setFlag(flagRecord);
        return;
    }
    const QString said = refusalReason(output, source);
    refuse(said.isNull()
               ? QStringLiteral("ffmpeg does not accept it (%1)").arg(outcomeText(run.outcome))
               : said);
}

QString AnalysisDriver::readInterlacing() const
{
    QFile file(frameFile());
    QString interlacing;
    if (!file.open(QIODevice::ReadOnly)) {
        return interlacing;
    }
    if (const QString mark = interlaceMark(file.read(100)); !mark.isNull()) {
        interlacing = fieldOrderWord(mark);
        logLine(QStringLiteral("interlacingStr      : '%1'").arg(interlacing));
    }
    file.remove();
    return interlacing;
}

bool AnalysisDriver::isProResByMovieFramework(const MediaInfoRecord &record) const
{
    static const QStringList names{QStringLiteral("ap4h"), QStringLiteral("apco"),
                                   QStringLiteral("apcs"), QStringLiteral("apch"),
                                   QStringLiteral("apcn"), QStringLiteral("prores")};
    if (!names.contains(codecOf(record)) || !m_context.movies.hasDecoder(QStringLiteral("APCH"))) {
        return false;
    }
    const QString picture = appendPath(temporaryFolder(), QStringLiteral("proresTest.jpg"));
    taskArrayPipes({Bundle::main().toolPath(QStringLiteral("qtThumbs")), QStringLiteral("-i"),
                    m_context.preferences.prefReadString(keys::analysisSource),
                    QStringLiteral("-w"), QStringLiteral("100"), QStringLiteral("-h"),
                    QStringLiteral("100"), QStringLiteral("-tc"), QStringLiteral("0:00:00"),
                    QStringLiteral("-y"), QStringLiteral("-o"), picture});
    const bool compliant = fileExists(picture);
    logLine(QStringLiteral("prores compliant qt ? %1").arg(compliant ? 1 : 0));
    rmCocoa(picture);
    return compliant;
}

bool AnalysisDriver::decodesByMovieFramework(const MediaInfoRecord &record) const
{
    if (!isMov(m_context.preferences.prefReadString(keys::analysisSource))) {
        return false;
    }
    return !hasPictureKeys(record) || isProResByMovieFramework(record) ||
           (codecOf(record) == QLatin1String("icod") &&
            m_context.movies.hasDecoder(QStringLiteral("ICOD")));
}

QStringList AnalysisDriver::stepRecord()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const QString interlacing = readInterlacing();
    std::optional<MediaInfoRecord> record = analysisFf(m_retained, interlacing);
    if (decodesByMovieFramework(record.value_or(MediaInfoRecord()))) {
        auto merged = analysisMerge(source, m_retained, interlacing, m_context.movies);
        if (merged && m_context.movies.canOpen(source)) {
            record = std::move(merged);
            record->insert(QStringLiteral("qt"), QStringLiteral("qt"));
            record->insert(QStringLiteral("decSkip"), 1);
            logLine(QStringLiteral("appky > decSkip #2  :-)"));
        }
    }
    if (!record) {
        const QString said = refusalReason(m_retained, source);
        refuse(said.isNull() ? QStringLiteral("no picture of it could be decoded") : said);
        logLine(QStringLiteral("NON-COMPLIANT FILE  : %1").arg(source));
        return {};
    }
    return previewOf(*record, interlacing);
}

QStringList AnalysisDriver::previewOf(MediaInfoRecord record, const QString &interlacing)
{
    PreferencesStore &store = m_context.preferences;
    const QString source = store.prefReadString(keys::analysisSource);
    const QString picture = previewPath(source);
    store.prefWrite(keys::previewPath, picture);
    if (!record.contains(QStringLiteral("v0_fields")) && !interlacing.isNull()) {
        record.insert(QStringLiteral("v0_fields"), interlacing);
    }
    store.prefWriteDico(keys::analysisRecord, record);
    if (intIn(record, QStringLiteral("decSkip")).value_or(0) == 1) {
        m_context.movies.thumbnail(source, previewWidth, previewHeight(previewAspect(record)), 0,
                                   picture);
        return {};
    }
    return previewArguments(record, source, picture, PreviewFrame::Intra);
}

void AnalysisDriver::stepFinish()
{
    PreferencesStore &store = m_context.preferences;
    m_context.taskSlots.releaseAnalysisOutput();
    const MediaInfoRecord record = store.prefReadDico(keys::analysisRecord).toMap();
    store.prefDelete(keys::analysisRecord);
    const QString source = store.prefReadString(keys::analysisSource);
    const bool made = !record.isEmpty() && makeRow(record);
    store.prefDelete(keys::previewPath);
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

bool AnalysisDriver::makeRow(MediaInfoRecord record)
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    record.insert(QStringLiteral("srcPathStr"), source);
    if (!ensurePreview(record)) {
        logLine(QStringLiteral("Not a compliant file- skipped: '%1'").arg(source));
        return false;
    }
    BatchItem item;
    item.out = m_context.face.layoutIndex();
    item.dpi = m_context.face.pictureChoice();
    item.src = rowCaption(record, source);
    item.dico = std::move(record);
    m_context.table.add(std::move(item));
    m_context.window.drawerOpen = true;
    m_context.face.rowsChanged();
    m_context.windowChanged();
    return true;
}

// The preview as planned, else one of any frame; such a source is known from then on as one whose
// intra frames can't be picked out.
bool AnalysisDriver::ensurePreview(MediaInfoRecord &record)
{
    const QString picture = m_context.preferences.prefReadString(keys::previewPath);
    if (!fileExists(picture)) {
        const QString said = taskArray1PipeMax(
            previewArguments(record, stringIn(record, QStringLiteral("srcPathStr")), picture,
                             PreviewFrame::Any),
            ErrorText::Merged);
        if (!fileExists(picture)) {
            const bool noVideo = !record.contains(QStringLiteral("v0_codec"));
            const QString why = refusalReason(said, stringIn(record, QStringLiteral("srcPathStr")));
            refuse(noVideo         ? QStringLiteral("no video in it")
                   : why.isEmpty() ? QStringLiteral("no picture of it could be decoded")
                                   : why);
            return false;
        }
        record.insert(QStringLiteral("intraFailure"), 1);
    }
    record.insert(QStringLiteral("imgPathStr"), picture);
    return true;
}

void AnalysisDriver::finishSource()
{
    PreferencesStore &store = m_context.preferences;
    const bool wasCancelled = store.prefReadString(keys::analysisSource) == keys::cancelled;
    store.prefDelete(keys::analysisSource);
    if (queuedCount() > 0 && !wasCancelled && m_analysisStopInt == 0) {
        logLine(QStringLiteral("analysis            - fin (src current)"));
        setFlag(flagBegin);
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
    m_analysisStopInt = 0;
    WindowState &window = m_context.window;
    window.analysisCaption.clear();
    window.analysisStopShown = false;
    window.analysisWheel = false;
    m_context.analysing = false;
    m_context.setGate(true);
    store.prefDelete(flagBegin);
    window.dropImage = QStringLiteral("dndApp");
    window.dropCaptionShown = true;
    window.actionCaptionShown = false;
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
        setFlag(flagFinish);
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
