// The steps of the analysis that make a source's record, its preview and its row.

#include "controller/analysis_driver.h"

#include "analysis/camcorder_clip.h"
#include "analysis/ffmpeg_probes.h"
#include "analysis/other_streams.h"
#include "analysis/quick_probe.h"
#include "analysis/refusal.h"
#include "analysis/report_dialect.h"
#include "analysis/report_text.h"
#include "analysis/second_look.h"
#include "controller/preview.h"
#include "controller/reasons.h"
#include "controller/store_keys.h"
#include "process/tool_environment.h"
#include "process/tool_run.h"
#include "sheet/colour_filters.h"
#include "sheet/record_values.h"
#include "support/files.h"
#include "support/log.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QFile>

#include <memory>
#include <utility>

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
    return appendPath(toolFolder(), QStringLiteral("frame.yuv"));
}

void AnalysisDriver::stepParse()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const ReportVerdict verdict = verdictOnReport();
    if (!verdict.problem.isNull() && hasRepeatedExactly(verdict.problem)) {
        return;
    }
    if (!verdict.mayBeMovie) {
        lookAgain(verdict);
        return;
    }
    const auto opens = std::make_shared<bool>(false);
    askThen([this, source, opens] { *opens = m_context.movies.canOpen(source); },
            [this, opens, verdict] {
                if (!*opens) {
                    lookAgain(verdict);
                    return;
                }
                logLine(QStringLiteral("appky > decSkip #1  :-)"));
                endParse(QString());
            });
}

// A source that only ffmpeg's complaints speak against is a damaged one when its pictures are
// sound.
void AnalysisDriver::lookAgain(const ReportVerdict &verdict)
{
    if (!verdict.isByWords) {
        endParse(verdict.problem);
        return;
    }
    const PreferencesStore &store = m_context.preferences;
    const auto look = std::make_shared<SecondLook>();
    askThen([look, source = store.prefReadString(keys::analysisSource),
             format = store.prefReadString(QStringLiteral("ffFileForceFormatStr")),
             duration = m_details.duration] { *look = secondLook(source, format, duration); },
            [this, look, problem = verdict.problem] {
                if (look->isUsable && hasDecodedFrame() && !m_context.face.refusesDamaged()) {
                    m_damage = problem;
                    logLine(QStringLiteral("damaged             : %1").arg(problem));
                    endParse(QString());
                } else {
                    endParse(look->isEncrypted ? reasons::encrypted : problem);
                }
            });
}

void AnalysisDriver::endParse(const QString &problem)
{
    if (problem.isNull()) {
        setFlag(keys::flagRecord);
    } else {
        refuse(problem);
        setFlag(keys::flagFinish);
    }
    analysisLater();
}

// Takes over what the analysis run printed, and says why it is of no use.
AnalysisDriver::ReportVerdict AnalysisDriver::verdictOnReport()
{
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const QString output = m_context.taskSlots.analysisTaskVerboseMStr();
    const RunReport &run = m_context.taskSlots.lastAnalysisRun();
    if (output.isEmpty() || output == QLatin1String(" ")) {
        return {QStringLiteral("ffmpeg %1 and printed nothing").arg(outcomeText(run.outcome))};
    }
    m_retained = reportWithoutNames(inOldWords(output), source);
    m_details = reportDetails(reportWithoutPath(output, source));
    if (const QString refusal = containerRefusal(m_retained); !refusal.isNull()) {
        return {refusal};
    }
    if (run.outcome.ending == ToolOutcome::Ending::Hung) {
        return {QStringLiteral("ffmpeg %1").arg(outcomeText(run.outcome))};
    }
    if (m_isProbing &&
        (run.outcome.ending != ToolOutcome::Ending::Exited || run.outcome.exitCode != 0)) {
        return {QStringLiteral("it %1").arg(outcomeText(run.outcome))};
    }
    if (isPictureFormat(m_retained)) {
        // The quick tool does not count frames.
        const QString last = m_isProbing ? QString() : lastProgressLine(output);
        if (intValue(after(last, QLatin1String("frame="))) <= 1 &&
            (m_isProbing || hasDecodedFrame())) {
            return {stillPicture};
        }
    }
    return verdictOnWords(output);
}

