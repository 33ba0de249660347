// The headless command: no display, no session bus, nothing of the terminal's input.

#include "cli/command.h"
#include "cli/exit_status.h"
#include "cli/headless_session.h"
#include "support/log.h"
#include "support/platform.h"

#include <QFile>
#include <QGuiApplication>

#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <unistd.h>

namespace
{

// Where no runtime folder is named, Qt makes one among the temporary files, only to look whether
// something is in it, and leaves it there. This one goes again.
class RuntimeFolder
{
public:
    RuntimeFolder()
    {
        if (!qEnvironmentVariableIsSet(variable) &&
            (m_folder = qv::ScratchFolder::create(qv::commandScratchPrefix))) {
            qputenv(variable, QFile::encodeName(m_folder->path()));
        }
    }
    ~RuntimeFolder()
    {
        if (m_folder) {
            qunsetenv(variable);
        }
    }
    Q_DISABLE_COPY_MOVE(RuntimeFolder)

private:
    static constexpr const char *variable = "XDG_RUNTIME_DIR";
    std::unique_ptr<qv::ScratchFolder> m_folder;
};

// Each picture of a sheet takes buffers of the same sizes, on threads that follow each other: given
// back to the system, each would cost its page faults again.
void keepMemory()
{
    constexpr int largest = 32 << 20;
    ::mallopt(M_MMAP_THRESHOLD, largest);
    ::mallopt(M_TRIM_THRESHOLD, largest);
    ::mallopt(M_ARENA_MAX, 1);
}

std::unique_ptr<QCoreApplication> makeApplication(bool needsFonts, int &argc, char **argv)
{
    if (!needsFonts) {
        return std::make_unique<QCoreApplication>(argc, argv);
    }
    const RuntimeFolder runtime;
    return std::make_unique<QGuiApplication>(argc, argv);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        const QByteArray line = qv::versionLine();
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
        return std::fflush(stdout) == 0 ? qv::AllDone : qv::CannotWork;
    }
    keepMemory();
    const int input = qv::platform::keptStandardInput();
    qv::platform::prepareStandardStreams();
    QByteArrayList arguments;
    for (int i = 1; i < argc; ++i) {
        arguments.append(argv[i]);
    }
    // What a worker answers must not mix with what its tools print.
    const int output =
        qv::isWorker(arguments) ? qv::platform::takenStandardOutput() : STDOUT_FILENO;
    qv::logQtMessages();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("QT_QPA_PLATFORMTHEME");
    // Qt's own options are not ours.
    int applicationArgc = 1;
    const auto application = makeApplication(qv::needsFonts(arguments), applicationArgc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("quorvantel-cli"));
    return qv::runCommand(arguments, qv::Streams::standard(input, output));
}
