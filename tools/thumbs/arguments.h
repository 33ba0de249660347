#pragma once

#include <tl/expected.hpp>

#include <string>
#include <vector>

// The command line of the tools that take pictures, qtThumbs and quickThumbs.
namespace qv
{

enum class Tool { Movie, Quick };

struct PicturesRequest {
    std::string source;
    int width = 0;
    int height = 0;
    std::vector<double> instants; // seconds
    std::string destination;
    bool overwrite = false;
    bool keepFlat = false; // pictures of one colour, too
};

struct Request {
    enum class Kind { Pictures, Probe, Decoders };
    Kind kind = Kind::Pictures;
    // Of a probe the source; with a destination also the one picture wanted beside it, at the first
    // of the instants that lies within the source, as high as the source's shape makes it.
    PicturesRequest pictures;
    std::string frameFile; // of a probe: gets the header of the decoded frames
    bool stays = false;    // a probe: waits for a second command
};

const char *usage(Tool tool);

// What the command line asks for, or what is wrong with it.
tl::expected<Request, std::string> parseArguments(const std::vector<std::string> &arguments,
                                                  Tool tool);

// "0:01:15.5-0:02:30" in seconds.
tl::expected<std::vector<double>, std::string> parseTimeCodes(const std::string &text);

} // namespace qv
