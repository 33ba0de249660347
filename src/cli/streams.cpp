#include "cli/streams.h"

#include "support/platform.h"
#include "support/whole_write.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace qv
{
namespace
{

// Whoever no longer reads is missed by nobody.
void print(int fd, const QByteArray &bytes)
{
    writeAll(fd, bytes.constData(), static_cast<size_t>(bytes.size()));
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
    streams.out = [output](const QByteArray &bytes) { print(output, bytes); };
    streams.err = [](const QByteArray &bytes) { print(STDERR_FILENO, bytes); };
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
