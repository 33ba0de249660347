// Takes pictures out of films, and tells what it knows of them, by GStreamer. It runs as a child of
// the application, so that whatever a broken film does to a decoder happens here.

#include "qt_thumbs/decoders.h"
#include "qt_thumbs/pictures.h"
#include "qt_thumbs/probe.h"
#include "thumbs/arguments.h"
#include "thumbs/watchdog.h"

#include <gst/gst.h>

#include <cstdio>
#include <cstdlib>

namespace
{

bool answer(const qv::Request &request)
{
    switch (request.kind) {
    case qv::Request::Kind::Decoders:
        qv::printDecoders();
        return true;
    case qv::Request::Kind::Probe:
        return qv::probe(request.pictures.source);
    default:
        return qv::makePictures(request.pictures);
    }
}

} // namespace

int main(int argc, char **argv)
{
    const auto request = qv::parseArguments({argv + 1, argv + argc}, qv::Tool::Movie);
    if (!request) {
        std::fprintf(stderr, "qtThumbs: %s\n%s", request.error().c_str(),
                     qv::usage(qv::Tool::Movie));
        return 2;
    }
    qv::watchdog::start("qtThumbs");
    GError *error = nullptr;
    if (gst_init_check(nullptr, nullptr, &error) == FALSE) {
        std::fprintf(stderr, "qtThumbs: %s\n", error != nullptr ? error->message : "no GStreamer");
        return 1;
    }
    const bool done = answer(*request);
    std::fflush(nullptr);
    // The plug-ins' libraries must not be torn down under threads that still run.
    std::_Exit(done ? 0 : 1);
}
