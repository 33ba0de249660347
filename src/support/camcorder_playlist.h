#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QByteArrayView>
#include <QString>

// The playlists of a camcorder card (".MPL") know when each clip was recorded. After the bytes
// FF FF 1E 20, each 1E 20 is in the middle of a clip's mark: before it the clip number in two
// bytes (hundreds, rest), after it year, month, day, hour, minute and second; they and the 20, the
// century, are binary-coded decimals.
namespace qv
{

// One listing line a mark, "00003 : clip-2009-05-17 14;23;05\n". A mark that the data's end cuts
// gives none; nor do those beyond what clip numbers there are.
QByteArrayList clipMarks(QByteArrayView playlist);

// Writes the lines of all playlists in the folder, by name, to standard output. Makes the folder
// the current one. Stops at the first failure, which it tells on standard error; then false.
bool playlistTimestamps(const QString &folder);

} // namespace qv
