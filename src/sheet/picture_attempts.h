#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// How a still's planned run is made to tell which frame it takes, and how else the still can be had
// when that run left none.
namespace qv
{

// Whether ffmpeg, seeking in this container ("mpegts"), begins at a key frame. In the others a
// frame that is decoded right after a seek may lack those it builds on.
bool seeksToKeyFrames(const QString &wrapper);

// What is known of the source when a still is asked for again.
struct AttemptClues {
    double interval = 0; // seconds between two stills
    double fps = 0;      // 0: unknown
    bool canSeek = true; // false: ffmpeg said that it can't seek in this source
    bool seeksToKeys = true;
    std::optional<double> last = {}; // second of the last picture
    // Of one behind which nothing was found near a later instant.
    std::optional<double> lastSeen = {};
};

struct PictureAttempt {
    QStringList arguments;
    double seek = 0;        // where it begins, seconds from the start of the source
    bool takesLast = false; // of the frames that it sees the last one stays
};

// The selector of a planned run that takes the next intra frame.
QString intraSelector();

// The seconds at which a planned run begins; 0 for one that says nothing of it.
double plannedInstant(const QStringList &plannedArguments);

// The planned command with a filter that prints the time of the frame.
QStringList tellingInstant(const QStringList &plannedArguments);

// The command to try when a run left no file; what is tried, and in which order, depends on the
// clues. Nothing when all has been tried. `attempt` counts from 1.
std::optional<PictureAttempt> nextAttempt(const QStringList &plannedArguments, int attempt,
                                          const AttemptClues &clues);
int attemptCount(const QStringList &plannedArguments, const AttemptClues &clues);

// Whether the instant lies behind the last picture, so that this one has to do.
bool isBehindLast(const QStringList &plannedArguments, const AttemptClues &clues);

// The command that takes whatever frame stands at the instant instead of the next intra frame;
// nothing when the planned one does so already.
std::optional<PictureAttempt> anyFrameAttempt(const QStringList &plannedArguments);

// The key picture at `key`, which may be off by two frames, when the next one is `length` seconds
// behind it. Reads from that picture on, where the planned run reads the group before it.
PictureAttempt keyFrameAttempt(const QStringList &plannedArguments, double key, double length);

// The frame at the instant, from a run over the seconds from `from` to `until`, which hold the
// instant.
PictureAttempt anyFrameWithin(const QStringList &plannedArguments, double from, double until);

// The command that begins so many seconds earlier, or at the start, and takes the frame that stands
// at the instant.
inline constexpr double longestRunUp = 30;
PictureAttempt runUpAttempt(const QStringList &plannedArguments);

} // namespace qv
