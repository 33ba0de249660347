#pragma once

#include "analysis/media_info_record.h"

#include <QString>
#include <QStringList>

#include <optional>

// Whether a source's duration can be believed, and how it is measured when not: ffmpeg copies the
// packets to nowhere and says how far it came.
namespace qv
{

enum class DurationCheck {
    None,  // known well enough
    Tail,  // the container claims it: look whether packets end there
    Whole, // read all packets
};

// What the check knows of a source beside its record.
struct DurationClues {
    qint64 bytes = 0;        // size of the source
    bool isGuessed = false;  // ffmpeg had nothing but the bit rate to go by
    bool isFromHead = false; // measured by the MPEG reader from time codes
};

DurationCheck durationCheck(const MediaInfoRecord &record, const DurationClues &clues);

// Whether the bytes can carry pictures for so many seconds, and whether they are more than so many
// seconds of the record's pictures can take (also when its size or rate is unknown).
bool canCarry(const MediaInfoRecord &record, double seconds, qint64 bytes);
bool isTooShort(const MediaInfoRecord &record, double seconds, qint64 bytes);

// The run that measures; how far it came is given by copiedSeconds().
QStringList durationArguments(DurationCheck check, const QString &sourcePath,
                              const MediaInfoRecord &record);

// Seconds of the last "time=" in what a copying run printed, counted from where it began; nothing
// when no packet came.
std::optional<double> copiedSeconds(const QString &report);

// Whether the tail run found the end where the record says.
bool endsAsClaimed(const MediaInfoRecord &record, std::optional<double> copied);

// The same, by the second at which the last packet ends.
bool endsWhereClaimed(const MediaInfoRecord &record, double end);

// The duration when the last packet begins at `measured` seconds: with the time that the last frame
// lasts. A claim that is little longer holds.
double settledDuration(const MediaInfoRecord &record, double measured);

// As a record keeps it: whole seconds, or less than one.
QVariant durationValue(double seconds);

} // namespace qv
