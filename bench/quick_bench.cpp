// Quick pictures and many sources at once, against the least that such work can cost. Each figure
// is a ratio or a difference within this run; the program fails when one misses its bound.
//
// quick_bench <folder for clips>

#include "clips.h"
#include "measuring.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

using namespace bench;

namespace
{

constexpr int rounds = 7;
constexpr int longRounds = 3; // of what takes many seconds
constexpr int phoneClips = 200;
constexpr int exactPhoneClips = 40;

// ---- what a sheet of a film needs

struct Task {
    QString source;
    int width = 0; // of a still
    int height = 0;
    int count = 0;
    double interval = 0; // seconds
    QStringList instants;
};

QString clockText(double seconds)
{
    const auto milliseconds = static_cast<qint64>(seconds * 1000 + 0.5);
    return QStringLiteral("%1:%2:%3.%4")
        .arg(milliseconds / 3'600'000)
        .arg(milliseconds / 60'000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds / 1000 % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'));
}

// How wide a quick sheet of three columns, as JPEG, asks for its stills.
constexpr int usefulWidth = 628;

// Of 15 pictures; the count is 0 when there is no plan.
Task taskOf(const QString &source)
{
    QProcess plan;
    plan.start(builtCommand(), {QStringLiteral("plan"), QStringLiteral("--json"),
                                QStringLiteral("-n"), QStringLiteral("15"), source});
    plan.waitForFinished(-1);
    const QJsonObject object = QJsonDocument::fromJson(plan.readAllStandardOutput()).object();
    const int plannedWidth = std::max(1, object.value(QStringLiteral("wTh")).toInt());
    Task task{source,
              usefulWidth,
              object.value(QStringLiteral("hTh")).toInt() * usefulWidth / plannedWidth,
              object.value(QStringLiteral("count")).toInt(),
              object.value(QStringLiteral("interval")).toDouble(),
              {}};
    const QJsonArray pictures = object.value(QStringLiteral("pictures")).toArray();
    for (const QJsonValue &picture : pictures) {
        task.instants.append(clockText(picture[QStringLiteral("time")].toDouble()));
    }
    return task;
}

QStringList quickThumbs(const Task &task, const QString &folder)
{
    return {builtTool(QStringLiteral("quickThumbs")),
            QStringLiteral("-i"),
            task.source,
            QStringLiteral("-w"),
            QString::number(task.width),
            QStringLiteral("-h"),
            QString::number(task.height),
            QStringLiteral("-tc"),
            task.instants.join(QLatin1Char('-')),
            QStringLiteral("-y"),
            QStringLiteral("-o"),
            folder};
}

QStringList bareLoop(const Task &task)
{
    return {QStringLiteral(QV_QUICK_LOOP), task.source, QString::number(task.width),
            QString::number(task.height), QString::number(task.count)};
}

QStringList sheetOf(const QStringList &sources, const QString &folder, const QStringList &options)
{
    return QStringList{builtCommand(), QStringLiteral("sheet"), QStringLiteral("--replace"),
                       QStringLiteral("-n"), QStringLiteral("15")} +
           options + QStringList{QStringLiteral("-o"), folder} + sources;
}

const QStringList quick{QStringLiteral("--quick")};

// ---- commands in turns

void tellFailure(const QStringList &command, int status)
{
    std::printf("  FAILED with status %d: %s\n", status,
                qUtf8Printable(command.join(QLatin1Char(' ')).left(300)));
}

// Commands that are compared run in turns, so that the machine's moods meet them alike.
class Turns
{
public:
    explicit Turns(const QList<QStringList> &commands) : m_commands(commands)
    {
        m_times.resize(static_cast<std::size_t>(commands.size()));
    }

    // False as soon as one of them fails, which is told.
    bool run(int times)
    {
        for (int i = 0; i < times; ++i) {
            for (qsizetype command = 0; command < m_commands.size(); ++command) {
                const Measured measured = bench::run(m_commands.at(command));
                if (measured.status != 0) {
                    tellFailure(m_commands.at(command), measured.status);
                    return false;
                }
                m_times[static_cast<std::size_t>(command)].push_back(measured.milliseconds);
            }
        }
        return true;
    }
    double milliseconds(std::size_t command) const { return median(m_times.at(command)); }

private:
    QList<QStringList> m_commands;
    std::vector<std::vector<double>> m_times;
};

