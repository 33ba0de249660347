#pragma once

#include "analysis/media_info_record.h"

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Questions that a report of ffmpeg, or a short run of it, answers. Each gives its safe value when
// it can't tell: no, nothing, 0, or 1 second.
namespace qv
{

// Whether ffmpeg accepted the source, by the phrases in what it printed.
bool isFfmpegSuccess(const QString &report);

// The localised word of a field order: "t" top first, "b" bottom first, anything else progressive.
QString fieldOrderWord(const QString &code);

// Whether the first 35 frames stutter. A missing report makes ffmpeg decode them.
bool isFfmpegVsync(const QString &sourcePath, const QString &report, const QString &forcedFormat);

// Seconds at which the chapter of this line begins; nothing for any other line.
std::optional<float> chapterStart(const QString &line);

// Start times of the chapters in seconds, in report order; nothing when there are none.
std::optional<QList<float>> ffChapters(const QString &report);

// Seconds that an elementary video file plays, by reading it to its end; 1 when unknown.
int durationM2v(const QString &sourcePath);

// A number for the installed ffmpeg build; 0 when unknown. The second takes the printed text.
float ffRevision();
float ffRevisionFromText(const QString &versionText);

// Presentation time of the first key frame in a report with "showinfo" lines; 0 when there is none.
float keyFrameStartTime(const QString &report);

// The record of a report with intraOffset and chapters added. Nothing for a missing report, and for
// a source with a frame rate of which no interlacing text (a field-order word) is known.
std::optional<MediaInfoRecord> analysisFf(const QString &report, const QString &interlacingText);

// The interlace mark of a YUV4MPEG2 stream header ("p", "t", "b", ...) in its first bytes; null
// when there is none.
QString interlaceMark(const QByteArray &firstBytes);

QStringList mpegElementaryExtensions();
QStringList mpegProgramExtensions();
// A list of format words that depends on the kind ("A" or any other letter).
QStringList kindDependentWords(const QString &kind);

} // namespace qv
