#include "quick_thumbs/probe.h"

#include "quick_thumbs/decoder.h"
#include "quick_thumbs/film.h"
#include "quick_thumbs/frame_header.h"
#include "quick_thumbs/groups.h"
#include "quick_thumbs/report_log.h"
#include "quick_thumbs/tail.h"
#include "quick_thumbs/worker.h"
#include "thumbs/picture_writer.h"
#include "thumbs/watchdog.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace qv
{
namespace
{

constexpr double probeLimit = 60;

// ffmpeg reads on until ten frames have come out of its decoder.
constexpr int framesDecoded = 10;

// A jump of a transport stream's clock; ffmpeg mends it in ways of its own.
constexpr double largestJump = 10;

// How far behind its instant the picture beside the probe may stand.
constexpr double previewReach = 12;

// Where a source has more, one is near every instant.
constexpr std::size_t mostKeys = 512;

class Probe
{
public:
    explicit Probe(const Request &request) : m_request(request) {}

    // Empty, or why the report is of no use.
    std::string run()
    {
        watchdog::expect(probeLimit, "a report");
        reportlog::start();
        reportlog::line("quickThumbs");
        std::string problem = describe();
        reportlog::stop();
        if (problem.empty() && reportlog::isTooLong()) {
            problem = "too much to report";
        }
        std::fwrite(reportlog::text().data(), 1, reportlog::text().size(), stderr);
        if (problem.empty()) {
            look();
        }
        return problem;
    }

    std::unique_ptr<Film> releaseFilm() { return std::move(m_film); }

private:
    std::string describe()
    {
        auto format = openedFormat(m_request.pictures.source, FF_FDEBUG_TS);
        if (!format) {
            return format.error();
        }
        AVFormatContext *input = format->get();
        watchdog::allow(probeLimit, "looking at the streams");
        if (const int found = avformat_find_stream_info(input, nullptr); found < 0) {
            return errorText(found);
        }
        av_dump_format(input, 0, m_request.pictures.source.c_str(), 0);
        auto film = Film::of(std::move(*format));
        if (!film) {
            return film.error();
        }
        m_film = std::move(*film);
        reportlog::line("Stream mapping:\n  Stream #0:" + std::to_string(m_film->video().index) +
                        " -> #0:0 (" + avcodec_get_name(m_film->parameters().codec_id) +
                        " (native) -> wrapped_avframe (native))");
        return decode();
    }

    // The first frame tells what ffmpeg takes for all; the other packets are only read.
    std::string decode()
    {
        auto decoder = Decoder::open(*m_film);
        if (!decoder) {
            return decoder.error();
        }
        int packets = 0;
        while (!m_header || packets < framesDecoded + m_film->parameters().video_delay + 1) {
            const PacketPtr packet = m_film->next();
            if (!packet) {
                break;
            }
            ++packets;
            if (jumps(*packet)) {
                return "its clock jumps";
            }
            if (!m_header) {
                (*decoder)->send(packet.get());
                takeFrame((*decoder)->receive().get());
            }
        }
        if (!m_header) {
            (*decoder)->send(nullptr);
            takeFrame((*decoder)->receive().get());
        }
        return m_header ? std::string() : "no frame could be decoded";
    }

    void takeFrame(const AVFrame *frame)
    {
        if (frame != nullptr) {
            m_header = frameHeader(*m_film, *frame);
            m_shape = displayedShape(*m_film, *frame);
            reportlog::line("Output #0, yuv4mpegpipe, to 'frame':\n  " + *m_header);
        }
    }

    bool jumps(const AVPacket &packet)
    {
        const bool mayJump = (m_film->format().iformat->flags & AVFMT_TS_DISCONT) != 0;
        const auto before = m_lastTime;
        if (packet.dts != AV_NOPTS_VALUE) {
            m_lastTime = seconds(packet.dts, m_film->video().time_base);
        }
        return mayJump && before && std::abs(*m_lastTime - *before) > largestJump;
    }

    void look()
    {
        writeHeader();
        if (const auto tail = tailOf(*m_film)) {
            if (tail->isWhole) {
                std::fprintf(stderr, "tail           : %.3f %d\n", tail->end, tail->pictures);
            }
            if (const auto last = lastPictureOf(*m_film, *tail)) {
                std::fprintf(stderr, "last           : %.6f\n", *last);
            }
        }
        printKeys();
        if (!m_request.pictures.destination.empty()) {
            makePreview();
        }
    }

    void writeHeader() const
    {
        if (m_request.frameFile.empty()) {
            return;
        }
        if (std::FILE *file = std::fopen(m_request.frameFile.c_str(), "wb")) {
            std::fprintf(file, "%s\n", m_header->c_str());
            std::fclose(file);
        }
    }

    void printKeys() const
    {
        const std::vector<double> keys = m_film->listedKeys(mostKeys);
        if (keys.empty()) {
            return;
        }
        std::string line = "keys           :";
        for (const double key : keys) {
            line += ' ' + std::to_string(key);
        }
        std::fprintf(stderr, "%s\n", line.c_str());
        if (m_film->listsAll()) {
            std::fputs("list           : whole\n", stderr);
        }
        if (const Groups groups = groupsOf(*m_film, keys); groups != Groups::Unknown) {
            std::fprintf(stderr, "groups         : %s\n",
                         groups == Groups::Closed ? "closed" : "open");
        }
    }

    // Only where the duration is certain enough for the instant to be the one that everybody would
    // take.
    void makePreview()
    {
        const AVFormatContext &format = m_film->format();
        if (format.duration <= 0 ||
            format.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
            return;
        }
        constexpr double shownRounding = 0.005;
        const double shown = std::floor(m_film->duration() + shownRounding);
        const auto &instants = m_request.pictures.instants;
        const auto instant = std::find_if(instants.begin(), instants.end(),
                                          [&](double at) { return at == 0 || at < shown; });
        if (instant == instants.end() || !m_shape) {
            return;
        }
        PicturesRequest picture = m_request.pictures;
        picture.instants = {*instant};
        picture.height =
            std::clamp(static_cast<int>(picture.width / *m_shape), 1, 16 * picture.width);
        auto worker = Worker::create(std::move(m_film), picture);
        if (!worker) {
            return;
        }
        const auto taken = (*worker)->takeKeyFrom(*instant, *instant + previewReach);
        m_film = (*worker)->release();
        if (taken) {
            writePicture(taken->picture, picture.destination, picture.overwrite);
        }
    }

    const Request &m_request;
    std::unique_ptr<Film> m_film;
    std::optional<std::string> m_header; // of the first frame
    std::optional<double> m_shape;
    std::optional<double> m_lastTime;
};

} // namespace

Probed probe(const Request &request)
{
    Probe probe(request);
    const std::string problem = probe.run();
    if (!problem.empty()) {
        std::fprintf(stderr, "quickThumbs: %s\n", problem.c_str());
        return {};
    }
    return {true, probe.releaseFilm()};
}

} // namespace qv
