// Whole sheets, from process start to end, against the work that they stand for. Each figure is a
// ratio within this run; the program fails when one misses its bound.
//
// sheet_bench [--list] [--row NAME]... [--rounds N] [--all-clips] FOLDER-FOR-CLIPS

#include "clips.h"
#include "commands.h"
#include "rows.h"
#include "turns.h"

#include <QByteArray>
#include <QTemporaryDir>

#include <algorithm>

using namespace bench;

namespace
{

constexpr int fewClips = 20;
constexpr int allClips = 200;

const QString allClipsFlag = QStringLiteral("--all-clips");
const QStringList quick{QStringLiteral("--quick")};

QString label(const char *what, const Clip &clip)
{
    return QStringLiteral("%1: %2").arg(QLatin1String(clip.title), QLatin1String(what));
}

// The default sheet, its analysis included, against a loop over the commands that `plan` prints.
bool sheetAgainstLoop(const Options &options, const Clip &clip, double bound)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(clip.make(options.folder));
    Turns turns({planLoop(plan, scratch.path(), QStringLiteral("loop")),
                 sheetCommand({plan.source}, scratch.path())});
    return plan.count > 0 && turns.run(options.rounds) &&
           ratioAtMost(label("default sheet / loop over the bare plan", clip),
                       turns.milliseconds(1), turns.milliseconds(0), "ms", bound);
}

bool analysisAgainstProbe(const Options &options, const Clip &clip)
{
    const QString source = clip.make(options.folder);
    Turns turns({infoCommand(source), infoCommand(source, quick)});
    return turns.run(options.rounds) &&
           ratioAtMost(label("`info` / `info --quick`", clip), turns.milliseconds(0),
                       turns.milliseconds(1), "ms", 1.1);
}

bool filmAgainstScripts(const Options &options)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(makeClip(options.folder, "film"));
    const QString picture = scratch.filePath(QStringLiteral("tile.jpg"));
    Turns turns({tileCommand(plan, Decodes::All, picture),
                 tileCommand(plan, Decodes::KeyPictures, picture), seekLoop(plan, scratch.path()),
                 sheetCommand({plan.source}, scratch.path())});
    if (plan.count == 0 || !turns.run(options.rounds)) {
        return false;
    }
    const double sheet = turns.milliseconds(3);
    const bool tile = ratioAtMost(QStringLiteral("film: default sheet / one `fps,scale,tile` run"),
                                  sheet, turns.milliseconds(0), "ms", 0.8);
    note(QStringLiteral("film: default sheet / the same with `-skip_frame nokey`"),
         QString::number(sheet / turns.milliseconds(1), 'f', 3));
    return ratioAtMost(QStringLiteral("film: default sheet / one plain ffmpeg run a picture"),
                       sheet, turns.milliseconds(2), "ms", 0.3) &&
           tile;
}

bool quickAgainstLibrary(const Options &options)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(makeClip(options.folder, "film"));
    Turns turns({libraryLoop(plan), sheetCommand({plan.source}, scratch.path(), quick)});
    return plan.count > 0 && turns.run(options.rounds * 3) &&
           ratioAtMost(QStringLiteral("film: quick sheet / bare library loop"),
                       turns.milliseconds(1), turns.milliseconds(0), "ms", 1.5);
}

// The least that shows key pictures: no facts, no stamps, no check of the source.
bool quickAgainstKeyTile(const Options &options)
{
    const QTemporaryDir scratch;
    const Plan plan = planOf(makeClip(options.folder, "phone-12"));
    Turns turns(
        {tileCommand(plan, Decodes::KeyPictures, scratch.filePath(QStringLiteral("tile.jpg"))),
         sheetCommand({plan.source}, scratch.path(), quick)});
    return plan.count > 0 && turns.run(options.rounds * 3) &&
           ratioAtMost(QStringLiteral("12 s phone clip: quick sheet / one `fps,scale,tile` run "
                                      "over key pictures"),
                       turns.milliseconds(1), turns.milliseconds(0), "ms", 0.95);
}

