#include "qt_thumbs/frame_finder.h"

#include "qt_thumbs/patience.h"

#include <algorithm>

namespace qv
{
namespace
{

// Time stamps are rounded on their way.
constexpr double rounding = 0.0005;

// How far before the instant to look when there is nothing at it: behind the end, in a gap, and
// where a demultiplexer comes out too late.
constexpr double backwards[] = {0, 0.5, 2, 8, 32};

struct Found {
    std::optional<Frame> shown; // the last one that begins by the instant
    std::optional<Frame> after; // the first one behind it, when there is none before
};

bool isShownAt(const Frame &frame, double instant)
{
    return frame.begin <= instant + rounding && frame.end && *frame.end > instant + rounding;
}

Frame copyOf(const Frame &frame)
{
    return {BufferPtr(gst_buffer_ref(frame.picture.get())), CapsPtr(gst_caps_ref(frame.caps.get())),
            frame.begin, frame.end};
}

// From where the movie stands.
Found lookOn(Movie &movie, Found found, double instant, double giveUp)
{
    while (watchdog::now() < giveUp) {
        auto frame = movie.next();
        if (!frame) {
            return found;
        }
        if (frame->begin > instant + rounding) {
            if (!found.shown) {
                found.after = std::move(*frame);
            }
            return found;
        }
        found.shown = std::move(*frame);
        if (isShownAt(*found.shown, instant)) {
            return found;
        }
    }
    return found;
}

} // namespace

tl::expected<Frame, std::string> frameAt(Movie &movie, double instant)
{
    if (isShownAt(movie.firstFrame(), instant)) {
        return copyOf(movie.firstFrame());
    }
    const double giveUp = watchdog::now() + Patience::limit;
    const double last = std::min(instant, movie.duration().value_or(instant));
    std::optional<Frame> after;
    for (const double back : backwards) {
        const double start = std::max(0.0, last - back);
        if (!movie.seek(start)) {
            break;
        }
        Found found = lookOn(movie, {}, instant, giveUp);
        if (found.shown) {
            return std::move(*found.shown);
        }
        after = found.after ? std::move(found.after) : std::move(after);
        if (movie.isBroken() || watchdog::now() > giveUp || start == 0) {
            break;
        }
    }
    if (after) {
        return std::move(*after);
    }
    return tl::make_unexpected(movie.isBroken() ? movie.reason() : "there is no picture near it");
}

tl::expected<Frame, std::string> frameByDecoding(Movie &movie, double instant)
{
    const double giveUp = watchdog::now() + Patience::limit;
    Found found = lookOn(movie, {copyOf(movie.firstFrame()), {}}, instant, giveUp);
    if (watchdog::now() > giveUp) {
        return tl::make_unexpected("it takes too long to get there");
    }
    return std::move(*found.shown);
}

} // namespace qv
