#pragma once

#include <QString>

namespace qv
{

// Whether the file holds all the bytes that its container announces: no box of an MP4 file
// (ISO/IEC 14496-12 clause 4.2), and not the segment of a Matroska file (RFC 9559 section 4.5),
// reaches beyond its end. False for other containers, for those that announce no length, and for
// fragmented MP4 files, of which whole fragments may be missing.
bool holdsAllItsBytes(const QString &path);

} // namespace qv
