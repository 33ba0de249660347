#include "cli/streams.h"

#include "support/platform.h"
#include "support/whole_write.h"

#include <cerrno>
#include <memory>

#include <sys/ioctl.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Gives the system's error number. Whoever no longer reads is missed by nobody.
int print(int fd, const QByteArray &bytes)
{
    const int error = writeAll(fd, bytes.constData(), static_cast<size_t>(bytes.size()));
    return error == EPIPE ? 0 : error;
}

int columnsOf(int fd)
{
    winsize size{};
    return ::ioctl(fd, TIOCGWINSZ, &size) == 0 && size.ws_col > 10 ? size.ws_col : 80;
}

} // namespace

Streams Streams::standard(int input, int output)
{
    Streams streams;
    const auto firstError = std::make_shared<int>(0);
    streams.out = [output, firstError](const QByteArray &bytes) {
        const int error = print(output, bytes);
        *firstError = *firstError == 0 ? error : *firstError;
    };
    streams.outError = [firstError] { return *firstError; };
    streams.err = [](const QByteArray &bytes) { print(STDERR_FILENO, bytes); };
    streams.outIsTerminal = ::isatty(output) == 1;
    streams.errIsTerminal = ::isatty(STDERR_FILENO) == 1;
    streams.terminalColumns = columnsOf(STDERR_FILENO);
    streams.input = input;
    streams.workerProgram = platform::executablePath();
    return streams;
}

} // namespace qv
