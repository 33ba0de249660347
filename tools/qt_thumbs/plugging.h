#pragma once

#include <gst/gst.h>

// Which elements may take part in opening a source. A source is one file: nothing that follows
// addresses found inside it (playlists, session descriptions) and nothing that needs no video.
namespace qv
{

// Whether a whole file of this type may be opened: films, not texts, playlists, pictures or music.
bool isFilmType(const GstCaps *caps);
// Whether its time stamps are those of a transmission, which began long before.
bool isBroadcast(const GstCaps *caps);

// What becomes of a stream that this element could take. Decoders are for the video to be shown;
// every other stream stays coded.
enum class Plugging { Use, UseForPictures, Refuse };
Plugging pluggingOf(GstElementFactory *factory);

// Whether the caps are those of moving pictures, coded or not.
bool isVideo(const GstCaps *caps);
bool isAudio(const GstCaps *caps);

} // namespace qv