AnalysisDriver::ReportVerdict AnalysisDriver::verdictOnWords(const QString &output) const
{
    const QString shownOnly = withoutOtherStreams(m_retained);
    if (isFfmpegSuccess(m_retained) || (hasDecodedFrame() && isFfmpegSuccess(shownOnly))) {
        return {};
    }
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    const RunReport &run = m_context.taskSlots.lastAnalysisRun();
    const bool isByWords =
        run.outcome.ending == ToolOutcome::Ending::Exited && showsMovingPicture(m_retained);
    const QString said = refusalReason(isByWords ? shownOnly : output, source);
    return {said.isNull()
                ? QStringLiteral("ffmpeg does not accept it (%1)").arg(outcomeText(run.outcome))
                : said,
            isMov(source), isByWords};
}

// The quick tool writes a header only when it has decoded a frame, ffmpeg in any case.
bool AnalysisDriver::hasDecodedFrame() const
{
    constexpr qint64 headerLength = 256;
    QFile file(analysisFrameFile());
    const QByteArray begin =
        file.open(QIODevice::ReadOnly) ? file.read(headerLength) : QByteArray();
    return m_isProbing ? !begin.isEmpty() : begin.contains("\nFRAME");
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
    findings.details = m_details;
    findings.frame = takeDecodedFrame();
    if (!findings.frame.mark.isNull()) {
        findings.interlacingText = fieldOrderWord(findings.frame.mark);
        logLine(QStringLiteral("interlacingStr      : '%1'").arg(findings.interlacingText));
    }
    findings.reported = analysisFf(m_retained, findings.interlacingText);
    return findings;
}

bool AnalysisDriver::isProResByMovieFramework(const MediaInfoRecord &record,
                                              const QString &source) const
{
    static const QStringList names{QStringLiteral("ap4h"), QStringLiteral("apco"),
                                   QStringLiteral("apcs"), QStringLiteral("apch"),
                                   QStringLiteral("apcn"), QStringLiteral("prores")};
    if (!names.contains(codecOf(record)) || !m_context.movies.hasDecoder(QStringLiteral("APCH"))) {
        return false;
    }
    const QString picture = proResTestPath();
    taskArrayPipes({Bundle::main().toolPath(QStringLiteral("qtThumbs")), QStringLiteral("-i"),
                    source, QStringLiteral("-w"), QStringLiteral("100"), QStringLiteral("-h"),
                    QStringLiteral("100"), QStringLiteral("-tc"), QStringLiteral("0:00:00"),
                    QStringLiteral("-y"), QStringLiteral("-o"), picture});
    const bool compliant = fileExists(picture);
    logLine(QStringLiteral("prores compliant qt ? %1").arg(compliant ? 1 : 0));
    rmCocoa(picture);
    return compliant;
}

bool AnalysisDriver::decodesByMovieFramework(const MediaInfoRecord &record,
                                             const QString &source) const
{
    if (!isMov(source)) {
        return false;
    }
    return !hasPictureKeys(record) || isProResByMovieFramework(record, source) ||
           (codecOf(record) == QLatin1String("icod") &&
            m_context.movies.hasDecoder(QStringLiteral("ICOD")));
}

void AnalysisDriver::stepRecord()
{
    const auto findings = std::make_shared<Findings>(gatherFindings());
    if (!isMov(findings->sourcePath)) {
        goOnWith(runAfter(*findings, false));
        return;
    }
    const auto byMovies = std::make_shared<bool>(false);
    askThen([this, findings, byMovies] { *byMovies = askMovieFramework(*findings); },
            [this, findings, byMovies] { goOnWith(runAfter(*findings, *byMovies)); });
}

