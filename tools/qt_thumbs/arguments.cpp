#include "qt_thumbs/arguments.h"

#include <charconv>
#include <map>
#include <optional>
#include <string_view>

namespace qv
{

const char usage[] =
    "usage: qtThumbs -i SOURCE -w WIDTH -h HEIGHT -tc H:MM:SS[.F][-H:MM:SS[.F]...] [-y] -o BASE\n"
    "       qtThumbs -probe SOURCE\n"
    "       qtThumbs -decoders\n"
    "\n"
    "BASE is a folder that gets img00.jpg, img01.jpg, ..., or with one time code the picture file\n"
    "itself (.jpg or .png). -y replaces files that are there.\n";

namespace
{

constexpr int largestSide = 16384;
constexpr long largestArea = 100'000'000;
constexpr std::size_t mostInstants = 10000;
constexpr int mostHours = 10000;

using Options = std::map<std::string, std::string>;

std::optional<int> wholeNumber(std::string_view text, int largest)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && value >= 0 && value <= largest ? std::optional(value) : std::nullopt;
}

std::optional<double> secondsField(std::string_view text)
{
    double value = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && value >= 0 && value < 60 ? std::optional(value) : std::nullopt;
}

std::vector<std::string_view> split(std::string_view text, char mark)
{
    std::vector<std::string_view> parts;
    for (std::size_t at = text.find(mark); at != text.npos; at = text.find(mark)) {
        parts.push_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    parts.push_back(text);
    return parts;
}

// "1:02:03.5"
std::optional<double> timeCode(std::string_view text)
{
    const auto fields = split(text, ':');
    if (fields.size() != 3) {
        return std::nullopt;
    }
    const auto hours = wholeNumber(fields[0], mostHours);
    const auto minutes = wholeNumber(fields[1], 59);
    const auto seconds = secondsField(fields[2]);
    if (!hours || !minutes || !seconds) {
        return std::nullopt;
    }
    return *hours * 3600 + *minutes * 60 + *seconds;
}

tl::expected<Options, std::string> optionsOf(const std::vector<std::string> &arguments)
{
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &name = arguments[i];
        if (name == "-y" || name == "-decoders") {
            options[name] = "";
        } else if (name != "-i" && name != "-w" && name != "-h" && name != "-tc" && name != "-o" &&
                   name != "-probe") {
            return tl::make_unexpected("unknown option " + name);
        } else if (++i == arguments.size()) {
            return tl::make_unexpected(name + " needs a value");
        } else {
            options[name] = arguments[i];
        }
    }
    return options;
}

tl::expected<Request, std::string> picturesRequest(const Options &options)
{
    for (const char *name : {"-i", "-w", "-h", "-tc", "-o"}) {
        if (options.count(name) == 0 || options.at(name).empty()) {
            return tl::make_unexpected(std::string(name) + " is missing");
        }
    }
    const auto width = wholeNumber(options.at("-w"), largestSide);
    const auto height = wholeNumber(options.at("-h"), largestSide);
    if (!width || !height || *width < 1 || *height < 1 ||
        static_cast<long>(*width) * *height > largestArea) {
        return tl::make_unexpected("no such picture size");
    }
    auto instants = parseTimeCodes(options.at("-tc"));
    if (!instants) {
        return tl::make_unexpected(instants.error());
    }
    return Request{Request::Kind::Pictures,
                   {options.at("-i"), *width, *height, std::move(*instants), options.at("-o"),
                    options.count("-y") > 0}};
}

} // namespace

tl::expected<std::vector<double>, std::string> parseTimeCodes(const std::string &text)
{
    std::vector<double> instants;
    for (const std::string_view code : split(text, '-')) {
        const auto instant = timeCode(code);
        if (!instant) {
            return tl::make_unexpected("no time code: " + std::string(code));
        }
        instants.push_back(*instant);
    }
    if (instants.size() > mostInstants) {
        return tl::make_unexpected("too many time codes");
    }
    return instants;
}

tl::expected<Request, std::string> parseArguments(const std::vector<std::string> &arguments)
{
    const auto options = optionsOf(arguments);
    if (!options) {
        return tl::make_unexpected(options.error());
    }
    if (options->count("-decoders") > 0 || options->count("-probe") > 0) {
        if (options->size() != 1) {
            return tl::make_unexpected("-probe and -decoders stand alone");
        }
        const auto probe = options->find("-probe");
        if (probe == options->end()) {
            return Request{Request::Kind::Decoders, {}};
        }
        return Request{Request::Kind::Probe, {probe->second, 0, 0, {}, {}, false}};
    }
    return picturesRequest(*options);
}

} // namespace qv