bool isThere(const char *name, const Task &task)
{
    if (task.count == 0) {
        std::printf("%s: no plan  MISSED\n", name);
    }
    return task.count > 0;
}

// ---- the pictures alone

bool stillsAgainstLoop(const char *name, const Task &task)
{
    const QTemporaryDir scratch;
    if (!isThere(name, task)) {
        return false;
    }
    Turns turns({bareLoop(task), quickThumbs(task, scratch.path())});
    if (!turns.run(rounds)) {
        return false;
    }
    std::printf("%s: %d pictures of %d x %d, bare loop %.0f ms, quickThumbs %.0f ms\n", name,
                task.count, task.width, task.height, turns.milliseconds(0), turns.milliseconds(1));
    return atMost("quickThumbs / loop", turns.milliseconds(1) / turns.milliseconds(0), 1.3);
}

bool memoryStaysBelow(const char *name, const Task &task, double megabytes)
{
    const QTemporaryDir scratch;
    if (!isThere(name, task)) {
        return false;
    }
    const QStringList command = quickThumbs(task, scratch.path());
    const Measured measured = run(command);
    if (measured.status != 0) {
        tellFailure(command, measured.status);
        return false;
    }
    std::printf("%s: %.0f ms\n", name, measured.milliseconds);
    return atMost("peak memory of quickThumbs, MB",
                  static_cast<double>(measured.peakKilobytes) / 1024, megabytes);
}

// ---- whole sheets

bool sheetAgainstLoop(const Task &task)
{
    const QTemporaryDir scratch;
    if (!isThere("whole sheet", task)) {
        return false;
    }
    Turns turns({bareLoop(task), sheetOf({task.source}, scratch.path(), quick),
                 sheetOf({task.source}, scratch.path(), {})});
    if (!turns.run(rounds)) {
        return false;
    }
    const double loop = turns.milliseconds(0);
    const double whole = turns.milliseconds(1);
    const double exact = turns.milliseconds(2);
    std::printf("whole sheet: bare loop %.0f ms, quick sheet %.0f ms, exact sheet %.0f ms\n", loop,
                whole, exact);
    const bool isNearLoop = atMost("quick sheet / loop", whole / loop, 4);
    return atLeast("exact sheet / quick sheet", exact / whole, 20) && isNearLoop;
}

// Whether the one run of ffmpeg decodes key pictures only, which is all that it needs where there
// are enough of them for the sheet; where there are fewer, it would show the same ones again and
// again.
enum class Decodes { KeyPictures, All };

// What somebody types who wants such a picture and has nothing but ffmpeg.
QStringList tiled(const Task &task, Decodes what, const QString &picture)
{
    const QString filters =
        QStringLiteral("fps=1/%1,scale=320:-2,tile=3x%2")
            .arg(QString::number(task.interval), QString::number(task.count / 3));
    const QStringList keysOnly{QStringLiteral("-skip_frame"), QStringLiteral("nokey")};
    return QStringList{builtTool(QStringLiteral("ffmpeg")), QStringLiteral("-y")} +
           (what == Decodes::KeyPictures ? keysOnly : QStringList()) +
           QStringList{QStringLiteral("-i"),
                       task.source,
                       QStringLiteral("-vf"),
                       filters,
                       QStringLiteral("-frames:v"),
                       QStringLiteral("1"),
                       picture};
}

bool sheetAgainstTile(const char *name, const Task &task)
{
    const QTemporaryDir scratch;
    if (!isThere(name, task)) {
        return false;
    }
    Turns turns({tiled(task, Decodes::KeyPictures, scratch.filePath(QStringLiteral("tile.jpg"))),
                 sheetOf({task.source}, scratch.path(), quick)});
    if (!turns.run(rounds)) {
        return false;
    }
    std::printf("%s: one ffmpeg run %.0f ms, quick sheet %.0f ms\n", name, turns.milliseconds(0),
                turns.milliseconds(1));
    return atMost("quick sheet / ffmpeg", turns.milliseconds(1) / turns.milliseconds(0), 1);
}

