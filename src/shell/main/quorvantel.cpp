// The desktop application.

#include "process/interrupt.h"
#include "shell/desktop.h"
#include "shell/dropped_paths.h"
#include "shell/freedesktop_workspace.h"
#include "shell/single_instance.h"
#include "support/foreign_names.h"
#include "support/localized_strings.h"
#include "support/log.h"
#include "support/platform.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QNetworkProxyFactory>
#include <QTimer>
#include <QTranslator>

#include <cstdio>
#include <cstring>

namespace
{

constexpr int refusedStatus = 1;

// What stands behind the program's name, but for options; after "--" everything is a path.
QByteArrayList pathsOf(int argc, char **argv)
{
    QByteArrayList paths;
    bool onlyPaths = false;
    for (int i = 1; i < argc; ++i) {
        const QByteArray argument(argv[i]);
        if (!onlyPaths && argument == "--") {
            onlyPaths = true;
        } else if (!argument.isEmpty() && (onlyPaths || !argument.startsWith('-'))) {
            paths.append(qv::absoluteName(argument));
        }
    }
    return paths;
}

// The first action that is asked for.
std::optional<qv::LaunchAction> actionOf(int argc, char **argv)
{
    for (int i = 1; i < argc && std::strcmp(argv[i], "--") != 0; ++i) {
        if (const auto action = qv::launchActionOf(argv[i])) {
            return action;
        }
    }
    return std::nullopt;
}

bool answersOption(int argc, char **argv)
{
    if (argc != 2) {
        return false;
    }
    if (std::strcmp(argv[1], "--version") == 0) {
        std::printf("%s %s\n", qUtf8Printable(qv::Bundle::main().name()),
                    qUtf8Printable(qv::Bundle::main().version()));
        return true;
    }
    if (std::strcmp(argv[1], "--help") == 0) {
        std::printf("Usage: Quorvantel [option] [VIDEO or FOLDER]...\n"
                    "Opens the window and looks at the videos. For scripts and servers there is "
                    "quorvantel-cli.\n"
                    "\n"
                    "Options:\n"
                    "  --choose-videos  Asks for videos at once.\n"
                    "  --choose-folder  Asks for a folder at once.\n"
                    "  --preferences    Shows the preferences at once.\n"
                    "  --help           Shows this help.\n"
                    "  --version        Shows the version.\n");
        return true;
    }
    return false;
}

// The words of Qt's own dialogs.
void translateDialogs(QApplication &application)
{
    auto *words = new QTranslator(&application);
    if (words->load(QStringLiteral("qtbase_") + qv::language(),
                    QLibraryInfo::path(QLibraryInfo::TranslationsPath))) {
        QCoreApplication::installTranslator(words);
    }
}

QStringList usablePaths(const QByteArrayList &rawPaths)
{
    QStringList paths;
    for (const QByteArray &path : rawPaths) {
        paths.append(qv::cleanUsablePath(path));
    }
    return paths;
}

// Whether the window that is there does all that this copy was started for.
bool handsOver(const qv::SingleInstance &instance, const QByteArrayList &paths,
               std::optional<qv::LaunchAction> action)
{
    if (paths.isEmpty() && !action) {
        return false;
    }
    return (paths.isEmpty() || instance.handOver(paths)) &&
           (!action || instance.handOverAction(*action));
}

int run(QApplication &application, const QByteArrayList &paths,
        std::optional<qv::LaunchAction> action)
{
    qv::SingleInstance instance;
    qv::Desktop::Launch launch;
    launch.runningCopies = instance.runningCopies();
    if (launch.runningCopies > 1) {
        if (handsOver(instance, paths, action)) {
            return 0;
        }
        launch.runningCopies = instance.runningCopies(); // the first may have ended meanwhile
    }
    qv::Desktop desktop(std::make_unique<qv::FreedesktopWorkspace>(),
                        std::make_unique<qv::FileChooser>(), launch);
    if (!desktop.awakeFromNib()) {
        if (launch.runningCopies > 1) {
            instance.handOver({}); // the window that is there comes to the front
        }
        return refusedStatus;
    }
    QObject::connect(&instance, &qv::SingleInstance::pathsReceived, &desktop,
                     [&](const QStringList &received) {
                         desktop.openPaths(received);
                         desktop.comeToFront();
                     });
    QObject::connect(&instance, &qv::SingleInstance::activationRequested, &desktop,
                     &qv::Desktop::comeToFront);
    QObject::connect(&instance, &qv::SingleInstance::actionRequested, &desktop, &qv::Desktop::act,
                     Qt::QueuedConnection);
    QObject::connect(&desktop, &qv::Desktop::finished, &instance,
                     &qv::SingleInstance::stopListening);
    const qv::Interrupt interrupt([&] { desktop.quit(qv::appDelegate::Quit::AtOnce); },
                                  {SIGINT, SIGTERM, SIGHUP});
    desktop.show();
    desktop.openPaths(usablePaths(paths));
    if (action) {
        QTimer::singleShot(0, &desktop, [&] { desktop.act(*action); });
    }
    const int status = application.exec();
    desktop.controller().applicationWillTerminate();
    return status;
}

} // namespace

int main(int argc, char **argv)
{
    if (answersOption(argc, argv)) {
        return 0;
    }
    qv::platform::prepareStandardStreams();
    qv::logQtMessages();
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(qv::Bundle::main().name());
    QCoreApplication::setApplicationVersion(qv::Bundle::main().version());
    QGuiApplication::setDesktopFileName(qv::Bundle::main().identifier());
    QGuiApplication::setQuitOnLastWindowClosed(false);
    // The web is asked by the road that the user's system names.
    QNetworkProxyFactory::setUseSystemConfiguration(true);
    translateDialogs(application);
    // Qt has taken its own options out by now.
    return run(application, pathsOf(argc, argv), actionOf(argc, argv));
}
