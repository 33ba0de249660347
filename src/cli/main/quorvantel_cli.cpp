// The headless command: no display, no session bus, nothing of the terminal's input.

#include "cli/command.h"
#include "support/log.h"

#include <QGuiApplication>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>

namespace
{

// Tools inherit the standard input, and ffmpeg reads commands from it: in a shell loop it would eat
// the list that the loop reads. A stream that came closed is opened, too: else the next file that
// is opened, such as a sheet, would get its number and what is printed.
void openStandardStreams()
{
    int nothing = ::open("/dev/null", O_RDWR);
    while (nothing >= 0 && nothing <= STDERR_FILENO) {
        nothing = ::open("/dev/null", O_RDWR);
    }
    if (nothing >= 0) {
        ::dup2(nothing, STDIN_FILENO);
        ::close(nothing);
    }
}

void logQtMessage(QtMsgType, const QMessageLogContext &, const QString &text)
{
    qv::logDebug([&] { return QStringLiteral("qt                  : ") + text; });
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        const QByteArray line = qv::versionLine();
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
        return 0;
    }
    openStandardStreams();
    // Who started us may ignore it, and the tools' ends would go unseen.
    std::signal(SIGCHLD, SIG_DFL);
    QByteArrayList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(argv[i]);
    }
    qInstallMessageHandler(logQtMessage);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    // Qt's own options are not ours.
    int applicationArgc = 1;
    const std::unique_ptr<QCoreApplication> application(
        qv::needsFonts(arguments) ? new QGuiApplication(applicationArgc, argv)
                                  : new QCoreApplication(applicationArgc, argv));
    QCoreApplication::setApplicationName(QStringLiteral("quorvantel-cli"));
    return qv::runCommand(arguments, qv::Streams::standard());
}
