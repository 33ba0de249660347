#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

// Whether a source that ffmpeg complains about is worth a row all the same: some of its key
// pictures, from all over it, are decoded one by one, and must come without a decoding error.
namespace qv
{

// What one run of pictureCheckCommand() decoded.
struct PictureCheck {
    int sound = 0;   // key pictures without a decoding error
    int unsound = 0; // those with one, and errors that gave no picture
};

// Decodes at most `pictures` key pictures from `instant` (seconds; nothing: without a seek) and
// describes them. Bounded in time, and in how much of the source it reads.
QStringList pictureCheckCommand(const QString &sourcePath, const QString &forcedFormat,
                                std::optional<double> instant, int pictures);
PictureCheck pictureCheck(const QString &report);

// Seconds at which a source of this duration is looked at beside its start, the most telling first;
// empty without a duration.
QList<double> checkedInstants(std::optional<double> duration);

struct SecondLook {
    bool isUsable = false;    // sound pictures came
    bool isEncrypted = false; // the container says so
};

// Runs ffmpeg on the calling thread, half a minute at most. A source that says it is encrypted must
// have mostly sound pictures (a clear beginning is usual), any other one at least one.
SecondLook secondLook(const QString &sourcePath, const QString &forcedFormat,
                      std::optional<double> duration);

} // namespace qv