// Whether it is the one to make the pictures; then its record is among the findings.
bool AnalysisDriver::askMovieFramework(Findings &findings) const
{
    const QString &source = findings.sourcePath;
    MediaInfoRecord reported = findings.reported.value_or(MediaInfoRecord());
    addDetails(reported, findings.details);
    // The framework's tool maps no colours.
    const bool isFfmpegs = hasPictureKeys(reported) && needsColourMapping(reported);
    if (isFfmpegs || !decodesByMovieFramework(reported, source) ||
        !m_context.movies.canOpen(source)) {
        return false;
    }
    findings.movie = m_context.movies.record(source);
    return true;
}

AnalysisDriver::NextRun AnalysisDriver::runAfter(const Findings &findings, bool byMovieFramework)
{
    const QString source = findings.sourcePath;
    auto merged = analysisMerge(findings);
    if (!merged) {
        if (hasRepeatedExactly(QStringLiteral("nothing to be shown"))) {
            return {{}, false, nullptr, true};
        }
        refuseUndescribed(source);
        return {};
    }
    m_interlacing = findings.interlacingText;
    if (!m_damage.isNull()) {
        merged->record.insert(damageKey, m_damage);
    }
    if (byMovieFramework) {
        merged->record.insert(QStringLiteral("qt"), QStringLiteral("qt"));
        merged->record.insert(QStringLiteral("decSkip"), 1);
        logLine(QStringLiteral("appky > decSkip #2  :-)"));
        return previewOf(merged->record);
    }
    m_durationClues = merged->clues;
    m_durationClues.isDamaged = !m_damage.isNull();
    m_durationCheck = durationCheck(merged->record, m_durationClues);
    if (m_durationCheck == DurationCheck::Tail && hasProbedTail(merged->record)) {
        m_durationCheck = DurationCheck::None;
    }
    if (m_durationCheck == DurationCheck::None) {
        return previewOf(merged->record);
    }
    // It may stand elsewhere in a source of another length.
    if (m_isProbing) {
        QFile::remove(m_probePreview);
    }
    return measure(merged->record);
}

// Whether the quick tool met the end where it is claimed to be.
bool AnalysisDriver::hasProbedTail(const MediaInfoRecord &record) const
{
    const auto end = m_isProbing ? quickTail(m_retained) : std::nullopt;
    return end && endsWhereClaimed(record, *end);
}

void AnalysisDriver::refuseUndescribed(const QString &source)
{
    logLine(QStringLiteral("NON-COMPLIANT FILE  : %1").arg(source));
    if (m_retained.contains(inputMark) && !showsMovingPicture(m_retained)) {
        refuse(QStringLiteral("no video"));
        return;
    }
    const QString said = refusalReason(m_retained, source);
    refuse(said.isNull() ? reasons::nothingDecoded : said);
}

AnalysisDriver::NextRun AnalysisDriver::measure(const MediaInfoRecord &record)
{
    m_context.preferences.prefWriteDico(keys::analysisRecord, record);
    const QString source = m_context.preferences.prefReadString(keys::analysisSource);
    return {durationArguments(m_durationCheck, source, record), true};
}

