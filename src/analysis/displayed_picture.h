#pragma once

#include "analysis/decoded_frame.h"
#include "analysis/media_info_record.h"
#include "analysis/report_facts.h"

// From the streams as they are stored to the picture as it is seen.
namespace qv
{

// Whether the record has a video stream that is more than a cover.
bool hasMovingPicture(const MediaInfoRecord &record, const ReportFacts &facts);

// v0_* becomes the stream that ffmpeg decodes (without that knowledge the first that is no cover);
// the others follow in report order; covers are gone.
void settleVideoStreams(MediaInfoRecord &record, const ReportFacts &facts);

// Turns v0_width, v0_height, v0_dar and v0_par by the rotation that ffmpeg applies, which the
// decoded frame tells when the picture is not square, and adds it as v0_rotation. Angles beside
// quarter turns keep the size, as ffmpeg does.
void turnPicture(MediaInfoRecord &record, const ReportFacts &facts, const DecodedFrame &frame);

// The keys that the decoded frame can fill: v0_width, v0_height, v0_fps, v0_dar, v0_par.
MediaInfoRecord frameRecord(const DecodedFrame &frame);

} // namespace qv
