#pragma once

#include <QString>

// What ffmpeg's own words say of a source, apart from the names and tags that it repeats.
namespace qv
{

inline const QString stillPicture = QStringLiteral("it is a still picture, not a video");

// The report without the source's path, in which a line break could forge a line.
QString reportWithoutPath(const QString &report, const QString &sourcePath);

// The report without the source's name and the values of its tags, which are not ffmpeg's words: a
// film called "Trial and Error" is no failure, and one called "Stream #0:0: Video: h264" no stream.
QString reportWithoutNames(const QString &report, const QString &sourcePath);

// Why the container that ffmpeg reports may not be opened (openableFormats): it is a playlist, or
// no media. Null when it may be opened, or when the report names no container.
QString containerRefusal(const QString &report);

// Whether the source is of a format for single pictures or animations, such as PNG or GIF: a single
// frame of it is no video.
bool isPictureFormat(const QString &report);

// Why ffmpeg refused or could not decode, in words for people; a null text when it does not say.
QString refusalReason(const QString &report, const QString &sourcePath);

} // namespace qv
