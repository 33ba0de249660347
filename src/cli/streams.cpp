#include "cli/streams.h"

#include "support/platform.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <unistd.h>

namespace qv
{
namespace
{

void writeAll(int fd, const QByteArray &bytes)
{
    for (qsizetype done = 0; done < bytes.size();) {
        const ssize_t n =
            ::write(fd, bytes.constData() + done, static_cast<size_t>(bytes.size() - done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            return;
        }
        done += n;
    }
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
    streams.out = [output](const QByteArray &bytes) { writeAll(output, bytes); };
    streams.err = [](const QByteArray &bytes) { writeAll(STDERR_FILENO, bytes); };
    streams.outIsTerminal = ::isatty(output) == 1;
    streams.errIsTerminal = ::isatty(STDERR_FILENO) == 1;
    streams.terminalColumns = columnsOf(STDERR_FILENO);
    streams.input = input;
    streams.workerProgram = platform::executablePath();
    return streams;
}

QString printable(const QString &name)
{
    QString shown;
    shown.reserve(name.size());
    for (const QChar c : name) {
        if (c == QLatin1Char('\n')) {
            shown += QStringLiteral("\\n");
        } else if (c.category() == QChar::Other_Control) {
            shown += QStringLiteral("\\x%1").arg(c.unicode(), 2, 16, QLatin1Char('0'));
        } else {
            shown += c;
        }
    }
    return shown;
}

} // namespace qv
