// The steps of the analysis that make a source's record, its preview and its row.

#include "controller/analysis_driver.h"

#include "analysis/camcorder_clip.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/report_dialect.h"
#include "analysis/report_text.h"
#include "controller/preview.h"
#include "controller/store_keys.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "support/files.h"
#include "support/log.h"
#include "support/variant_values.h"

#include <QFile>

namespace qv
{
namespace
{

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

QString analysisFrameFile()
{
    return appendPath(temporaryFolder(), QStringLiteral("frame.yuv"));
}

void AnalysisDriver::stepParse()
{
    const QString problem = problemOfReport();
    if (problem.isNull()) {
        setFlag(keys::flagRecord);
        return;
    }
    refuse(problem);
    setFlag(keys::flagFinish);
}

// Takes over what the analysis run printed; why it is of no use, or a null text.
QString AnalysisDriver::problemOfReport()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const QString output = m_context.taskSlots.analysisTaskVerboseMStr();
    const RunReport &run = m_context.taskSlots.lastAnalysisRun();
    if (output.isEmpty() || output == QLatin1String(" ")) {
        return QStringLiteral("ffmpeg %1 and printed nothing").arg(outcomeText(run.outcome));
    }
    m_retained = reportWithoutNames(inOldWords(output), source);
    if (run.outcome.ending == ToolOutcome::Ending::Hung) {
        return QStringLiteral("ffmpeg %1").arg(outcomeText(run.outcome));
    }
    if (isFfmpegSuccess(m_retained)) {
        return {};
    }
    if (isMov(source) && m_context.movies.canOpen(source)) {
        logLine(QStringLiteral("appky > decSkip #1  :-)"));
        return {};
    }
    const QString said = refusalReason(output, source);
    return said.isNull()
               ? QStringLiteral("ffmpeg does not accept it (%1)").arg(outcomeText(run.outcome))
               : said;
}

// The stream header of the decoded frames; the file is used up.
DecodedFrame AnalysisDriver::takeDecodedFrame() const
{
    constexpr qint64 headerLength = 100;
    QFile file(analysisFrameFile());
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    DecodedFrame frame = decodedFrame(file.read(headerLength));
    file.remove();
    return frame;
}

Findings AnalysisDriver::gatherFindings() const
{
    Findings findings;
    findings.sourcePath = m_context.preferences.prefReadString(keys::analysisSource);
    findings.report = m_retained;
    findings.frame = takeDecodedFrame();
    if (!findings.frame.mark.isNull()) {
        findings.interlacingText = fieldOrderWord(findings.frame.mark);
        logLine(QStringLiteral("interlacingStr      : '%1'").arg(findings.interlacingText));
    }
    findings.reported = analysisFf(m_retained, findings.interlacingText);
    return findings;
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

AnalysisDriver::NextRun AnalysisDriver::stepRecord()
{
    Findings findings = gatherFindings();
    const QString source = findings.sourcePath;
    const bool byMovieFramework =
        decodesByMovieFramework(findings.reported.value_or(MediaInfoRecord())) &&
        m_context.movies.canOpen(source);
    if (byMovieFramework) {
        findings.movie = m_context.movies.record(source);
    }
    auto merged = analysisMerge(findings, byMovieFramework ? Road::MovieFramework : Road::Ffmpeg);
    if (!merged) {
        refuseUndescribed(source);
        return {};
    }
    m_interlacing = findings.interlacingText;
    if (byMovieFramework) {
        merged->record.insert(QStringLiteral("qt"), QStringLiteral("qt"));
        merged->record.insert(QStringLiteral("decSkip"), 1);
        logLine(QStringLiteral("appky > decSkip #2  :-)"));
        return previewOf(merged->record);
    }
    m_durationCheck = durationCheck(merged->record, merged->clues);
    return m_durationCheck == DurationCheck::None ? previewOf(merged->record)
                                                  : measure(merged->record);
}

void AnalysisDriver::refuseUndescribed(const QString &source)
{
    logLine(QStringLiteral("NON-COMPLIANT FILE  : %1").arg(source));
    if (m_retained.contains(inputMark) && !showsMovingPicture(m_retained)) {
        refuse(QStringLiteral("no video"));
        return;
    }
    const QString said = refusalReason(m_retained, source);
    refuse(said.isNull() ? QStringLiteral("no picture of it could be decoded") : said);
}

AnalysisDriver::NextRun AnalysisDriver::measure(const MediaInfoRecord &record)
{
    m_context.preferences.prefWriteDico(keys::analysisRecord, record);
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    return {durationArguments(m_durationCheck, source, record), true};
}

// The copying run has ended, or was ended because it took too long; then the end lies no earlier
// than it came.
AnalysisDriver::NextRun AnalysisDriver::stepDuration()
{
    const bool hasEnded = m_measuringLimit.isActive();
    m_measuringLimit.stop();
    MediaInfoRecord record = m_context.preferences.prefReadDico(keys::analysisRecord).toMap();
    const auto copied = copiedSeconds(m_context.taskSlots.analysisTaskVerboseMStr());
    if (m_durationCheck == DurationCheck::Tail) {
        if (endsAsClaimed(record, copied)) {
            return previewOf(record);
        }
        m_durationCheck = DurationCheck::Whole;
        return measure(record);
    }
    settleDuration(record, copied, hasEnded);
    return previewOf(record);
}

void AnalysisDriver::settleDuration(MediaInfoRecord &record, std::optional<double> copied,
                                    bool hasEnded) const
{
    const double before = numberIn(record, QStringLiteral("w_duration")).value_or(0);
    if (!copied || *copied < 0 || (!hasEnded && *copied < before)) {
        return;
    }
    const double settled = settledDuration(record, *copied);
    if (settled == before) {
        return;
    }
    record.insert(QStringLiteral("w_duration"), durationValue(settled));
    logLine(QStringLiteral("w_duration          : %1 instead of %2 s%3")
                .arg(QString::number(settled, 'f', 2), QString::number(before),
                     hasEnded ? QString() : QStringLiteral(", at least")));
}

AnalysisDriver::NextRun AnalysisDriver::previewOf(MediaInfoRecord record)
{
    PreferencesStore &store = m_context.preferences;
    const QString source = store.prefReadString(keys::analysisSource);
    const QString picture = previewPath(source);
    store.prefWrite(keys::previewPath, picture);
    if (!record.contains(QStringLiteral("v0_fields")) && !m_interlacing.isNull()) {
        record.insert(QStringLiteral("v0_fields"), m_interlacing);
    }
    store.prefWriteDico(keys::analysisRecord, record);
    if (intIn(record, QStringLiteral("decSkip")).value_or(0) == 1) {
        m_context.movies.thumbnail(source, previewWidth, previewHeight(previewAspect(record)), 0,
                                   picture);
        return {};
    }
    return {previewArguments(record, source, picture, PreviewFrame::Intra), false};
}

bool AnalysisDriver::makeRow(MediaInfoRecord record)
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    record.insert(QStringLiteral("srcPathStr"), source);
    if (const QString name = cardClipName(source); !name.isNull()) {
        record.insert(QStringLiteral("clipName"), name);
    }
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
// intra frames can't be picked out. The start of a source can be had even where it can't be sought.
bool AnalysisDriver::ensurePreview(MediaInfoRecord &record)
{
    const QString picture = m_context.preferences.prefReadString(keys::previewPath);
    const QString source = stringIn(record, QStringLiteral("srcPathStr"));
    QString said;
    for (const PreviewFrame frame : {PreviewFrame::Any, PreviewFrame::AnyAtStart}) {
        if (fileExists(picture)) {
            break;
        }
        record.insert(QStringLiteral("intraFailure"), 1);
        said =
            taskArray1PipeMax(previewArguments(record, source, picture, frame), ErrorText::Merged);
    }
    if (!fileExists(picture)) {
        const QString why = refusalReason(said, source);
        refuse(why.isEmpty() ? QStringLiteral("no picture of it could be decoded") : why);
        return false;
    }
    record.insert(QStringLiteral("imgPathStr"), picture);
    return true;
}

} // namespace qv