// A clip with fewer key pictures than the sheet has cells.
bool shortClipAgainstTile(const char *name, const Task &task)
{
    const QTemporaryDir scratch;
    if (!isThere(name, task)) {
        return false;
    }
    const QString picture = scratch.filePath(QStringLiteral("tile.jpg"));
    Turns turns({tiled(task, Decodes::KeyPictures, picture), tiled(task, Decodes::All, picture),
                 sheetOf({task.source}, scratch.path(), quick)});
    if (!turns.run(rounds)) {
        return false;
    }
    std::printf("%s: one ffmpeg run %.0f ms with pictures repeated, %.0f ms with all different; "
                "quick sheet %.0f ms\n",
                name, turns.milliseconds(0), turns.milliseconds(1), turns.milliseconds(2));
    return atMost("quick sheet / ffmpeg, all different",
                  turns.milliseconds(2) / turns.milliseconds(1), 1);
}

// ---- many at once

// Linear is against one processor: a single job has the tools use the others for part of its time.
bool jobsScale(const char *name, const QStringList &clips, const QStringList &road)
{
    const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
    const QTemporaryDir scratch;
    const auto withJobs = [&](unsigned jobs) {
        return sheetOf(clips, scratch.path(),
                       road + QStringList{QStringLiteral("--jobs"), QString::number(jobs)});
    };
    const QStringList onOneProcessor{QStringLiteral("/usr/bin/taskset"), QStringLiteral("-c"),
                                     QStringLiteral("0")};
    Turns turns({withJobs(1), onOneProcessor + withJobs(1), withJobs(processors)});
    if (clips.isEmpty()) {
        std::printf("%s: no clips  MISSED\n", name);
        return false;
    }
    if (!turns.run(longRounds)) {
        return false;
    }
    std::printf("%s, %lld clips: one job %.1f s (held to one processor %.1f s), %u jobs %.1f s\n",
                name, static_cast<long long>(clips.size()), turns.milliseconds(0) / 1000,
                turns.milliseconds(1) / 1000, processors, turns.milliseconds(2) / 1000);
    std::printf("  speed-up against one job %.2f\n", turns.milliseconds(0) / turns.milliseconds(2));
    return atLeast("speed-up against one processor / jobs",
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

bool composerTakesLittle(const QString &film)
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
                            film};
    Turns turns({sheet});
    if (!turns.run(rounds)) {
        return false;
    }
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        const auto time = composingTime(sheet, scratch.filePath(QStringLiteral("log")));
        if (!time) {
            std::printf("six columns: the log does not tell when the sheet was drawn  FAILED\n");
            return false;
        }
        times.push_back(*time);
    }
    std::printf("six columns, 48 pictures: quick sheet %.0f ms, of which composing %.0f ms\n",
                turns.milliseconds(0), median(times));
    return atMost("composing / quick sheet", median(times) / turns.milliseconds(0), 1.0 / 3);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: quick_bench FOLDER\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    const QStringList phone = makePhoneClips(folder, phoneClips);
    const Task film = taskOf(makeFilm(folder, 3));
    const Task film4k = taskOf(make4kFilm(folder));
    const Task recording = taskOf(makeRecording(folder));
    const Task film8k = taskOf(make8kFilm(folder));
    const bool results[] = {
        stillsAgainstLoop("film, 1080p", film),
        stillsAgainstLoop("film, 4K with 10 bits", film4k),
        stillsAgainstLoop("recording of an hour", recording),
        memoryStaysBelow("film, 1080p", film, 150),
        memoryStaysBelow("film, 8K", film8k, 600),
        sheetAgainstLoop(film),
        sheetAgainstTile("film, 1080p", film),
        sheetAgainstTile("film, 4K with 10 bits", film4k),
        sheetAgainstTile("recording of an hour", recording),
        shortClipAgainstTile("shortest phone clip", taskOf(phone.value(0))),
        shortClipAgainstTile("longest phone clip", taskOf(phone.value(15))),
        composerTakesLittle(film.source),
        jobsScale("quick", phone, quick),
        jobsScale("exact", phone.mid(0, exactPhoneClips), {}),
    };
    return std::all_of(std::begin(results), std::end(results), [](bool good) { return good; }) ? 0
                                                                                               : 1;
}
