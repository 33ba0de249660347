#pragma once

#include "analysis/media_info_record.h"

#include <QList>
#include <QString>
#include <QStringList>

// The small picture that a row shows.
namespace qv
{

inline constexpr int previewWidth = 160; // pixels

// Display aspect of a record: v0_dar, else the picture size snapped to the common ratios,
// else 1.77.
float previewAspect(const MediaInfoRecord &record);
// Pixels, at least 1.
int previewHeight(float aspect);

// The picture by which the movie framework shows that it decodes ProRes; no preview has this path.
QString proResTestPath();
// A free path for it in the temporary folder, named after the source.
QString previewPath(const QString &sourcePath);

// Seconds from the start at which the preview is taken: the first that the source is longer than.
QList<int> previewOffsets();

enum class PreviewFrame { Intra, Any, AnyAtStart };
// The ffmpeg run that makes it, from somewhere inside the film, or without any seek.
QStringList previewArguments(const MediaInfoRecord &record, const QString &sourcePath,
                             const QString &picturePath, PreviewFrame frame);

} // namespace qv
