#pragma once

#include <QString>

// The only place that knows how the installed ffmpeg words its reports. Everything else reads the
// words that the first releases used.
namespace qv
{

// A report of any release in the old words:
//   ff_read_packet stream=                       -> av_read_packet stream=
//   pts=NOPTS, dts=NOPTS                         -> the number that stood for "none"
//   [Parsed_showinfo_0 @                         -> [showinfo @
//   yuv420p(tv, bt709, progressive, left)        -> yuv420p
//   1 reference frame (avc1 / 0x31637661), Closed Captions, Film Grain, lossless -> gone
//   Video: wrapped_avframe (ffmpeg's own output) -> Video: rawvideo
//   Could not find codec parameters for a stream that is neither sound nor picture -> gone: older
//   releases did not look for any
//   [hevc @ ...] Error parsing NAL unit          -> gone: the first releases knew no such decoder,
//   and a stream that begins in the midst of a group has them until its first key picture
// A report in old words comes back as it was.
QString inOldWords(const QString &report);

} // namespace qv
