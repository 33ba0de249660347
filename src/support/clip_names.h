#pragma once

#include <QString>

// What the folders and bundles around a source tell of it.
namespace qv
{

// The recorded length in seconds that a recorder bundle states; 0 outside one or when unknown.
float eyetvRecordedDuration(const QString &path);

// The first entry of a folder with exactly this extension; an empty text when there is none.
QString fileFromFolder(const QString &folder, const QString &extension);

} // namespace qv
