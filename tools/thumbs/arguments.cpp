#include "thumbs/arguments.h"

#include <charconv>
#include <initializer_list>
#include <map>
#include <optional>
#include <string_view>

namespace qv
{

const char *usage(Tool tool)
{
    return tool == Tool::Movie
               ? "usage: qtThumbs -i SOURCE -w WIDTH -h HEIGHT -tc H:MM:SS[.F][-H:MM:SS[.F]...] "
                 "[-y] -o BASE\n"
                 "       qtThumbs -probe SOURCE\n"
                 "       qtThumbs -decoders\n"
                 "\n"
                 "BASE is a folder that gets img00.jpg, img01.jpg, ..., or with one time code the "
                 "picture file\n"
                 "itself (.jpg or .png). -y replaces files that are there.\n"
               : "usage: quickThumbs -i SOURCE -w WIDTH -h HEIGHT -tc H:MM:SS[.F]"
                 "[-H:MM:SS[.F]...] [-y] [-flat] -o BASE\n"
                 "       quickThumbs -probe SOURCE [-frame FILE] [-w WIDTH -tc CODES [-y] -o "
                 "PICTURE] [-stay]\n"
                 "\n"
                 "Takes the key picture nearest to each time code. BASE is a folder that gets "
                 "img00.jpg,\n"
                 "img01.jpg, ..., or with one time code the picture file itself (.jpg or .png). -y "
                 "replaces files\n"
                 "that are there. -flat keeps pictures of one colour. -probe prints what ffmpeg's "
                 "debug report would\n"
                 "say of the source; FILE gets the header of its decoded frames, PICTURE the key "
                 "picture after the\n"
                 "first of the time codes that lies within it. -stay then prints \"waiting\" and "
                 "takes the pictures of a\n"
                 "second command from standard input: its arguments, each ended by NUL, and an "
                 "empty one.\n";
}

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

enum class Value { None, One };
using Grammar = std::map<std::string, Value>;

const Grammar &grammarOf(Tool tool)
{
    static const Grammar movie{{"-i", Value::One},     {"-w", Value::One},
                               {"-h", Value::One},     {"-tc", Value::One},
                               {"-o", Value::One},     {"-y", Value::None},
                               {"-probe", Value::One}, {"-decoders", Value::None}};
    static const Grammar quick{{"-i", Value::One},     {"-w", Value::One},
                               {"-h", Value::One},     {"-tc", Value::One},
                               {"-o", Value::One},     {"-y", Value::None},
                               {"-probe", Value::One}, {"-frame", Value::One},
                               {"-flat", Value::None}, {"-stay", Value::None}};
    return tool == Tool::Movie ? movie : quick;
}

tl::expected<Options, std::string> optionsOf(const std::vector<std::string> &arguments, Tool tool)
{
    Options options;
    const Grammar &grammar = grammarOf(tool);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string &name = arguments[i];
        const auto known = grammar.find(name);
        if (known == grammar.end()) {
            return tl::make_unexpected("unknown option " + name);
        }
        if (known->second == Value::None) {
            options[name] = "";
        } else if (++i == arguments.size()) {
            return tl::make_unexpected(name + " needs a value");
        } else {
            options[name] = arguments[i];
        }
    }
    return options;
}

std::string missing(const Options &options, std::initializer_list<const char *> names)
{
    for (const char *name : names) {
        if (options.count(name) == 0 || options.at(name).empty()) {
            return std::string(name) + " is missing";
        }
    }
    return {};
}

bool isSize(int width, int height)
{
    return width > 0 && height > 0 && static_cast<long>(width) * height <= largestArea;
}

tl::expected<Request, std::string> picturesRequest(const Options &options)
{
    if (const std::string problem = missing(options, {"-i", "-w", "-h", "-tc", "-o"});
        !problem.empty()) {
        return tl::make_unexpected(problem);
    }
    const auto width = wholeNumber(options.at("-w"), largestSide);
    const auto height = wholeNumber(options.at("-h"), largestSide);
    if (!width || !height || !isSize(*width, *height)) {
        return tl::make_unexpected("no such picture size");
    }
    auto instants = parseTimeCodes(options.at("-tc"));
    if (!instants) {
        return tl::make_unexpected(instants.error());
    }
    return Request{Request::Kind::Pictures,
                   {options.at("-i"), *width, *height, std::move(*instants), options.at("-o"),
                    options.count("-y") > 0, options.count("-flat") > 0},
                   {}};
}

tl::expected<Request, std::string> probeRequest(const Options &options)
{
    Request request{Request::Kind::Probe, {}, {}};
    request.stays = options.count("-stay") > 0;
    request.pictures.source = options.at("-probe");
    if (const auto frame = options.find("-frame"); frame != options.end()) {
        request.frameFile = frame->second;
    }
    if (options.count("-o") == 0) {
        return request;
    }
    const auto width = wholeNumber(options.at("-w"), largestSide);
    auto instants = parseTimeCodes(options.at("-tc"));
    if (!width || !isSize(*width, 1) || !instants) {
        return tl::make_unexpected("the picture beside a probe needs a width and time codes");
    }
    request.pictures.width = *width;
    request.pictures.instants = std::move(*instants);
    request.pictures.destination = options.at("-o");
    request.pictures.overwrite = options.count("-y") > 0;
    return request;
}

// What a probe may have beside it.
bool standsAlone(const Options &options, Tool tool)
{
    const bool hasPicture = options.count("-o") > 0;
    for (const auto &[name, value] : options) {
        const bool isPicture = name == "-w" || name == "-tc" || name == "-o" || name == "-y";
        const bool isOfProbe = name == "-probe" || name == "-frame" || name == "-stay";
        if (!isOfProbe && !(isPicture && hasPicture)) {
            return false;
        }
    }
    return tool == Tool::Quick ? missing(options, {"-probe"}).empty() &&
                                     (!hasPicture || missing(options, {"-w", "-tc"}).empty())
                               : options.size() == 1;
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

tl::expected<Request, std::string> parseArguments(const std::vector<std::string> &arguments,
                                                  Tool tool)
{
    const auto options = optionsOf(arguments, tool);
    if (!options) {
        return tl::make_unexpected(options.error());
    }
    if (options->count("-decoders") > 0) {
        return options->size() == 1
                   ? tl::expected<Request, std::string>(Request{Request::Kind::Decoders, {}, {}})
                   : tl::make_unexpected("-decoders stands alone");
    }
    if (options->count("-probe") > 0) {
        return standsAlone(*options, tool)
                   ? probeRequest(*options)
                   : tl::make_unexpected("-probe does not go with the other options");
    }
    return picturesRequest(*options);
}

} // namespace qv
