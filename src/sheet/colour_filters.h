#pragma once

#include <QStringList>
#include <QVariantMap>

// The colours of pictures that ffmpeg takes. ffmpeg writes JPEG files with the samples of the
// source, but readers of JPEG expect BT.601 colours in the range of a BT.709 display.
namespace qv
{

// Whether a source with this record has colours beyond a BT.709 display's: high dynamic range or a
// wide gamut; or a matrix that ffmpeg's scaler doesn't know.
bool needsColourMapping(const QVariantMap &record);

// The command with what the colours of the source with this record need; as it is for sources in
// BT.601 and RGB.
QStringList withDisplayColours(const QStringList &arguments, const QVariantMap &record);

} // namespace qv
