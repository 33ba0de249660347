// The command as a whole, against the bare work that it drives. Each figure is a ratio or a
// difference within this run; the program fails when one misses its bound.
//
// command_bench [--list] [--row NAME]... FOLDER-FOR-CLIPS

#include "measuring.h"
#include "rows.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

using namespace bench;

namespace
{

constexpr int fakeSources = 20;

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
    return atMost(QStringLiteral("start-up: `--version` less `/bin/true`, ms"), version - bare, 30);
}

// ---- many sources

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

bool manySources()
{
    const QTemporaryDir scratch;
    const QString command = commandWithFakeTool(scratch.path());
    if (!makeFakePicture(scratch.filePath(QStringLiteral("picture.jpg")))) {
        return false;
    }
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
        atMost(QStringLiteral("memory: growth from 10 to 1000 sources, MB"),
               static_cast<double>(many.peakKilobytes - few.peakKilobytes) / 1024, 20) &&
        few.status == 0 && many.status == 0;
    const Measured thousand = runOver("empty", 1000, "");
    const Measured tenThousand = runOver("empty", 10000, "");
    std::printf("refusals: 1000 empty files %.0f ms, 10000 %.0f ms\n", thousand.milliseconds,
                tenThousand.milliseconds);
    return atMost(QStringLiteral("10000 refusals / 1000 refusals"),
                  tenThousand.milliseconds / thousand.milliseconds, 15) &&
           memory;
}

// ---- between two tools

struct ToolRun {
    QString phase;
    qint64 begun = 0; // nanoseconds
    qint64 ended = 0;
};

std::vector<ToolRun> toolRuns(const QString &path)
{
    std::vector<ToolRun> runs;
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        while (!file.atEnd()) {
            const QList<QByteArray> words = file.readLine().simplified().split(' ');
            runs.push_back({QString::fromLatin1(words.value(0)), words.value(1).toLongLong(),
                            words.value(2).toLongLong()});
        }
    }
    std::sort(runs.begin(), runs.end(),
              [](const ToolRun &a, const ToolRun &b) { return a.begun < b.begun; });
    return runs;
}

// Milliseconds from the end of a tool to the beginning of the next one, by the phases of both.
// Behind the last picture the sheet is drawn, which is another matter.
std::map<QString, std::vector<double>> gaps(const QString &path)
{
    std::map<QString, std::vector<double>> found;
    const std::vector<ToolRun> runs = toolRuns(path);
    for (std::size_t i = 1; i < runs.size(); ++i) {
        const ToolRun &before = runs[i - 1];
        const ToolRun &next = runs[i];
        const bool isSheetBetween =
            before.phase == QLatin1String("picture") && next.phase != before.phase;
        if (!isSheetBetween && next.begun > before.ended) {
            found[before.phase + QStringLiteral(" to ") + next.phase].push_back(
                static_cast<double>(next.begun - before.ended) / 1e6);
        }
    }
    return found;
}

// A tool's own start and end, in a loop that does nothing else.
double bareGap(const QString &tool, const QTemporaryDir &scratch)
{
    const QString times = scratch.filePath(QStringLiteral("bare-times"));
    qputenv("FAKE_TOOL_TIMES", times.toUtf8());
    for (int i = 0; i < 100; ++i) {
        run({tool, QStringLiteral("-i"), QStringLiteral("clip.mp4"),
             scratch.filePath(QStringLiteral("img00.jpg"))});
    }
    const auto found = gaps(times);
    return found.empty() ? 0 : median(found.begin()->second);
}

bool betweenTools()
{
    const QTemporaryDir scratch;
    const QString command = commandWithFakeTool(scratch.path());
    QStringList sheet{command, QStringLiteral("sheet"), QStringLiteral("-o"),
                      scratch.filePath(QStringLiteral("out"))};
    for (int i = 0; i < fakeSources; ++i) {
        sheet.append(scratch.filePath(QStringLiteral("clip %1.mp4").arg(i)));
        QFile source(sheet.last());
        if (!source.open(QIODevice::WriteOnly) || source.write("x") != 1) {
            return false;
        }
    }
    bool good = makeFakePicture(scratch.filePath(QStringLiteral("picture.jpg")));
    const QString tool = QFileInfo(command).path() + QStringLiteral("/../Resources/tools/ffmpeg");
    const double bare = bareGap(tool, scratch);
    const QString times = scratch.filePath(QStringLiteral("times"));
    qputenv("FAKE_TOOL_TIMES", times.toUtf8());
    // A confined tool could not write its notes there; spawn_bench measures what confining costs.
    sheet.insert(2, QStringLiteral("--no-confinement"));
    good = run(sheet).status == 0 && good;
    qunsetenv("FAKE_TOOL_TIMES");
    const auto found = gaps(times);
    std::printf("between two tools: a bare loop takes %.2f ms\n", bare);
    for (const auto &[kind, values] : found) {
        good = atMost(kind + QStringLiteral(", more than a bare loop, ms"), median(values) - bare,
                      2) &&
               good;
    }
    return good && !found.empty();
}

} // namespace

int main(int argc, char **argv)
{
    return runRows(readOptions(argc, argv), {{QStringLiteral("start-up"), startUp},
                                             {QStringLiteral("between-tools"), betweenTools},
                                             {QStringLiteral("many-sources"), manySources}});
}
