#include "quick_thumbs/worker.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace qv
{
namespace
{

constexpr double rounding = 0.001;

// How many key pictures are tried instead of a flat one or a broken one.
constexpr int mostTries = 4;

// How much earlier than its instant a picture may be, where that saves decoding: the stamp says it.
constexpr double mostSlack = 0.25;

bool isSame(std::optional<double> a, double b)
{
    return a && std::abs(*a - b) < rounding;
}

bool isWithin(double reach, double a, double b)
{
    return std::abs(a - b) <= reach + rounding;
}

} // namespace

tl::expected<std::unique_ptr<Worker>, std::string> Worker::create(std::unique_ptr<Film> film,
                                                                  const PicturesRequest &request)
{
    const auto orientation = orientationOf(film->video());
    if (!orientation) {
        return tl::make_unexpected(std::string("it stands aslant"));
    }
    auto decoder = Decoder::open(*film);
    if (!decoder) {
        return tl::make_unexpected(decoder.error());
    }
    std::unique_ptr<Worker> worker(new Worker(std::move(film), request));
    worker->m_decoder = std::move(*decoder);
    worker->m_maker = std::make_unique<PictureMaker>(*worker->m_film, *orientation, request.width,
                                                     request.height);
    return worker;
}

// Half the way to the nearest other instant.
double Worker::reach(std::size_t index) const
{
    const std::vector<double> &instants = m_request.instants;
    double nearest = std::numeric_limits<double>::max();
    if (index > 0) {
        nearest = std::abs(instants[index] - instants[index - 1]);
    }
    if (index + 1 < instants.size()) {
        nearest = std::min(nearest, std::abs(instants[index + 1] - instants[index]));
    }
    return nearest / 2;
}

void Worker::leaveOut(std::size_t index)
{
    const double instant = m_request.instants[index];
    const auto key = m_keys.nearest(instant, reach(index));
    m_used =
        key && isWithin(reach(index), key->time, instant) ? std::optional(key->time) : std::nullopt;
}

std::optional<Worker::Taken> Worker::takeKeyFrom(double first, double last)
{
    const auto key = m_keys.next(first - 3 * rounding, last);
    const FramePtr frame = key ? m_decoder->alone(*key) : nullptr;
    const bool isIntra = frame && frame->pict_type == AV_PICTURE_TYPE_I;
    return isIntra ? pictureOf(frame.get(), key->time) : std::nullopt;
}

// A key picture serves one instant. Who shares one, or has none near, gets the picture at the
// instant itself.
tl::expected<Worker::Taken, std::string> Worker::take(std::size_t index)
{
    const double instant = m_request.instants[index];
    m_problem = "there is no picture near it";
    auto taken = byKeyPicture(instant, reach(index));
    if (!taken) {
        taken = byDecoding(instant, reach(index));
    }
    if (!taken) {
        taken = anywhereNear(instant);
    }
    if (!taken) {
        return tl::make_unexpected(m_problem);
    }
    return std::move(*taken);
}

std::optional<Worker::Taken> Worker::byKeyPicture(double instant, double reach)
{
    const auto key = m_keys.nearest(instant, reach);
    if (!key || !isWithin(reach, key->time, instant) || isSame(m_used, key->time)) {
        return std::nullopt;
    }
    auto taken = decodedAlone(*key);
    if (!taken) {
        return std::nullopt;
    }
    if (!m_request.keepFlat && isFlat(taken->picture)) {
        taken = lessFlat(std::move(*taken), instant + reach);
    }
    m_used = taken->time;
    return taken;
}

// A film may begin or fade with a flat picture; one of the next ones within the interval tells
// more.
std::optional<Worker::Taken> Worker::lessFlat(Taken flat, double limit)
{
    double from = flat.time;
    for (int i = 0; i < mostTries; ++i) {
        const auto key = m_keys.next(from, limit);
        if (!key) {
            break;
        }
        from = key->time;
        auto taken = decodedAlone(*key);
        if (taken && !isFlat(taken->picture)) {
            return taken;
        }
    }
    return flat;
}

std::optional<Worker::Taken> Worker::decodedAlone(const KeyPicture &key)
{
    const FramePtr frame = m_decoder->alone(key);
    return pictureOf(frame.get(), key.time);
}

std::optional<Worker::Taken> Worker::byDecoding(double instant, double reach)
{
    if (!m_sequence) {
        auto opened = Sequence::open(m_request.source, *m_film);
        if (!opened) {
            m_problem = opened.error();
            return std::nullopt;
        }
        m_sequence = std::move(*opened);
    }
    const auto key = m_keys.before(instant, m_sequence->reached());
    const FramePtr frame = m_sequence->upTo(instant, key, std::min(reach / 2, mostSlack));
    return pictureOf(frame.get(), frame ? m_sequence->timeOf(*frame) : 0);
}

// The first key picture that can be decoded, behind the instant and then before it.
std::optional<Worker::Taken> Worker::anywhereNear(double instant)
{
    for (const double from : {instant, instant - 2, instant - 20, instant - 200, 0.0}) {
        double at = std::max(0.0, from) - rounding;
        for (int i = 0; i < mostTries; ++i) {
            const auto key = m_keys.next(at, std::numeric_limits<double>::max());
            if (!key) {
                break;
            }
            if (auto taken = decodedAlone(*key)) {
                return taken;
            }
            at = key->time;
        }
    }
    return std::nullopt;
}

std::optional<Worker::Taken> Worker::pictureOf(const AVFrame *frame, double time)
{
    if (frame == nullptr) {
        return std::nullopt;
    }
    auto picture = m_maker->pictureOf(*frame);
    if (!picture) {
        m_problem = picture.error();
        return std::nullopt;
    }
    return Taken{std::move(*picture), std::max(0.0, time)};
}

} // namespace qv
