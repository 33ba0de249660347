// The command as a whole, against the bare work that it drives. Each figure is a ratio or a
// difference within this run; the program fails when one misses its bound.
//
// command_bench <folder for clips>

#include <QByteArray>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace
{

const QString builtBundle = QStringLiteral(QV_BUILT_BUNDLE);
const QString fakeTool = QStringLiteral(QV_FAKE_TOOL);

struct Measured {
    double milliseconds = 0;
    long peakKilobytes = 0;
    int status = -1;
};

// Runs a command with its output thrown away.
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

bool verdict(const char *what, double value, double bound)
{
    const bool good = value <= bound;
    std::printf("  %-46s %8.3f  (at most %.3f)%s\n", what, value, bound, good ? "" : "  MISSED");
    return good;
}

QString builtCommand()
{
    return builtBundle + QStringLiteral("/Contents/MacOS/quorvantel-cli");
}

// ---- start-up

bool startUp()
{
    const auto timeOf = [](const QStringList &command) {
        return medianTime(41, [&] { return run(command).milliseconds; });
    };
    const double bare = timeOf({QStringLiteral("/bin/true")});
    const double version = timeOf({builtCommand(), QStringLiteral("--version")});
    const double help = timeOf({builtCommand(), QStringLiteral("sheet"), QStringLiteral("--help")});
    std::printf("start-up: /bin/true %.1f ms, --version %.1f ms, sheet --help %.1f ms\n", bare,
                version, help);
    return verdict("--version less /bin/true, ms", version - bare, 30);
}

// ---- a whole sheet

// Ten minutes of 1080p with a key frame every 10 seconds, the second one at `phase` seconds. With a
// phase of 0 the sheet's instants fall on key frames, and each run is as short as can be.
QString makeFilm(const QString &folder, int phase)
{
    const QString film = QStringLiteral("%1/film-%2.mp4").arg(folder).arg(phase);
    if (!QFile::exists(film)) {
        const QString part = folder + QStringLiteral("/film-part.mp4");
        QProcess::execute(QStringLiteral("ffmpeg"),
                          {QStringLiteral("-v"),
                           QStringLiteral("error"),
                           QStringLiteral("-y"),
                           QStringLiteral("-f"),
                           QStringLiteral("lavfi"),
                           QStringLiteral("-i"),
                           QStringLiteral("testsrc2=s=1920x1080:r=25:d=600"),
                           QStringLiteral("-c:v"),
                           QStringLiteral("libx264"),
                           QStringLiteral("-preset"),
                           QStringLiteral("ultrafast"),
                           QStringLiteral("-g"),
                           QStringLiteral("1000"),
                           QStringLiteral("-sc_threshold"),
                           QStringLiteral("0"),
                           QStringLiteral("-crf"),
                           QStringLiteral("30"),
                           QStringLiteral("-force_key_frames"),
                           QStringLiteral("expr:gte(t,n_forced*10-%1)").arg((10 - phase) % 10),
                           part});
        QFile::rename(part, film);
    }
    return film;
}

QList<QStringList> plannedCommands(const QString &film, const QString &stills)
{
    QProcess plan;
    plan.start(builtCommand(), {QStringLiteral("plan"), QStringLiteral("--json"), film});
    plan.waitForFinished(-1);
    const QJsonObject object = QJsonDocument::fromJson(plan.readAllStandardOutput()).object();
    QList<QStringList> commands;
    const QJsonArray pictures = object.value(QStringLiteral("pictures")).toArray();
    for (const QJsonValue &picture : pictures) {
        QStringList command;
        const QJsonArray arguments = picture[QStringLiteral("arguments")].toArray();
        for (const QJsonValue &argument : arguments) {
            command.append(argument.toString());
        }
        command.last() = stills + QStringLiteral("/img%1.jpg").arg(commands.size());
        commands.append(command);
    }
    return commands;
}

// The commands as a shell script, as somebody would write the loop by hand.
QString loopScript(const QString &folder, const QList<QStringList> &commands)
{
    const QString path = folder + QStringLiteral("/loop.sh");
    QFile script(path);
    if (script.open(QIODevice::WriteOnly)) {
        for (const QStringList &command : commands) {
            script.write("'" + command.join(QStringLiteral("' '")).toUtf8() + "' || exit 1\n");
        }
    }
    return path;
}

bool wholeSheet(const QString &folder, int phase)
{
    const QString film = makeFilm(folder, phase);
    const QTemporaryDir scratch;
    const QList<QStringList> commands = plannedCommands(film, scratch.path());
    const QString script = loopScript(scratch.path(), commands);
    const QStringList sheet{
        builtCommand(),       QStringLiteral("sheet"), QStringLiteral("--replace"),
        QStringLiteral("-o"), scratch.path(),          film};
    const QStringList info{builtCommand(), QStringLiteral("info"), film};
    std::vector<double> loops;
    std::vector<double> sheets;
    std::vector<double> infos;
    bool good = true;
    for (int i = 0; i < 5; ++i) {
        const Measured loop = run({QStringLiteral("/bin/sh"), script});
        const Measured whole = run(sheet);
        good = good && loop.status == 0 && whole.status == 0;
        loops.push_back(loop.milliseconds);
        sheets.push_back(whole.milliseconds);
        infos.push_back(run(info).milliseconds);
    }
    const double loop = median(loops);
    const double analysis = median(infos);
    std::printf(
        "whole sheet, key frames %d s past the tens: %lld commands in a shell loop %.0f ms, "
        "the command %.0f ms, of which its analysis %.0f ms\n",
        phase, static_cast<long long>(commands.size()), loop, median(sheets), analysis);
    return verdict("(sheet less analysis) / loop", (median(sheets) - analysis) / loop, 1.05) &&
           good;
}

// ---- many sources

// The command in a bundle of its own whose ffmpeg is the fake tool.
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

QString folderOfSources(const QString &parent, const char *kind, int count, const QByteArray &bytes)
{
    const QString folder = QStringLiteral("%1/%2-%3").arg(parent, QLatin1String(kind)).arg(count);
    QDir().mkpath(folder);
    for (int i = 0; i < count; ++i) {
        QFile file(QStringLiteral("%1/clip %2.mp4").arg(folder).arg(i));
        if (file.open(QIODevice::WriteOnly)) {
            file.write(bytes);
        }
    }
    return folder;
}

void makePicture(const QString &path)
{
    QProcess::execute(QStringLiteral("ffmpeg"),
                      {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"),
                       QStringLiteral("-f"), QStringLiteral("lavfi"), QStringLiteral("-i"),
                       QStringLiteral("testsrc2=s=640x360:d=1"), QStringLiteral("-frames:v"),
                       QStringLiteral("1"), path});
    qputenv("FAKE_TOOL_PICTURE", path.toUtf8());
}

bool manySources()
{
    const QTemporaryDir scratch;
    const QString command = commandWithFakeTool(scratch.path());
    makePicture(scratch.filePath(QStringLiteral("picture.jpg")));
    const auto runOver = [&](const char *kind, int count, const QByteArray &bytes) {
        const QString out =
            scratch.filePath(QStringLiteral("out-%1-%2").arg(QLatin1String(kind)).arg(count));
        return run({command, QStringLiteral("sheet"), QStringLiteral("-o"), out,
                    folderOfSources(scratch.path(), kind, count, bytes)});
    };
    const Measured few = runOver("good", 10, "x");
    const Measured many = runOver("good", 1000, "x");
    std::printf("memory: 10 sources %ld kB, 1000 sources %ld kB (%.1f s)\n", few.peakKilobytes,
                many.peakKilobytes, many.milliseconds / 1000);
    const bool memory =
        verdict("growth from 10 to 1000 sources, MB",
                static_cast<double>(many.peakKilobytes - few.peakKilobytes) / 1024, 20) &&
        few.status == 0 && many.status == 0;
    const Measured thousand = runOver("empty", 1000, "");
    const Measured tenThousand = runOver("empty", 10000, "");
    std::printf("refusals: 1000 empty files %.0f ms, 10000 %.0f ms\n", thousand.milliseconds,
                tenThousand.milliseconds);
    return verdict("10000 refusals / 1000 refusals",
                   tenThousand.milliseconds / thousand.milliseconds, 15) &&
           memory;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: command_bench FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    QDir().mkpath(folder);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const bool results[] = {startUp(), wholeSheet(folder, 3), wholeSheet(folder, 0), manySources()};
    return std::all_of(std::begin(results), std::end(results), [](bool good) { return good; }) ? 0
                                                                                               : 1;
}
