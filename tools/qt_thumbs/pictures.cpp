#include "qt_thumbs/pictures.h"

#include "qt_thumbs/frame_finder.h"
#include "qt_thumbs/picture.h"
#include "qt_thumbs/picture_writer.h"
#include "qt_thumbs/watchdog.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

namespace qv
{
namespace
{

// A source that breaks down so often will not get better.
constexpr int mostBreakdowns = 3;

constexpr double overallLimit = 300;
constexpr double limitPerPicture = 10;

bool isFolder(const std::string &path)
{
    struct stat facts {
    };
    return ::stat(path.c_str(), &facts) == 0 && S_ISDIR(facts.st_mode);
}

class PictureRun
{
public:
    explicit PictureRun(const PicturesRequest &request) : m_request(request) {}

    bool run()
    {
        if (!prepareFolder()) {
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
    bool prepareFolder()
    {
        const std::string &base = m_request.destination;
        m_intoFolder = isFolder(base) || m_request.instants.size() > 1;
        if (m_intoFolder && !isFolder(base) && ::mkdir(base.c_str(), 0777) != 0) {
            std::fprintf(stderr, "qtThumbs: %s: %s\n", base.c_str(), std::strerror(errno));
            return false;
        }
        return true;
    }

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
        std::string problem = writePicture(*picture, pathOf(index), m_request.overwrite);
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

    std::string pathOf(std::size_t index) const
    {
        if (!m_intoFolder) {
            return m_request.destination;
        }
        char name[32];
        std::snprintf(name, sizeof name, "/img%02zu.jpg", index);
        return m_request.destination + name;
    }

    const PicturesRequest &m_request;
    std::unique_ptr<Movie> m_movie;
    double m_end = watchdog::now() + overallLimit +
                   limitPerPicture * static_cast<double>(m_request.instants.size());
    int m_breakdowns = 0;
    bool m_intoFolder = false;
    bool m_allMade = true;
};

} // namespace

bool makePictures(const PicturesRequest &request)
{
    return PictureRun(request).run();
}

} // namespace qv
