// The cost of sheets by kind of source: fits the constants of the formulas in docs/capacity.md,
// checks them with a run of a thousand mixed sources, half of them by each road, and carries them
// on to archives. The program fails when a sum is more than a fifth off.
//
// capacity_bench [--list] [--row NAME]... [--few] FOLDER-FOR-CLIPS

#include "capacity_model.h"
#include "capacity_sources.h"
#include "clips.h"
#include "commands.h"
#include "measuring.h"
#include "needed_bytes.h"
#include "rows.h"
#include "traced_reads.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cmath>
#include <cstdio>
#include <thread>

using namespace bench;

namespace
{

constexpr int sourcesOfRoad = 500;
constexpr int fewSources = 42;
constexpr int copies = 6; // of a source whose constants are measured
constexpr double mostDeviation = 0.2;

const QString fewFlag = QStringLiteral("--few");

double bytesBelow(const QString &folder)
{
    double bytes = 0;
    QDirIterator files(folder, QDir::Files);
    while (files.hasNext()) {
        files.next();
        bytes += static_cast<double>(files.fileInfo().size());
    }
    return bytes;
}

struct Batch {
    Cost cost; // of all; `otherBytes` holds all that was read
    double seconds = 0;
    bool isGood = false;
};

// As many sheets as the list has, with a job for each processor.
Batch makeSheets(const QStringList &sources, const QString &folder, const QStringList &road)
{
    const QString list = folder + QStringLiteral("/list");
    QFile file(list);
    if (sources.isEmpty() || !file.open(QIODevice::WriteOnly)) {
        return {};
    }
    for (const QString &source : sources) {
        file.write(QFile::encodeName(source) + '\0');
    }
    file.close();
    const QString sheets = folder + QStringLiteral("/sheets");
    const double before = kernelBytesRead();
    const Measured measured = run(
        sheetCommand({}, sheets,
                     road + QStringList{QStringLiteral("--from"), list, QStringLiteral("--jobs"),
                                        QString::number(std::thread::hardware_concurrency())}));
    Batch batch;
    batch.cost.processorSeconds = measured.processorMilliseconds / 1e3;
    batch.cost.otherBytes = kernelBytesRead() - before;
    batch.cost.sheetBytes = bytesBelow(sheets);
    batch.seconds = measured.milliseconds / 1e3;
    batch.isGood = measured.status == 0;
    return batch;
}

// In an empty folder beside the clips, so that links to them can be made.
QString scratchTemplate(const Options &options)
{
    return options.folder + QStringLiteral("/capacity-XXXXXX");
}

// A job of many keeps to one processor, and reads otherwise than one that has several.
QStringList asOneOfMany(const QStringList &command)
{
    return QStringList{QStringLiteral("/usr/bin/taskset"), QStringLiteral("-c"),
                       QStringLiteral("0")} +
           command;
}

bool measureSource(const Options &options, const QStringList &road, const CapacitySource &source,
                   std::vector<MeasuredSource> &measured)
{
    const QTemporaryDir scratch(scratchTemplate(options));
    const Batch batch =
        makeSheets(manySources({source}, copies, scratch.path()), scratch.path(), road);
    const TracedReads traced = traceReads(
        asOneOfMany(sheetCommand({source.path}, scratch.filePath(QStringLiteral("traced")), road)),
        source.path);
    if (!batch.isGood || traced.status != 0) {
        std::printf("  FAILED: %s\n", qUtf8Printable(source.path));
        return false;
    }
    Cost cost;
    cost.processorSeconds = batch.cost.processorSeconds / copies;
    cost.sourceBytes = static_cast<double>(traced.source.bytes);
    cost.sourceReads = static_cast<double>(traced.source.calls);
    cost.otherBytes = batch.cost.otherBytes / copies - cost.sourceBytes;
    cost.sheetBytes = batch.cost.sheetBytes / copies;
    measured.push_back({source.facts, cost});
    std::printf("  %s: %.2f s, %.1f MB\n", qUtf8Printable(QFileInfo(source.path).fileName()),
                cost.processorSeconds, cost.sourceBytes / 1e6);
    return true;
}

// How far the formulas are off where their constants come from.
void printFit(const CapacityModel &model, const std::vector<MeasuredSource> &measured)
{
    std::printf("| kind | megapixels | cells | processor, s: measured, fitted | MB read: measured, "
                "fitted | sheet, kB |\n|---|---|---|---|---|---|\n");
    for (const MeasuredSource &source : measured) {
        const Cost fitted = model.costOf(source.facts);
        std::printf("| %s | %.2f | %s | %.2f, %.2f | %.1f, %.1f | %.0f |\n",
                    qUtf8Printable(source.facts.kind), source.facts.megapixels,
                    source.facts.isDense() ? "dense" : "sparse", source.cost.processorSeconds,
                    fitted.processorSeconds, source.cost.sourceBytes / 1e6,
                    fitted.sourceBytes / 1e6, source.cost.sheetBytes / 1e3);
    }
    std::printf("\n");
}

// Clips far outside of what the constants come from; without a bound.
bool compareLargeClips(const Options &options, const QStringList &road, const QString &name,
                       const CapacityModel &model)
{
    struct Large {
        const char *clip;
        SourceFacts facts;
    };
    const Large large[] = {
        {"film", {QStringLiteral("h264-mp4"), 2.07, 25, 600, 10, 0, 0}},
        {"hevc", {QStringLiteral("hevc-mp4"), 8.29, 25, 120, 5, 0, 0}},
        {"recording", {QStringLiteral("mpeg2-mpg"), 0.41, 25, 3618, 0.48, 0, 0}},
        {"phone-12", {QStringLiteral("h264-mp4"), 2.07, 30, 12, 1, 0, 0}},
    };
    for (const auto &[clip, known] : large) {
        CapacitySource source{makeClip(QFileInfo(options.folder).path(), clip), known};
        source.facts.bytes = static_cast<double>(QFileInfo(source.path).size());
        source.facts.keyBytes = keyPictureBytes(source.path);
        std::vector<MeasuredSource> measured;
        if (!measureSource(options, road, source, measured)) {
            return false;
        }
        const Cost &cost = measured.front().cost;
        const Cost predicted = model.costOf(source.facts);
        note(QStringLiteral("%1 sheet, clip `%2`: processor time, bytes of the source read; "
                            "measured / predicted")
                 .arg(name, QLatin1String(clip)),
             QStringLiteral("%1 / %2 s, %3 / %4 MB")
                 .arg(cost.processorSeconds, 0, 'f', 2)
                 .arg(predicted.processorSeconds, 0, 'f', 2)
                 .arg(cost.sourceBytes / 1e6, 0, 'f', 1)
                 .arg(predicted.sourceBytes / 1e6, 0, 'f', 1));
    }
    return true;
}

bool isNear(const QString &what, double measured, double predicted, const char *unit)
{
    note(what + QStringLiteral(": measured / predicted, ") + QLatin1String(unit),
         QStringLiteral("%1 / %2: %3")
             .arg(QString::number(measured, 'f', 0), QString::number(predicted, 'f', 0),
                  QString::number(measured / predicted, 'f', 2)));
    return atMost(what + QStringLiteral(": deviation"), std::abs(measured / predicted - 1),
                  mostDeviation);
}

bool checkModel(const Options &options, const QString &name, const QStringList &road,
                const CapacityModel &model)
{
    const std::vector<CapacitySource> sources = checkSources(options.folder);
    const int count = options.flags.contains(fewFlag) ? fewSources : sourcesOfRoad;
    const QTemporaryDir scratch(scratchTemplate(options));
    if (sources.empty()) {
        return false;
    }
    const Batch batch =
        makeSheets(manySources(sources, count, scratch.path()), scratch.path(), road);
    if (!batch.isGood) {
        std::printf("  FAILED: not all sheets were made\n");
        return false;
    }
    Cost predicted;
    for (int i = 0; i < count; ++i) {
        const Cost cost = model.costOf(sources[static_cast<std::size_t>(i) % sources.size()].facts);
        predicted.processorSeconds += cost.processorSeconds;
        predicted.otherBytes += cost.otherBytes + cost.sourceBytes;
        predicted.sheetBytes += cost.sheetBytes;
    }
    const QString what = QStringLiteral("%1 %2 sheets").arg(count).arg(name);
    note(what + QStringLiteral(": time, s"), QString::number(batch.seconds, 'f', 0));
    const bool results[] = {isNear(what + QStringLiteral(", processor time"),
                                   batch.cost.processorSeconds, predicted.processorSeconds, "s"),
                            isNear(what + QStringLiteral(", bytes read"),
                                   batch.cost.otherBytes / 1e6, predicted.otherBytes / 1e6, "MB"),
                            isNear(what + QStringLiteral(", bytes of the sheets"),
                                   batch.cost.sheetBytes / 1e6, predicted.sheetBytes / 1e6, "MB")};
    return results[0] && results[1] && results[2];
}

struct Example {
    const char *title;
    int share; // of a hundred sources
    SourceFacts facts;
};

// Sizes and key pictures as such sources usually have them.
const std::vector<Example> &examples()
{
    static const std::vector<Example> all{
        {"phone clip, 15 s of 1080p H.264",
         50,
         {QStringLiteral("h264-mp4"), 2.07, 30, 15, 1, 32e6, 250e3}},
        {"web video, 5 min of 720p H.264",
         30,
         {QStringLiteral("h264-mp4"), 0.92, 25, 300, 5, 94e6, 90e3}},
        {"recording, 1 h of MPEG-2",
         8,
         {QStringLiteral("mpeg2-mpg"), 0.41, 25, 3600, 0.5, 1.8e9, 60e3}},
        {"film, 100 min of 1080p H.264",
         8,
         {QStringLiteral("h264-mkv"), 2.07, 24, 6000, 5, 6e9, 200e3}},
        {"4K, 10 min of HEVC", 4, {QStringLiteral("hevc-mp4"), 8.29, 25, 600, 2, 3.75e9, 900e3}},
    };
    return all;
}

void printArchives(const CapacityModel &model, const QString &name)
{
    std::printf("\n%s, a source:\n\n| source | share, %% | processor, s | read, MB | read calls | "
                "sheet, kB |\n|---|---|---|---|---|---|\n",
                qUtf8Printable(name));
    Cost mean;
    for (const Example &example : examples()) {
        const Cost cost = model.costOf(example.facts);
        std::printf("| %s | %d | %.2f | %.1f | %.0f | %.0f |\n", example.title, example.share,
                    cost.processorSeconds, cost.sourceBytes / 1e6, cost.sourceReads,
                    cost.sheetBytes / 1e3);
        mean.processorSeconds += cost.processorSeconds * example.share / 100;
        mean.sourceBytes += cost.sourceBytes * example.share / 100;
        mean.sourceReads += cost.sourceReads * example.share / 100;
        mean.sheetBytes += cost.sheetBytes * example.share / 100;
    }
    std::printf("\n| sources | processor hours | read, TB | read calls | sheets, TB | files |\n"
                "|---|---|---|---|---|---|\n");
    for (const double count : {1e6, 1e9}) {
        std::printf("| %.0e | %.0f | %.1f | %.1e | %.2f | %.0e |\n", count,
                    count * mean.processorSeconds / 3600, count * mean.sourceBytes / 1e12,
                    count * mean.sourceReads, count * mean.sheetBytes / 1e12, count);
    }
}

bool roadCost(const Options &options, const QString &name, const QStringList &road)
{
    std::vector<MeasuredSource> measured;
    for (const CapacitySource &source : calibrationSources(options.folder)) {
        if (!measureSource(options, road, source, measured)) {
            return false;
        }
    }
    if (measured.empty()) {
        return false;
    }
    const CapacityModel model(measured);
    std::printf("\n%s:\n\n%s\n\n", qUtf8Printable(name), qUtf8Printable(model.text()));
    printFit(model, measured);
    printArchives(model, name);
    const bool isCompared = compareLargeClips(options, road, name, model);
    return checkModel(options, name, road, model) && isCompared;
}

} // namespace

int main(int argc, char **argv)
{
    Options options = readOptions(argc, argv, {fewFlag});
    options.folder += QStringLiteral("/capacity");
    const QStringList quick{QStringLiteral("--quick")};
    return runRows(options, {{QStringLiteral("default"),
                              [&] { return roadCost(options, QStringLiteral("default"), {}); }},
                             {QStringLiteral("quick"),
                              [&] { return roadCost(options, QStringLiteral("quick"), quick); }}});
}