// Absolute times; the first picture by ffmpeg tells how fast the machine is.
bool smallClip(const Options &options)
{
    const QTemporaryDir scratch;
    const QString source = makeClip(options.folder, "small");
    Turns turns({firstPicture(source, scratch.filePath(QStringLiteral("first.jpg"))),
                 sheetCommand({source}, scratch.path(), quick),
                 sheetCommand({source}, scratch.path())});
    if (!turns.run(options.rounds * 3)) {
        return false;
    }
    const double first = turns.processorMilliseconds(0);
    const auto atMostSeconds = [&](const char *what, std::size_t command, double bound) {
        const double time = turns.processorMilliseconds(command);
        const bool isGood = atMost(QStringLiteral("3 s of 320x240: processor time of a %1 sheet, s")
                                       .arg(QLatin1String(what)),
                                   time / 1000, bound);
        note(
            QStringLiteral("3 s of 320x240: processor time of a %1 sheet / of `ffmpeg -frames:v 1`")
                .arg(QLatin1String(what)),
            QStringLiteral("%1 / %2 ms: %3")
                .arg(QString::number(time, 'f', 0), QString::number(first, 'f', 0),
                     QString::number(time / first, 'f', 2)));
        return isGood;
    };
    const bool isQuickGood = atMostSeconds("quick", 1, 0.11);
    return atMostSeconds("default", 2, 0.4) && isQuickGood;
}

bool phoneClips(const Options &options)
{
    const int count = options.flags.contains(allClipsFlag) ? allClips : fewClips;
    const QTemporaryDir scratch;
    const QStringList clips = makePhoneClips(options.folder, count);
    std::vector<Plan> plans;
    for (const QString &clip : clips) {
        plans.push_back(planOf(clip));
        if (plans.back().count == 0) {
            return false;
        }
    }
    const QStringList two{QStringLiteral("--jobs"), QStringLiteral("2")};
    Turns turns({planLoops(plans, scratch.path(), 2), sheetCommand(clips, scratch.path(), two)});
    return !clips.isEmpty() && turns.run(std::min(options.rounds, 3)) &&
           ratioAtMost(QStringLiteral("%1 phone clips: default sheets, `--jobs 2` / loops over the "
                                      "bare plans, two at a time, a clip")
                           .arg(count),
                       turns.milliseconds(1) / count, turns.milliseconds(0) / count, "ms", 0.5);
}

struct LoopBound {
    const char *clip;
    double bound;
};

std::vector<Row> rowsOf(const Options &options)
{
    static const LoopBound loopBounds[] = {{"film", 0.16}, {"film-tens", 0.7}, {"show", 0.2},
                                           {"hevc", 0.35}, {"recording", 0.7}, {"phone-8", 0.6}};
    std::vector<Row> rows;
    for (const LoopBound &entry : loopBounds) {
        for (const Clip &clip : sheetClips()) {
            if (qstrcmp(clip.name, entry.clip) == 0) {
                rows.push_back({QStringLiteral("loop-%1").arg(QLatin1String(clip.name)),
                                [&] { return sheetAgainstLoop(options, clip, entry.bound); }});
            }
        }
    }
    rows.push_back({QStringLiteral("scripts"), [&] { return filmAgainstScripts(options); }});
    for (const Clip &clip : sheetClips()) {
        rows.push_back({QStringLiteral("analysis-%1").arg(QLatin1String(clip.name)),
                        [&] { return analysisAgainstProbe(options, clip); }});
    }
    rows.push_back({QStringLiteral("library"), [&] { return quickAgainstLibrary(options); }});
    rows.push_back({QStringLiteral("key-tile"), [&] { return quickAgainstKeyTile(options); }});
    rows.push_back({QStringLiteral("small"), [&] { return smallClip(options); }});
    rows.push_back({QStringLiteral("phone-clips"), [&] { return phoneClips(options); }});
    return rows;
}

} // namespace

int main(int argc, char **argv)
{
    const Options options = readOptions(argc, argv, {allClipsFlag});
    return runRows(options, rowsOf(options));
}
