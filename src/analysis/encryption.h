#pragma once

#include <QString>

namespace qv
{

// Whether the container says that its pictures are encrypted: a sample entry "encv" in a movie file
// (ISO/IEC 14496-12, 8.12), or transport_scrambling_control in most packets of a transport stream
// (ISO/IEC 13818-1, 2.4.3.3). No for other containers and for files that can't be read. Reads a few
// megabytes at most.
bool isMarkedEncrypted(const QString &path);

} // namespace qv
