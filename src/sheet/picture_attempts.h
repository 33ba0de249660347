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

// The command to try when a run left no file: any frame at the instant; somewhat earlier; the frame
// at the instant with a run-up, which comes first where seeks end anywhere; the last key frame of
// the minute before; any frame of the minute after; the last key frame of the hour before, as of
// one picture under a song. A source with less than a frame a second is looked through for a whole
// interval on both sides. Where ffmpeg can't seek, the source is decoded from its start. Nothing
// when all has been tried. `attempt` counts from 1.
std::optional<PictureAttempt> nextAttempt(const QStringList &plannedArguments, int attempt,
                                          const AttemptClues &clues);

// The command that takes whatever frame stands at the instant instead of the next intra frame;
// nothing when the planned one does so already.
std::optional<PictureAttempt> anyFrameAttempt(const QStringList &plannedArguments);

// The command that begins half a minute earlier and takes the frame that stands at the instant.
PictureAttempt runUpAttempt(const QStringList &plannedArguments);

} // namespace qv
