#include "qt_thumbs/movie.h"

#include "qt_thumbs/patience.h"
#include "qt_thumbs/plugging.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace qv
{
namespace
{

constexpr GstClockTime pollTime = 50 * GST_MSECOND;
constexpr guint queuedFrames = 2;

// The answers of decodebin's "autoplug-select".
enum AutoplugSelect { TryElement = 0, ExposePad = 1, SkipElement = 2 };

double toSeconds(GstClockTime time)
{
    return static_cast<double>(time) / GST_SECOND;
}

std::string streamId(GstPad *pad)
{
    const TextPtr id(gst_pad_get_stream_id(pad));
    return id ? id.get() : "";
}

bool isRaw(const GstCaps *caps)
{
    return std::string_view(gst_structure_get_name(gst_caps_get_structure(caps, 0)))
               .find("/x-raw") != std::string_view::npos;
}

// Pipes and devices could keep their reader waiting for ever.
std::string fileProblem(const std::string &path)
{
    struct stat facts {
    };
    if (::stat(path.c_str(), &facts) != 0) {
        return std::strerror(errno);
    }
    if (!S_ISREG(facts.st_mode)) {
        return "it is not a file";
    }
    return facts.st_size == 0 ? "the file is empty" : "";
}

// The stream itself knows whether it uses the full range; its container often does not say, which
// would be taken for no.
GstPadProbeReturn forgetColorimetry(GstPad *, GstPadProbeInfo *info, gpointer)
{
    GstEvent *event = GST_PAD_PROBE_INFO_EVENT(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps *caps = nullptr;
        gst_event_parse_caps(event, &caps);
        const CapsPtr changed(gst_caps_copy(caps));
        gst_structure_remove_field(gst_caps_get_structure(changed.get(), 0), "colorimetry");
        GST_PAD_PROBE_INFO_DATA(info) = gst_event_new_caps(changed.get());
        gst_event_unref(event);
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

tl::expected<std::unique_ptr<Movie>, std::string> Movie::open(const std::string &path)
{
    if (const std::string problem = fileProblem(path); !problem.empty()) {
        return tl::make_unexpected(problem);
    }
    std::unique_ptr<Movie> movie(new Movie);
    if (!movie->start(path)) {
        return tl::make_unexpected(movie->m_reason);
    }
    return movie;
}

Movie::Movie() = default;

Movie::~Movie()
{
    if (m_pipeline) {
        watchdog::allow(Patience::idleLimit, "closing the source");
        gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
    }
}

bool Movie::start(const std::string &path)
{
    if (!build(path)) {
        m_reason = "GStreamer's basic plug-ins are not installed";
        return false;
    }
    watchdog::allow(Patience::limit, "opening the source");
    gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
    auto first = next();
    if (!first) {
        m_reason = m_reason.empty() ? "there is no picture in it" : m_reason;
        return false;
    }
    m_first = std::move(*first);
    findClockStart();
    return m_first.picture && m_first.caps;
}

bool Movie::build(const std::string &path)
{
    m_pipeline.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
    GstElement *file = gst_element_factory_make("filesrc", nullptr);
    GstElement *decoder = gst_element_factory_make("decodebin", nullptr);
    GstElement *sink = gst_element_factory_make("appsink", nullptr);
    for (GstElement *element : {file, decoder, sink}) {
        if (element == nullptr || !gst_bin_add(GST_BIN(m_pipeline.get()), element)) {
            return false;
        }
    }
    m_sink = GST_APP_SINK(sink);
    const CapsPtr pictures(gst_caps_new_empty_simple("video/x-raw"));
    g_object_set(file, "location", path.c_str(), nullptr);
    g_object_set(decoder, "force-sw-decoders", TRUE, nullptr);
    g_object_set(sink, "sync", FALSE, "max-buffers", queuedFrames, "caps", pictures.get(), nullptr);
    g_signal_connect(decoder, "autoplug-continue", G_CALLBACK(onContinue), this);
    g_signal_connect(decoder, "autoplug-select", G_CALLBACK(onSelect), this);
    g_signal_connect(decoder, "pad-added", G_CALLBACK(onPadAdded), this);
    g_signal_connect(decoder, "no-more-pads", G_CALLBACK(onAllExposed), this);
    g_signal_connect(m_pipeline.get(), "deep-element-added", G_CALLBACK(onElement), this);
    return gst_element_link(file, decoder);
}

// The clock of a broadcast runs before its first picture. Elsewhere a first picture that comes late
// is meant to, unless it came after the end.
void Movie::findClockStart()
{
    if (isBroadcast(m_container.get()) || m_first.begin > duration().value_or(m_first.begin)) {
        m_clockStart = std::exchange(m_first.begin, 0);
    }
}

tl::expected<Frame, Movie::Stop> Movie::next()
{
    Patience patience;
    while (true) {
        watchdog::allow(Patience::limit + Patience::idleLimit, "decoding");
        if (const SamplePtr sample{gst_app_sink_try_pull_sample(m_sink, pollTime)}) {
            return frameOf(sample);
        }
        if (m_allExposed && !m_linked) {
            return failed("there is no video in it that can be decoded");
        }
        if (const auto problem = error()) {
            return failed(*problem);
        }
        if (gst_app_sink_is_eos(m_sink)) {
            return tl::make_unexpected(Stop::End);
        }
        if (patience.isOver()) {
            return failed("it takes too long");
        }
    }
}

tl::unexpected<Movie::Stop> Movie::failed(const std::string &reason)
{
    m_reason = reason;
    m_broken = true;
    return tl::make_unexpected(Stop::Failed);
}

std::optional<std::string> Movie::error() const
{
    const BusPtr bus(gst_element_get_bus(m_pipeline.get()));
    const MessagePtr message(gst_bus_pop_filtered(bus.get(), GST_MESSAGE_ERROR));
    if (!message) {
        return std::nullopt;
    }
    GError *error = nullptr;
    gst_message_parse_error(message.get(), &error, nullptr);
    const ErrorPtr owned(error);
    return error != nullptr ? error->message : "unknown error";
}

// The sample itself is left to the sink, which uses it again.
Frame Movie::frameOf(const SamplePtr &sample) const
{
    Frame frame;
    GstBuffer *buffer = gst_sample_get_buffer(sample.get());
    GstCaps *caps = gst_sample_get_caps(sample.get());
    const GstSegment *segment = gst_sample_get_segment(sample.get());
    if (buffer != nullptr && segment != nullptr && segment->format == GST_FORMAT_TIME &&
        GST_BUFFER_PTS_IS_VALID(buffer)) {
        const GstClockTime time =
            gst_segment_to_stream_time(segment, GST_FORMAT_TIME, GST_BUFFER_PTS(buffer));
        frame.begin = time == GST_CLOCK_TIME_NONE ? 0 : toSeconds(time) - m_clockStart;
        if (GST_BUFFER_DURATION_IS_VALID(buffer)) {
            frame.end = frame.begin + toSeconds(GST_BUFFER_DURATION(buffer));
        }
    }
    frame.picture.reset(buffer == nullptr ? nullptr : gst_buffer_ref(buffer));
    frame.caps.reset(caps == nullptr ? nullptr : gst_caps_ref(caps));
    return frame;
}

bool Movie::seek(double seconds)
{
    watchdog::allow(Patience::limit, "seeking");
    const double position = std::max(0.0, seconds) + m_clockStart;
    return gst_element_seek_simple(
        m_pipeline.get(), GST_FORMAT_TIME,
        static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
        static_cast<gint64>(position * GST_SECOND));
}

std::optional<double> Movie::duration() const
{
    gint64 duration = 0;
    if (!gst_element_query_duration(m_pipeline.get(), GST_FORMAT_TIME, &duration) ||
        duration <= 0) {
        return std::nullopt;
    }
    return toSeconds(static_cast<GstClockTime>(duration));
}

// Containers state it of the whole film or of the stream.
GstVideoOrientationMethod Movie::orientation() const
{
    const PadPtr pad(gst_element_get_static_pad(GST_ELEMENT(m_sink), "sink"));
    for (guint i = 0; true; ++i) {
        const EventPtr event(gst_pad_get_sticky_event(pad.get(), GST_EVENT_TAG, i));
        if (!event) {
            return GST_VIDEO_ORIENTATION_IDENTITY;
        }
        GstTagList *tags = nullptr;
        gst_event_parse_tag(event.get(), &tags);
        GstVideoOrientationMethod method = GST_VIDEO_ORIENTATION_IDENTITY;
        if (gst_video_orientation_from_tag(tags, &method)) {
            return method;
        }
    }
}

std::vector<const GstCaps *> Movie::streams() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<const GstCaps *> streams;
    for (const StreamDescription &stream : m_streams) {
        streams.insert(stream.id == m_shownId ? streams.begin() : streams.end(), stream.caps.get());
    }
    return streams;
}

// ---- on GStreamer's threads

// What stands later on the way to the decoder knows more of the same stream, but behind the decoder
// it is no longer the source's.
void Movie::describe(GstPad *pad, const GstCaps *caps)
{
    const std::string id = streamId(pad);
    const std::lock_guard lock(m_mutex);
    const auto known = std::find_if(m_streams.begin(), m_streams.end(),
                                    [&](const StreamDescription &s) { return s.id == id; });
    if (known == m_streams.end()) {
        m_streams.push_back({id, CapsPtr(gst_caps_copy(caps))});
    } else if (!isRaw(caps)) {
        known->caps.reset(gst_caps_copy(caps));
    }
}

// The first video stream for which a decoder was found.
bool Movie::isShown(GstPad *pad, const GstCaps *caps)
{
    if (!isVideo(caps)) {
        return false;
    }
    const std::lock_guard lock(m_mutex);
    if (m_shownId.empty()) {
        m_shownId = streamId(pad);
    }
    return m_shownId == streamId(pad);
}

// First comes the type of the whole file, then each stream in it.
gboolean Movie::onContinue(GstElement *, GstPad *pad, GstCaps *caps, Movie *self)
{
    if (!self->m_container) {
        self->m_container.reset(gst_caps_copy(caps));
        return isFilmType(caps);
    }
    self->describe(pad, caps);
    return TRUE;
}

int Movie::onSelect(GstElement *, GstPad *pad, GstCaps *caps, GstElementFactory *factory,
                    Movie *self)
{
    switch (pluggingOf(factory)) {
    case Plugging::Use:
        return TryElement;
    case Plugging::UseForPictures:
        return self->isShown(pad, caps) ? TryElement : ExposePad;
    default:
        return SkipElement;
    }
}

void Movie::onPadAdded(GstElement *, GstPad *pad, Movie *self)
{
    const CapsPtr caps(gst_pad_get_current_caps(pad));
    if (caps && isVideo(caps.get()) && isRaw(caps.get())) {
        self->link(pad);
    }
}

void Movie::link(GstPad *pad)
{
    const PadPtr sink(gst_element_get_static_pad(GST_ELEMENT(m_sink), "sink"));
    if (!gst_pad_is_linked(sink.get()) && gst_pad_link(pad, sink.get()) == GST_PAD_LINK_OK) {
        m_linked = true;
    }
}

// Before the parser has seen anything.
void Movie::onElement(GstBin *, GstBin *, GstElement *element, Movie *)
{
    GstElementFactory *factory = gst_element_get_factory(element);
    const std::string_view name = factory != nullptr ? GST_OBJECT_NAME(factory) : "";
    if (name == "h264parse" || name == "h265parse") {
        const PadPtr pad(gst_element_get_static_pad(element, "sink"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, forgetColorimetry,
                          nullptr, nullptr);
    }
}

void Movie::onAllExposed(GstElement *, Movie *self)
{
    self->m_allExposed = true;
}

} // namespace qv
