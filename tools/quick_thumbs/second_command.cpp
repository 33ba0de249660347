#include "quick_thumbs/second_command.h"

#include "thumbs/watchdog.h"

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace qv
{
namespace
{

constexpr std::size_t longestCommand = 1 << 20;
constexpr std::string_view endOfCommand("\0\0", 2);

// Empty when the input ended or failed before the end of a command.
std::string readCommand()
{
    std::string read;
    char bytes[4096];
    while (!read.ends_with(endOfCommand)) {
        const ssize_t n = ::read(STDIN_FILENO, bytes, sizeof bytes);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0 || read.size() > longestCommand) {
            return {};
        }
        read.append(bytes, static_cast<std::size_t>(n));
    }
    return read;
}

std::vector<std::string> argumentsIn(std::string_view command)
{
    std::vector<std::string> arguments;
    while (!command.empty() && command.front() != '\0') {
        const std::size_t end = command.find('\0');
        arguments.emplace_back(command.substr(0, end));
        command.remove_prefix(end + 1);
    }
    return arguments;
}

} // namespace

tl::expected<std::optional<PicturesRequest>, std::string> secondCommand(const std::string &source)
{
    watchdog::rest();
    std::puts("waiting");
    std::fflush(stdout);
    const std::string command = readCommand();
    if (command.empty()) {
        return std::nullopt;
    }
    auto request = parseArguments(argumentsIn(command), Tool::Quick);
    if (!request) {
        return tl::make_unexpected(request.error());
    }
    if (request->kind != Request::Kind::Pictures || request->pictures.source != source) {
        return tl::make_unexpected("the second command must be for pictures of " + source);
    }
    return std::move(request->pictures);
}

} // namespace qv
