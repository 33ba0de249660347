// The headless command: no display, no session bus, nothing of the terminal's input.

#include "cli/command.h"
#include "support/log.h"
#include "support/platform.h"

#include <QGuiApplication>

#include <cstdio>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace
{

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
    const int input = qv::platform::keptStandardInput();
    qv::platform::prepareStandardStreams();
    QByteArrayList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(argv[i]);
    }
    // What a worker answers must not mix with what its tools print.
    const int output =
        qv::isWorker(arguments) ? qv::platform::takenStandardOutput() : STDOUT_FILENO;
    qInstallMessageHandler(logQtMessage);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    // Qt's own options are not ours.
    int applicationArgc = 1;
    const std::unique_ptr<QCoreApplication> application(
        qv::needsFonts(arguments) ? new QGuiApplication(applicationArgc, argv)
                                  : new QCoreApplication(applicationArgc, argv));
    QCoreApplication::setApplicationName(QStringLiteral("quorvantel-cli"));
    return qv::runCommand(arguments, qv::Streams::standard(input, output));
}