// A copying run that did not end well, or was ended because it took too long, shows only that the
// end lies no earlier than it came.
AnalysisDriver::NextRun AnalysisDriver::stepDuration()
{
    const ToolOutcome &outcome = m_context.taskSlots.lastAnalysisRun().outcome;
    const bool isInTime = m_measuringLimit.isActive();
    const bool hasEnded =
        isInTime && outcome.ending == ToolOutcome::Ending::Exited && outcome.exitCode == 0;
    m_measuringLimit.stop();
    if (!hasEnded) {
        logLine(QStringLiteral("w_duration          : the measuring run %1")
                    .arg(isInTime ? outcomeText(outcome) : QStringLiteral("took too long")));
    }
    MediaInfoRecord record = m_context.preferences.prefReadDico(keys::analysisRecord).toMap();
    const auto copied = copiedSeconds(m_context.taskSlots.analysisTaskVerboseMStr());
    if (m_durationCheck == DurationCheck::Tail) {
        if (!hasEnded || endsAsClaimed(record, copied)) {
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
    const double before = exactDuration(record);
    if (!copied || *copied <= 0 || (!hasEnded && *copied < before)) {
        return;
    }
    const double settled = settledDuration(record, *copied, m_durationClues);
    if (settled == before) {
        return;
    }
    setDuration(record, settled);
    logLine(QStringLiteral("w_duration          : %1 instead of %2 s%3")
                .arg(fixedText(settled, 2), fixedText(before, 2),
                     hasEnded ? QString() : QStringLiteral(", at least")));
}

AnalysisDriver::NextRun AnalysisDriver::previewOf(MediaInfoRecord record)
{
    PreferencesStore &store = m_context.preferences;
    const QString source = store.prefReadString(keys::analysisSource);
    const bool isMade = m_isProbing && fileExists(m_probePreview);
    const QString picture = isMade ? m_probePreview : previewPath(source);
    store.prefWrite(keys::previewPath, picture);
    if (!record.contains(QStringLiteral("v0_fields")) && !m_interlacing.isNull()) {
        record.insert(QStringLiteral("v0_fields"), m_interlacing);
    }
    store.prefWriteDico(keys::analysisRecord, record);
    if (intIn(record, QStringLiteral("decSkip")).value_or(0) == 1) {
        const int height = previewHeight(previewAspect(record));
        return {{}, false, [this, source, picture, height] {
                    m_context.movies.thumbnail(source, previewWidth, height, 0, picture);
                }};
    }
    if (isMade) {
        return {};
    }
    const QStringList planned = previewArguments(record, source, picture, PreviewFrame::Intra);
    return {withDisplayColours(planned, record), false};
}

// What a row needs beside its record: the preview as planned, else one of any frame; such a source
// is known from then on as one whose intra frames can't be picked out. The start of a source can be
// had even where it can't be sought.
void AnalysisDriver::completeRow(NewRow &row)
{
    row.record.insert(QStringLiteral("srcPathStr"), row.source);
    if (const QString name = cardClipName(row.source); !name.isNull()) {
        row.record.insert(QStringLiteral("clipName"), name);
    }
    for (const PreviewFrame frame : {PreviewFrame::Any, PreviewFrame::AnyAtStart}) {
        if (fileExists(row.picture)) {
            return;
        }
        row.record.insert(QStringLiteral("intraFailure"), 1);
        const QStringList planned = previewArguments(row.record, row.source, row.picture, frame);
        row.said = taskArray1PipeMax(withDisplayColours(planned, row.record), ErrorText::Merged);
    }
}

bool AnalysisDriver::makeRow(NewRow &row)
{
    if (!fileExists(row.picture)) {
        const QString why = refusalReason(row.said, row.source);
        refuse(why.isEmpty() ? reasons::nothingDecoded : why);
        logLine(QStringLiteral("Not a compliant file- skipped: '%1'").arg(row.source));
        return false;
    }
    if (hasWrongColours(row.record)) {
        logLine(QStringLiteral("colors              :-( %1 without a compatible base layer: '%2'")
                    .arg(stringIn(row.record, QStringLiteral("v0_hdr")), row.source));
    }
    row.record.insert(QStringLiteral("imgPathStr"), row.picture);
    BatchItem item;
    item.out = m_context.face.layoutIndex();
    item.dpi = m_context.face.pictureChoice();
    item.src = rowCaption(row.record, row.source);
    item.dico = std::move(row.record);
    item.state = m_sourceState;
    if (m_isProbing) {
        item.listed = listedPictures(m_retained);
    }
    m_context.table.add(std::move(item));
    m_context.window.drawerOpen = true;
    m_context.face.rowsChanged();
    m_context.windowChanged();
    return true;
}

} // namespace qv
