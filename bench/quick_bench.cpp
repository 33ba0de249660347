// Quick pictures and many sources at once, against the least that such work can cost. Each figure
// is a ratio or a difference within this run; the program fails when one misses its bound.
//
// quick_bench [--list] [--row NAME]... [--rounds N] FOLDER-FOR-CLIPS

#include "clips.h"
#include "commands.h"
#include "rows.h"
#include "turns.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

using namespace bench;

namespace
{

constexpr int longRounds = 3; // of what takes many seconds
constexpr int phoneClips = 200;
constexpr int exactPhoneClips = 40;

const QStringList quick{QStringLiteral("--quick")};

QString clockText(double seconds)
{
    const auto milliseconds = static_cast<qint64>(seconds * 1000 + 0.5);
    return QStringLiteral("%1:%2:%3.%4")
        .arg(milliseconds / 3'600'000)
        .arg(milliseconds / 60'000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

QStringList quickThumbs(const Plan &plan, const QString &folder)
{
    QStringList instants;
    for (const double instant : plan.instants) {
        instants.append(clockText(instant));
    }
    return {builtTool(QStringLiteral("quickThumbs")),
            QStringLiteral("-i"),
            plan.source,
            QStringLiteral("-w"),
            QString::number(usefulWidth),
            QStringLiteral("-h"),
            QString::number(usefulHeight(plan)),
            QStringLiteral("-tc"),
            instants.join(QLatin1Char('-')),
            QStringLiteral("-y"),
            QStringLiteral("-o"),
            folder};
}

// ---- the pictures alone

bool stillsAgainstLoop(const Options &options, const Clip &clip)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(clip.make(options.folder));
    Turns turns({libraryLoop(plan), quickThumbs(plan, scratch.path())});
    return plan.count > 0 && turns.run(options.rounds) &&
           ratioAtMost(QStringLiteral("%1: `quickThumbs` / bare library loop")
                           .arg(QLatin1String(clip.title)),
                       turns.milliseconds(1), turns.milliseconds(0), "ms", 1.3);
}

bool memoryStaysBelow(const QString &what, const QString &source, double megabytes)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(source);
    const Measured measured = runAndReport(quickThumbs(plan, scratch.path()));
    return measured.status == 0 &&
           atMost(what + QStringLiteral(": peak memory of `quickThumbs`, MB"),
                  static_cast<double>(measured.peakKilobytes) / 1024, megabytes);
}

// ---- whole sheets

bool sheetAgainstTile(const Options &options, const Clip &clip)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(clip.make(options.folder));
    Turns turns(
        {tileCommand(plan, Decodes::KeyPictures, scratch.filePath(QStringLiteral("tile.jpg"))),
         sheetCommand({plan.source}, scratch.path(), quick)});
    return plan.count > 0 && turns.run(options.rounds) &&
           ratioAtMost(
               QStringLiteral("%1: quick sheet / one `fps,scale,tile` run over key pictures")
                   .arg(QLatin1String(clip.title)),
               turns.milliseconds(1), turns.milliseconds(0), "ms", 1);
}

// ---- many at once

// Linear is against one processor: a single job has the tools use the others for part of its time.
bool jobsScale(const QString &what, const QStringList &clips, const QStringList &road)
{
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    const QTemporaryDir scratch;
    const auto withJobs = [&](unsigned jobs) {
        return sheetCommand(clips, scratch.path(),
                            road + QStringList{QStringLiteral("--jobs"), QString::number(jobs)});
    };
    const QStringList onOneProcessor{QStringLiteral("/usr/bin/taskset"), QStringLiteral("-c"),
                                     QStringLiteral("0")};
    Turns turns({withJobs(1), onOneProcessor + withJobs(1), withJobs(processors)});
    if (clips.isEmpty() || !turns.run(longRounds)) {
        return false;
    }
    note(QStringLiteral("%1, %2 clips: one job, the same on one processor, %3 jobs")
             .arg(what)
             .arg(clips.size())
             .arg(processors),
         QStringLiteral("%1, %2, %3 s")
             .arg(turns.milliseconds(0) / 1000, 0, 'f', 1)
             .arg(turns.milliseconds(1) / 1000, 0, 'f', 1)
             .arg(turns.milliseconds(2) / 1000, 0, 'f', 1));
    return atLeast(what + QStringLiteral(": speed-up against one processor / jobs"),
                   turns.milliseconds(1) / turns.milliseconds(2) / processors, 0.85);
}

