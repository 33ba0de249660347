#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// Films to measure with. ffmpeg makes each at the first call; it stays in the folder. All give its
// path, or a null one when it can't be made.
namespace bench
{

// Ten minutes of 1080p with a key frame every 10 seconds, the second one at `phase` seconds. With a
// phase of 0 a sheet's instants fall on key frames, and each run is as short as can be.
QString makeFilm(const QString &folder, int phase);
// Two minutes of HEVC, 3840 x 2160 with 10 bits, a key frame every 5 seconds: more than a sheet has
// pictures.
QString make4kFilm(const QString &folder);
// Three seconds of 7680 x 4320 with a key frame every second.
QString make8kFilm(const QString &folder);
// An hour of interlaced MPEG-2, 720 x 576, as a recorder writes it.
QString makeRecording(const QString &folder);
// Two minutes of 1280 x 720 as x264 encodes it when nothing is asked for.
QString makeShow(const QString &folder);
// The same as a transport stream, which has no index.
QString makeTransportStream(const QString &folder);
// Six seconds of 720p in Matroska with a single key frame.
QString makeMatroskaClip(const QString &folder);
// Three seconds of 320 x 240, as x264 encodes them when nothing is asked for.
QString makeSmallClip(const QString &folder);
// An upright clip of 12 seconds with a key frame every second, as telephones make them.
QString makeLongPhoneClip(const QString &folder);
// Upright clips of 3 to 8 seconds, as telephones make them; empty when one can't be made.
QStringList makePhoneClips(const QString &folder, int count);

// What ffmpeg makes of that synthetic scene with those options.
QString makePiece(const QString &folder, const QString &name, const QString &scene,
                  const QString &options);
// The piece that many times, one after the other.
QString makeRepeated(const QString &folder, const QString &name, const QString &piece, int times);

// The clips that whole sheets are measured with.
struct Clip {
    const char *name;  // of its rows
    const char *title; // for tables
    std::function<QString(const QString &folder)> make;
};
const std::vector<Clip> &sheetClips();
// The path of the clip with that name.
QString makeClip(const QString &folder, const char *name);

} // namespace bench
