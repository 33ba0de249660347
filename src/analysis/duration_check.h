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
    bool isWhole = false;    // the file holds all the bytes that its container announces
    double averageRate = 0;  // frames a second, by the container's count of them; 0: unknown
    bool isDamaged = false;  // ffmpeg met errors in the source
};

// The record's duration with its fraction, seconds: an entry of the record's that is not published.
inline const QString exactDurationKey = QStringLiteral("exactDuration");
// In a record: w_duration when there is no exact one, 0 when both are missing.
double exactDuration(const MediaInfoRecord &record);
// Both entries.
void setDuration(MediaInfoRecord &record, double seconds);

DurationCheck durationCheck(const MediaInfoRecord &record, const DurationClues &clues);

// Whether the bytes can carry pictures for so many seconds, and whether they are more than so many
// seconds of the record's pictures can take (also when its size or rate is unknown).
bool canCarry(const MediaInfoRecord &record, double seconds, const DurationClues &clues);
bool isTooShort(const MediaInfoRecord &record, double seconds, qint64 bytes);

// The run that measures; how far it came is given by copiedSeconds().
QStringList durationArguments(DurationCheck check, const QString &sourcePath,
                              const MediaInfoRecord &record);

// Seconds at which the last packet ends, by the last "time=" in what a copying run printed, counted
// from where it began; nothing when no packet came.
std::optional<double> copiedSeconds(const QString &report);

// Whether the tail run found the end where the record says.
bool endsAsClaimed(const MediaInfoRecord &record, std::optional<double> copied);

// The same, by the second at which the last packet ends.
bool endsWhereClaimed(const MediaInfoRecord &record, double end);

// The duration when the last packet ends at `measured` seconds. A longer claim holds when it is
// little longer. That of a whole container holds, too, but may count from the zero of a clock that
// begins later: not all containers tell how long a last frame stays, and an edit list may show what
// no packet does.
double settledDuration(const MediaInfoRecord &record, double measured, const DurationClues &clues);

// As a record keeps it: whole seconds, or less than one.
QVariant durationValue(double seconds);

} // namespace qv
