#pragma once

#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <vector>

// One run of ffmpeg that takes several pictures of a source. Each comes out as in a run of its own,
// byte for byte. Neighbours with the same input options share an input.
namespace qv
{

// One picture in the way in which a run of its own would take it.
struct PictureShot {
    int index = 0;          // of the picture on the sheet
    QStringList arguments;  // tool first, picture file last; with the filter that tells the frame
    double seek = 0;        // where it begins, seconds from the start of the source
    bool takesLast = false; // of the frames that it sees the last one stays
};

// A single shot's command is the shot's own. `tellerName` gives the filter that tells the frame its
// name in a run of several, by the shot's position.
QStringList pictureRun(const std::vector<PictureShot> &shots,
                       const std::function<QString(int)> &tellerName);

// The command with options for its input.
QStringList insertedBeforeInput(QStringList arguments, const QStringList &options);

// Whether a decoder that leaves out all but intra frames gives the same ones. By decoder, scan type
// and container (bench/README.md); `record` is the source's.
enum class IntraOnly {
    No,
    Tried, // where groups of pictures are closed, which no record says
    Yes,
};
IntraOnly intraOnlyDecoding(const QVariantMap &record);
// The command with that option; for one that selects intra frames.
QStringList decodingIntraOnly(QStringList arguments);
// Whether a run that begins at a listed key picture shows the same frame as the planned run, which
// decodes the group before it. `areClosed`: the groups of pictures are known to be closed.
bool mayStartAtKeys(const QVariantMap &record, bool areClosed);
// The command with one thread for the decoder. Decoders that are alone in their process use the
// other processors, where several processes have them already.
QStringList decodingInOneThread(QStringList arguments);
// The command for a container whose end ffmpeg would read at each opening, to know its duration.
QStringList withoutLookingAtEnd(QStringList arguments, const QVariantMap &record);
// The command without reading on to learn of the streams, where the head of the container says all
// that ffmpeg must know to seek in it. The decoder then does not know how many pictures it must
// hold back, so only its first one is sure.
QStringList withoutLookingAtStreams(QStringList arguments, const QVariantMap &record);
// Whether starting more threads would take longer than they save.
bool isSmallToDecode(const QVariantMap &record);

// Whether a run of several pictures takes the same stream as a run of one would.
bool hasOneVideo(const QVariantMap &record);

// How many pictures one run may take, so that its decoders keep to some hundred megabytes; 1 where
// a run of several might choose another stream.
int mostPicturesPerRun(const QVariantMap &record);

} // namespace qv
