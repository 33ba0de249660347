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

struct Figure {
    QString row;
    QString what;
    QString value;
    QString bound;
};

QString &currentRow()
{
    static QString row;
    return row;
}

std::vector<Figure> &figures()
{
    static std::vector<Figure> all;
    return all;
}

QString numberText(double value)
{
    return QString::number(value, 'g', 3);
}

bool keep(const QString &what, const QString &value, const QString &bound, bool isGood)
{
    const QString shown = isGood ? value : value + QStringLiteral(", missed");
    std::printf("  %s: %s (%s)\n", qUtf8Printable(what), qUtf8Printable(shown),
                qUtf8Printable(bound));
    figures().push_back({currentRow(), what, shown, bound});
    return isGood;
}

double milliseconds(const timeval &time)
{
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
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
        measured.processorMilliseconds =
            milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
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

void setRow(const QString &name)
{
    currentRow() = name;
}

bool atMost(const QString &what, double value, double bound)
{
    return keep(what, numberText(value), numberText(bound), value <= bound);
}

bool atLeast(const QString &what, double value, double bound)
{
    return keep(what, numberText(value), QStringLiteral("at least ") + numberText(bound),
                value >= bound);
}

bool ratioAtMost(const QString &what, double over, double under, const char *unit, double bound)
{
    const double ratio = over / under;
    const QString text = QStringLiteral("%1 / %2 %3: %4")
                             .arg(QString::number(over, 'f', 0), QString::number(under, 'f', 0),
                                  QLatin1String(unit), QString::number(ratio, 'f', 3));
    return keep(what, text, numberText(bound), ratio <= bound);
}

void note(const QString &what, const QString &figure)
{
    keep(what, figure, {}, true);
}

void printTable()
{
    if (figures().empty()) {
        return;
    }
    std::printf("\n| row | what | figure | bound |\n|---|---|---|---|\n");
    for (const Figure &figure : figures()) {
        std::printf("| `%s` | %s | %s | %s |\n", qUtf8Printable(figure.row),
                    qUtf8Printable(figure.what), qUtf8Printable(figure.value),
                    qUtf8Printable(figure.bound));
    }
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