// ---- the composer

// When the log has the first line with that text; milliseconds.
std::optional<double> instantInLog(const QString &path, const char *text)
{
    QFile log(path);
    if (!log.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    while (!log.atEnd()) {
        const QByteArray line = log.readLine();
        if (line.contains(text)) {
            const QDateTime time = QDateTime::fromString(QString::fromLatin1(line.left(23)),
                                                         QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
            return static_cast<double>(time.toMSecsSinceEpoch());
        }
    }
    return std::nullopt;
}

// From the first mark of the sheet's drawing to the end of its file's writing.
std::optional<double> composingTime(const QStringList &sheet, const QString &log)
{
    QFile::remove(log);
    if (run(sheet + QStringList{QStringLiteral("--verbose"), QStringLiteral("--log"), log})
            .status != 0) {
        return std::nullopt;
    }
    const auto begun = instantInLog(log, "rgba average bkg");
    const auto ended = instantInLog(log, "imgExport - fin");
    return begun && ended ? std::optional(*ended - *begun) : std::nullopt;
}

bool composerTakesLittle(const Options &options)
{
    const QTemporaryDir scratch;
    const QStringList sheet{builtCommand(),
                            QStringLiteral("sheet"),
                            QStringLiteral("-o"),
                            scratch.path(),
                            QStringLiteral("-l"),
                            QStringLiteral("minimum"),
                            QStringLiteral("-n"),
                            QStringLiteral("48"),
                            QStringLiteral("--quick"),
                            QStringLiteral("--replace"),
                            makeClip(options.folder, "film")};
    Turns turns({sheet});
    if (!turns.run(options.rounds)) {
        return false;
    }
    std::vector<double> times;
    for (int i = 0; i < options.rounds; ++i) {
        const auto time = composingTime(sheet, scratch.filePath(QStringLiteral("log")));
        if (!time) {
            std::printf("  FAILED: the log does not tell when the sheet was drawn\n");
            return false;
        }
        times.push_back(*time);
    }
    return ratioAtMost(QStringLiteral("film, six columns of 48 pictures: composing / quick sheet"),
                       median(times), turns.milliseconds(0), "ms", 1.0 / 3);
}

std::vector<Row> rowsOf(const Options &options)
{
    std::vector<Row> rows;
    const QString film = QStringLiteral("film");
    for (const Clip &clip : sheetClips()) {
        const QString name = QLatin1String(clip.name);
        if (name == film || name == QLatin1String("hevc") || name == QLatin1String("recording")) {
            rows.push_back({QStringLiteral("stills-") + name,
                            [&] { return stillsAgainstLoop(options, clip); }});
            rows.push_back(
                {QStringLiteral("tile-") + name, [&] { return sheetAgainstTile(options, clip); }});
        }
    }
    const auto phone = [&] { return makePhoneClips(options.folder, phoneClips); };
    rows.push_back({QStringLiteral("memory-1080p"), [&] {
                        return memoryStaysBelow(QStringLiteral("film"),
                                                makeClip(options.folder, "film"), 150);
                    }});
    rows.push_back({QStringLiteral("memory-8k"), [&] {
                        return memoryStaysBelow(QStringLiteral("3 s of 8K"),
                                                make8kFilm(options.folder), 600);
                    }});
    rows.push_back({QStringLiteral("composer"), [&] { return composerTakesLittle(options); }});
    rows.push_back({QStringLiteral("jobs-quick"),
                    [phone] { return jobsScale(QStringLiteral("quick"), phone(), quick); }});
    rows.push_back({QStringLiteral("jobs-default"), [phone] {
                        return jobsScale(QStringLiteral("default"), phone().mid(0, exactPhoneClips),
                                         {});
                    }});
    return rows;
}

} // namespace

int main(int argc, char **argv)
{
    const Options options = readOptions(argc, argv);
    return runRows(options, rowsOf(options));
}
