// Takes key pictures out of films, and tells what they are, by the libraries of ffmpeg. It runs as
// a child of the application, so that whatever a broken film does to a decoder happens here.

#include "quick_thumbs/libav.h"
#include "quick_thumbs/pictures.h"
#include "quick_thumbs/probe.h"
#include "quick_thumbs/second_command.h"
#include "thumbs/arguments.h"
#include "thumbs/watchdog.h"

#include <cstdio>
#include <cstdlib>
#include <malloc.h>

namespace
{

// Every picture takes buffers of the same few sizes: given back to the system, each would cost its
// page faults again.
void keepMemory()
{
    constexpr int largest = 32 << 20;
    ::mallopt(M_MMAP_THRESHOLD, largest);
    ::mallopt(M_TRIM_THRESHOLD, largest);
}

bool takeMorePictures(const std::string &source, std::unique_ptr<qv::Film> film)
{
    const auto pictures = qv::secondCommand(source);
    if (!pictures) {
        std::fprintf(stderr, "quickThumbs: %s\n", pictures.error().c_str());
        return false;
    }
    return !*pictures || qv::makePictures(**pictures, std::move(film));
}

bool run(const qv::Request &request)
{
    if (request.kind != qv::Request::Kind::Probe) {
        return qv::makePictures(request.pictures);
    }
    qv::Probed probed = qv::probe(request);
    return probed.isSure &&
           (!request.stays || takeMorePictures(request.pictures.source, std::move(probed.film)));
}

} // namespace

int main(int argc, char **argv)
{
    const auto request = qv::parseArguments({argv + 1, argv + argc}, qv::Tool::Quick);
    if (!request) {
        std::fprintf(stderr, "quickThumbs: %s\n%s", request.error().c_str(),
                     qv::usage(qv::Tool::Quick));
        return 2;
    }
    qv::watchdog::start("quickThumbs");
    keepMemory();
    av_log_set_level(AV_LOG_FATAL);
    const bool done = run(*request);
    std::fflush(nullptr);
    // Taking the libraries down takes longer than a picture.
    std::_Exit(done ? 0 : 1);
}
