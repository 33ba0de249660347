// What sheets read of their sources, against what their pictures need. The program fails when a
// road reads more than twice that.
//
// bytes_bench [--list] [--row NAME]... FOLDER-FOR-CLIPS

#include "clips.h"
#include "commands.h"
#include "needed_bytes.h"
#include "rows.h"
#include "traced_reads.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace bench;

namespace
{

constexpr double bound = 2;

struct Road {
    const char *name;
    QStringList options;
};

QString kilobytes(qint64 bytes)
{
    return QString::number(static_cast<double>(bytes) / 1e3, 'f', 0);
}

struct Table {
    QList<QStringList> lines;
};

Table &table()
{
    static Table all;
    return all;
}

// The kernel counts a few bytes more: those that it reads itself to start a program.
bool isWhole(const TracedReads &traced)
{
    const double difference = std::abs(static_cast<double>(traced.kernel.bytes - traced.all.bytes));
    const bool isNear = difference <= 0.01 * static_cast<double>(traced.kernel.bytes);
    if (traced.status != 0 || !isNear) {
        std::printf("  FAILED: status %d, %lld bytes traced, %lld by the kernel's counters\n",
                    traced.status, static_cast<long long>(traced.all.bytes),
                    static_cast<long long>(traced.kernel.bytes));
    }
    return traced.status == 0 && isNear;
}

std::vector<double> shownInstants(const QStringList &sheet)
{
    QProcess process;
    process.start(sheet.first(), sheet.mid(1) + QStringList{QStringLiteral("--json")});
    process.waitForFinished(-1);
    const QJsonArray instants = QJsonDocument::fromJson(process.readAllStandardOutput())
                                    .object()
                                    .value(QStringLiteral("instants"))
                                    .toArray();
    std::vector<double> shown;
    for (const QJsonValue &instant : instants) {
        shown.push_back(instant.toDouble());
    }
    return shown;
}

void addLine(const Clip &clip, const QString &source, const char *what, const TracedReads &traced,
             qint64 fetched, const QString &needed, const QString &ratio)
{
    table().lines.append({QStringLiteral("%1 (%2)").arg(QLatin1String(clip.title),
                                                        kilobytes(QFileInfo(source).size())),
                          QLatin1String(what), QString::number(traced.source.calls),
                          kilobytes(traced.source.bytes), kilobytes(fetched),
                          QString::number(traced.kernel.calls), kilobytes(traced.kernel.bytes),
                          needed, ratio});
    std::printf("  %s\n", qUtf8Printable(table().lines.last().join(QStringLiteral(" | "))));
}

bool sheetReads(const Clip &clip, const QString &source, const Road &road)
{
    const QTemporaryDir scratch;
    const QStringList command = sheetCommand({source}, scratch.path(), road.options);
    const std::vector<double> shown = shownInstants(command);
    const auto needed = neededBytes(source, shown);
    const TracedReads traced = traceReads(command, source);
    const qint64 fetched = bytesFetched(command, source);
    if (!isWhole(traced) || shown.empty() || !needed || fetched < 0) {
        return false;
    }
    const qint64 needs = needed->pictures + needed->index;
    const double ratio = static_cast<double>(traced.source.bytes) / static_cast<double>(needs);
    const bool isGood = ratio <= bound;
    addLine(clip, source, road.name, traced, fetched,
            QStringLiteral("%1 + %2").arg(kilobytes(needed->pictures), kilobytes(needed->index)),
            QString::number(ratio, 'f', 2) + (isGood ? QString() : QStringLiteral(", missed")));
    return isGood;
}

bool analysisReads(const Clip &clip, const QString &source, const char *what,
                   const QStringList &options)
{
    const QStringList command = infoCommand(source, options);
    const TracedReads traced = traceReads(command, source);
    const qint64 fetched = bytesFetched(command, source);
    if (!isWhole(traced) || fetched < 0) {
        return false;
    }
    addLine(clip, source, what, traced, fetched, {}, {});
    return true;
}

bool clipReads(const Options &options, const Clip &clip)
{
    const QString source = clip.make(options.folder);
    const QStringList quick{QStringLiteral("--quick")};
    const bool results[] = {sheetReads(clip, source, {"default sheet", {}}),
                            sheetReads(clip, source, {"quick sheet", quick}),
                            analysisReads(clip, source, "`info`", {}),
                            analysisReads(clip, source, "`info --quick`", quick)};
    return std::all_of(std::begin(results), std::end(results), [](bool good) { return good; });
}

void printReads()
{
    std::printf(
        "\nSizes in kB; bound of the last column: %.0f\n\n"
        "| clip (size) | what | reads of the source | their bytes | fetched | all reads | their "
        "bytes | needed: pictures + index | bytes of the source / needed |\n"
        "|---|---|---|---|---|---|---|---|---|\n",
        bound);
    for (const QStringList &line : table().lines) {
        std::printf("| %s |\n", qUtf8Printable(line.join(QStringLiteral(" | "))));
    }
}

} // namespace

int main(int argc, char **argv)
{
    const Options options = readOptions(argc, argv);
    std::vector<Row> rows;
    for (const Clip &clip : sheetClips()) {
        rows.push_back({QLatin1String(clip.name), [&] { return clipReads(options, clip); }});
    }
    const int status = runRows(options, rows);
    if (!options.lists) {
        printReads();
    }
    return status;
}
