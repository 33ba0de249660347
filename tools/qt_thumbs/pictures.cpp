#include "qt_thumbs/pictures.h"

#include "qt_thumbs/frame_finder.h"
#include "qt_thumbs/picture.h"
#include "thumbs/picture_files.h"
#include "thumbs/picture_writer.h"
#include "thumbs/watchdog.h"

#include <cstdio>

namespace qv
{
namespace
{

// A source that breaks down so often will not get better.
constexpr int mostBreakdowns = 3;

constexpr double overallLimit = 300;
constexpr double limitPerPicture = 10;

class PictureRun
{
public:
    explicit PictureRun(const PicturesRequest &request) : m_request(request), m_files(request) {}

    bool run()
    {
        if (const std::string problem = m_files.prepare(); !problem.empty()) {
            std::fprintf(stderr, "qtThumbs: %s\n", problem.c_str());
            return false;
        }
        for (std::size_t i = 0; i < m_request.instants.size(); ++i) {
            if (const std::string problem = make(i); !problem.empty()) {
                std::fprintf(stderr, "qtThumbs: no picture at %.3f s: %s\n", m_request.instants[i],
                             problem.c_str());
                m_allMade = false;
            }
            std::printf("pourcentage    : %zu\n", (i + 1) * 100 / m_request.instants.size());
            std::fflush(stdout);
        }
        return m_allMade;
    }

private:
    // Empty, or why there is none.
    std::string make(std::size_t index)
    {
        if (watchdog::now() > m_end) {
            return "no time left";
        }
        if (const std::string problem = openMovie(); !problem.empty()) {
            return problem;
        }
        auto frame = frameAt(*m_movie, m_request.instants[index]);
        if (!frame && !m_movie->isBroken() && reopen().empty()) {
            frame = frameByDecoding(*m_movie, m_request.instants[index]);
            m_breakdowns += frame ? 0 : 1;
        }
        if (!frame) {
            return frame.error();
        }
        watchdog::allow(limitPerPicture * 3, "writing the picture");
        const auto picture =
            pictureOf(*frame, m_movie->orientation(), m_request.width, m_request.height);
        if (!picture) {
            return "a format that can't be shown";
        }
        std::string problem = writePicture(*picture, m_files.pathOf(index), m_request.overwrite);
        if (problem.empty()) {
            std::printf("image          : %zu %.3f\n", index, frame->begin);
        }
        return problem;
    }

    // One that broke down over the last picture may still give the next one.
    std::string openMovie()
    {
        if (m_movie && m_movie->isBroken()) {
            ++m_breakdowns;
        }
        if (m_breakdowns >= mostBreakdowns) {
            return "given up";
        }
        return m_movie && !m_movie->isBroken() ? std::string() : reopen();
    }

    std::string reopen()
    {
        m_movie.reset();
        auto opened = Movie::open(m_request.source);
        if (!opened) {
            m_breakdowns = mostBreakdowns;
            return opened.error();
        }
        m_movie = std::move(*opened);
        return {};
    }

    const PicturesRequest &m_request;
    PictureFiles m_files;
    std::unique_ptr<Movie> m_movie;
    double m_end = watchdog::now() + overallLimit +
                   limitPerPicture * static_cast<double>(m_request.instants.size());
    int m_breakdowns = 0;
    bool m_allMade = true;
};

} // namespace

bool makePictures(const PicturesRequest &request)
{
    return PictureRun(request).run();
}

} // namespace qv
