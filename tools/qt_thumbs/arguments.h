#pragma once

#include <tl/expected.hpp>

#include <string>
#include <vector>

namespace qv
{

struct PicturesRequest {
    std::string source;
    int width = 0;
    int height = 0;
    std::vector<double> instants; // seconds
    std::string destination;
    bool overwrite = false;
};

struct Request {
    enum class Kind { Pictures, Probe, Decoders };
    Kind kind = Kind::Pictures;
    PicturesRequest pictures; // of a probe only the source
};

extern const char usage[];

// What the command line asks for, or what is wrong with it.
tl::expected<Request, std::string> parseArguments(const std::vector<std::string> &arguments);

// "0:01:15.5-0:02:30" in seconds.
tl::expected<std::vector<double>, std::string> parseTimeCodes(const std::string &text);

} // namespace qv
