#include "quick_thumbs/pictures.h"

#include "quick_thumbs/worker.h"
#include "thumbs/picture_files.h"
#include "thumbs/picture_writer.h"
#include "thumbs/watchdog.h"

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <sched.h>
#include <thread>
#include <vector>

namespace qv
{
namespace
{

// A decoder keeps several pictures, so few openings of a film of very large ones fit the memory.
constexpr std::int64_t veryLargeArea = 20'000'000;

constexpr std::size_t mostWorkers = 16;

// Seconds without a new picture after which the source is left to whoever has more patience.
constexpr double pictureLimit = 180;

// What a worker is good for: less is done before another one has opened the film.
constexpr std::size_t leastPictures = 3;

// A scheduler may grant fewer than the machine has.
std::size_t usableProcessors()
{
    cpu_set_t granted;
    return ::sched_getaffinity(0, sizeof granted, &granted) == 0
               ? static_cast<std::size_t>(CPU_COUNT(&granted))
               : std::thread::hardware_concurrency();
}

class PictureRun
{
public:
    explicit PictureRun(const PicturesRequest &request) : m_request(request), m_files(request) {}

    bool run(std::unique_ptr<Film> opened)
    {
        if (const std::string problem = m_files.prepare(); !problem.empty()) {
            return fail(problem);
        }
        watchdog::expect(pictureLimit, "a picture");
        auto film = opened && opened->isAsNew() ? std::move(opened) : Film::open(m_request.source);
        if (!film) {
            return fail(film.error());
        }
        (*film)->readListTo(m_request.instants.back());
        const Film &first = **film; // the first worker keeps it until all are done
        auto worker = Worker::create(std::move(*film), m_request);
        if (!worker) {
            return fail(worker.error());
        }
        work(first, **worker);
        return m_made == m_request.instants.size();
    }

private:
    bool fail(const std::string &problem)
    {
        std::fprintf(stderr, "quickThumbs: %s\n", problem.c_str());
        return false;
    }

    std::size_t workerCount(const Film &film) const
    {
        const AVCodecParameters &codec = film.parameters();
        if (std::int64_t{codec.width} * codec.height > veryLargeArea) {
            return 1;
        }
        const std::size_t worthwhile = m_request.instants.size() / leastPictures;
        const std::size_t processors = usableProcessors();
        return std::clamp<std::size_t>(std::min(worthwhile, processors), 1, mostWorkers);
    }

    // Where the workers begin: neighbours share what decoding up to them costs, so none begins
    // between two instants that follow the same key picture.
    std::vector<std::size_t> beginnings(const Film &film) const
    {
        const std::size_t workers = workerCount(film);
        const std::size_t count = m_request.instants.size();
        std::vector<std::size_t> found{0};
        for (std::size_t i = 1; i < workers; ++i) {
            std::size_t begin = i * count / workers;
            while (begin < count && followsSameKey(film, begin)) {
                ++begin;
            }
            if (begin > found.back() && begin < count) {
                found.push_back(begin);
            }
        }
        return found;
    }

    // As the instant before; false where the container has no list of key pictures.
    bool followsSameKey(const Film &film, std::size_t index) const
    {
        if (!film.hasIndex()) {
            return false;
        }
        const auto key = film.keysAround(m_request.instants[index]).before;
        return key && key == film.keysAround(m_request.instants[index - 1]).before;
    }

    void work(const Film &film, Worker &firstWorker)
    {
        std::vector<std::size_t> borders = beginnings(film);
        borders.push_back(m_request.instants.size());
        std::vector<std::thread> threads;
        for (std::size_t i = 1; i + 1 < borders.size(); ++i) {
            threads.emplace_back([this, &film, begin = borders[i], end = borders[i + 1]] {
                workApart(film, begin, end);
            });
        }
        takeStretch(firstWorker, borders[0], borders[1]);
        for (std::thread &thread : threads) {
            thread.join();
        }
    }

    void workApart(const Film &first, std::size_t begin, std::size_t end)
    {
        auto film = Film::open(m_request.source, &first);
        auto worker =
            film ? Worker::create(std::move(*film), m_request) : tl::make_unexpected(film.error());
        if (!worker) {
            const std::lock_guard lock(m_mutex);
            fail(worker.error());
            return;
        }
        (*worker)->leaveOut(begin - 1);
        takeStretch(**worker, begin, end);
    }

    void takeStretch(Worker &worker, std::size_t begin, std::size_t end)
    {
        for (std::size_t i = begin; i < end; ++i) {
            const auto taken = worker.take(i);
            const std::string problem =
                taken ? writePicture(taken->picture, m_files.pathOf(i), m_request.overwrite)
                      : taken.error();
            tell(i, problem, taken ? taken->time : 0);
        }
    }

    void tell(std::size_t index, const std::string &problem, double time)
    {
        const std::lock_guard lock(m_mutex);
        watchdog::expect(pictureLimit, "a picture");
        const std::size_t count = m_request.instants.size();
        if (problem.empty()) {
            ++m_made;
            std::printf("image          : %zu %.3f\n", index, time);
        } else {
            std::fprintf(stderr, "quickThumbs: no picture at %.3f s: %s\n",
                         m_request.instants[index], problem.c_str());
        }
        std::printf("pourcentage    : %zu\n", ++m_done * 100 / count);
        std::fflush(stdout);
    }

    const PicturesRequest &m_request;
    PictureFiles m_files;
    std::mutex m_mutex;
    std::size_t m_done = 0;
    std::size_t m_made = 0;
};

} // namespace

bool makePictures(const PicturesRequest &request, std::unique_ptr<Film> film)
{
    return PictureRun(request).run(std::move(film));
}

} // namespace qv
