#pragma once

#include <QString>

// Names for the clips of camcorder cards, whose files have nothing but numbers. A card has the
// folders STREAM, with the clips, and PLAYLIST, which tells when each was recorded, side by side.
namespace qv
{

// "clip-2009-05-17 14;23;05-00003": when the clip was recorded as the card's playlists tell, else
// when its file was made, and its number. The file's name when neither is known. Runs a tool.
QString clipDateName(const QString &clipPath);

// The same for a clip on a card; null for every other file, and when nothing is known.
QString cardClipName(const QString &clipPath);

} // namespace qv
