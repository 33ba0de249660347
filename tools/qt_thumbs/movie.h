#pragma once

#include "qt_thumbs/handles.h"

#include <gst/app/gstappsink.h>
#include <gst/video/video.h>

#include <tl/expected.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qv
{

// One decoded picture and when it is shown, in seconds from the start of the source.
struct Frame {
    BufferPtr picture;
    CapsPtr caps;
    double begin = 0;
    std::optional<double> end;
};

// A stream as its container or its parser describes it.
struct StreamDescription {
    std::string id;
    CapsPtr caps;
};

// A source opened for pictures of its first video stream. Every operation ends: with a result, or
// with the reason why there is none.
class Movie
{
public:
    // Opened only when a first picture could be decoded.
    static tl::expected<std::unique_ptr<Movie>, std::string> open(const std::string &path);
    ~Movie();

    enum class Stop { End, Failed };
    // The next picture in the order of display.
    tl::expected<Frame, Stop> next();
    // Pictures from that instant on come next. False when the source can't go there.
    bool seek(double seconds);
    // Why the last operation failed; after a failure the source has to be opened again.
    const std::string &reason() const { return m_reason; }
    bool isBroken() const { return m_broken; }

    const Frame &firstFrame() const { return m_first; }
    std::optional<double> duration() const;
    GstVideoOrientationMethod orientation() const;

    const GstCaps *container() const { return m_container.get(); }
    std::vector<const GstCaps *> streams() const; // the one shown, then in the order of the file

private:
    Movie();
    bool start(const std::string &path);
    bool build(const std::string &path);
    void findClockStart();
    tl::unexpected<Stop> failed(const std::string &reason);
    std::optional<std::string> error() const;
    Frame frameOf(const SamplePtr &sample) const;

    void describe(GstPad *pad, const GstCaps *caps);
    bool isShown(GstPad *pad, const GstCaps *caps);
    void link(GstPad *pad);
    static gboolean onContinue(GstElement *bin, GstPad *pad, GstCaps *caps, Movie *self);
    static int onSelect(GstElement *bin, GstPad *pad, GstCaps *caps, GstElementFactory *factory,
                        Movie *self);
    static void onPadAdded(GstElement *bin, GstPad *pad, Movie *self);
    static void onElement(GstBin *bin, GstBin *into, GstElement *element, Movie *self);
    static void onAllExposed(GstElement *bin, Movie *self);

    ElementPtr m_pipeline;
    GstAppSink *m_sink = nullptr; // the pipeline's
    Frame m_first;
    double m_clockStart = 0; // what the clock shows at the first picture
    std::string m_reason;
    bool m_broken = false;

    CapsPtr m_container;        // written by GStreamer's threads until the source is open
    mutable std::mutex m_mutex; // GStreamer's threads write what follows
    std::vector<StreamDescription> m_streams;
    std::string m_shownId;
    std::atomic<bool> m_linked = false;
    std::atomic<bool> m_allExposed = false;
};

} // namespace qv
