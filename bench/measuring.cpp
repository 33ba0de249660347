#include "measuring.h"

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace bench
{
namespace
{

const QString builtBundle = QStringLiteral(QV_BUILT_BUNDLE);
const QString fakeTool = QStringLiteral(QV_FAKE_TOOL);

bool tell(const char *what, double value, const char *kind, double bound, bool good)
{
    std::printf("  %-46s %8.3f  (%s %.3f)%s\n", what, value, kind, bound, good ? "" : "  MISSED");
    return good;
}

} // namespace

Measured run(const QStringList &command)
{
    std::vector<QByteArray> texts;
    for (const QString &argument : command) {
        texts.push_back(argument.toUtf8());
    }
    std::vector<char *> pointers;
    for (QByteArray &text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    QElapsedTimer clock;
    clock.start();
    pid_t pid = 0;
    Measured measured;
    if (::posix_spawn(&pid, pointers[0], &actions, nullptr, pointers.data(), environ) == 0) {
        rusage usage{};
        int status = 0;
        ::wait4(pid, &status, 0, &usage);
        measured.milliseconds = static_cast<double>(clock.nsecsElapsed()) / 1e6;
        measured.peakKilobytes = usage.ru_maxrss;
        measured.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128;
    }
    ::posix_spawn_file_actions_destroy(&actions);
    return measured;
}

double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

double medianTime(int times, const std::function<double()> &measure)
{
    std::vector<double> values;
    for (int i = 0; i < times; ++i) {
        values.push_back(measure());
    }
    return median(values);
}

bool atMost(const char *what, double value, double bound)
{
    return tell(what, value, "at most", bound, value <= bound);
}

bool atLeast(const char *what, double value, double bound)
{
    return tell(what, value, "at least", bound, value >= bound);
}

QString builtCommand()
{
    return builtBundle + QStringLiteral("/Contents/MacOS/quorvantel-cli");
}

QString builtTool(const QString &name)
{
    return builtBundle + QStringLiteral("/Contents/Resources/tools/") + name;
}

QString commandWithFakeTool(const QString &folder)
{
    const QString contents = folder + QStringLiteral("/Fake.app/Contents");
    QDir().mkpath(contents + QStringLiteral("/MacOS"));
    QDir().mkpath(contents + QStringLiteral("/Resources/tools"));
    const QString command = contents + QStringLiteral("/MacOS/quorvantel-cli");
    QFile::copy(builtCommand(), command);
    QFile::copy(builtBundle + QStringLiteral("/Contents/Info.plist"),
                contents + QStringLiteral("/Info.plist"));
    for (const QString &name : {QStringLiteral("en.lproj"), QStringLiteral("fonts")}) {
        QFile::link(builtBundle + QStringLiteral("/Contents/Resources/") + name,
                    contents + QStringLiteral("/Resources/") + name);
    }
    QFile::link(fakeTool, contents + QStringLiteral("/Resources/tools/ffmpeg"));
    return command;
}

bool makeFakePicture(const QString &path)
{
    qputenv("FAKE_TOOL_PICTURE", path.toUtf8());
    return QProcess::execute(QStringLiteral("ffmpeg"),
                             {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
                              QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                              QStringLiteral("testsrc2=s=640x360:d=1"), QStringLiteral("-frames:v"),
                              QStringLiteral("1"), path}) == 0;
}

} // namespace bench
