#include "fuzz_input.h"

#include "analysis/ffmpeg_probes.h"
#include "analysis/ffmpeg_report.h"
#include "analysis/other_streams.h"
#include "analysis/refusal.h"
#include "analysis/report_details.h"

using namespace qv;

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString report = fuzz::text(data, size);
    const bool isRecord = parseFfmpegReport(report).has_value();
    fuzz::require(isRecord == report.contains(QLatin1String("Input #")), "an input is a record");
    // Without an input section the analysis would ask the tool.
    if (isRecord) {
        analysisFf(report, {});
        analysisFf(report, fieldOrderWord(QStringLiteral("t")));
    }
    isFfmpegSuccess(withoutOtherStreams(report));
    MediaInfoRecord record = parseFfmpegReport(report).value_or(MediaInfoRecord());
    addDetails(record, reportDetails(report));
    refusalReason(report, QStringLiteral("/films/film.avi"));
    keyFrameStartTime(report);
    ffRevisionFromText(report);
    return 0;
}
