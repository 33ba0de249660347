#include "media/walk.h"

#include "media/clock.h"
#include "media/corpus.h"
#include "sheet/extraction_plan.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <atomic>
#include <mutex>
#include <thread>

namespace
{

constexpr int workers = 2;
constexpr int patience = 500000; // milliseconds
constexpr int pictures = 6;
const qv::SheetLayout layout = qv::SheetLayout::Medium;

QString sheetsFolder()
{
    static const QTemporaryDir folder;
    return folder.path();
}

// Everything that is laid over or around the pictures is switched off.
QStringList sheetArguments(const QString &theme, bool quick)
{
    return {QStringLiteral("sheet"),
            quick ? QStringLiteral("--quick") : QStringLiteral("--keep"),
            QStringLiteral("--json"),
            QStringLiteral("--format"),
            QStringLiteral("png"),
            QStringLiteral("-l"),
            QStringLiteral("medium"),
            QStringLiteral("-n"),
            QString::number(pictures),
            QStringLiteral("--no-timecode"),
            QStringLiteral("--caption"),
            QStringLiteral("none"),
            QStringLiteral("--border-size"),
            QStringLiteral("0"),
            QStringLiteral("-o"),
            sheetsFolder() + QLatin1String(quick ? "/quick " : "/exact ") + theme,
            QFile::decodeName(corpusFolder()) + u'/' + theme};
}

QStringList infoArguments(const QString &theme, bool quick)
{
    const QStringList options = quick ? QStringList{QStringLiteral("--quick")} : QStringList();
    return QStringList{QStringLiteral("info")} + options +
           QStringList{QStringLiteral("--json"), QFile::decodeName(corpusFolder()) + u'/' + theme};
}

struct Run {
    QStringList arguments;
    QByteArray output;
    QString problem;
};

void execute(Run &run)
{
    QProcess process;
    process.start(QStringLiteral(QV_CLI_PROGRAM), run.arguments);
    const bool ended = process.waitForFinished(patience);
    run.output = process.readAllStandardOutput();
    // 1: some source was skipped or failed.
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() > 1) {
        run.problem = QStringLiteral("%1: %2").arg(
            run.arguments.join(u' '), QString::fromUtf8(process.readAllStandardError()));
    }
}

void executeAll(std::vector<Run> &runs)
{
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < workers; ++i) {
        threads.emplace_back([&] {
            for (std::size_t run = next++; run < runs.size(); run = next++) {
                execute(runs[run]);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
}

// A source's name as the command shows it: below the folder that it was given.
QByteArray shownName(const QByteArray &name)
{
    return QString::fromUtf8(name).toUtf8();
}

void addTo(QHash<QByteArray, QJsonObject> &results, const QByteArray &output)
{
    const QString folder = QFile::decodeName(corpusFolder()) + u'/';
    for (const QByteArray &line : output.split('\n')) {
        const QJsonObject object = QJsonDocument::fromJson(line).object();
        QString source = object.value(QStringLiteral("source")).toString();
        if (source.startsWith(folder)) {
            source.remove(0, folder.size());
        }
        results.insert(source.toUtf8(), object);
    }
}

qv::SheetGeometry geometryOf(const qv::ExtractionPlan &plan)
{
    qv::SheetMeasures measures;
    measures.layout = layout;
    measures.scale = 1.5; // of PNG sheets
    measures.borderSize = 0;
    measures.pictures = plan.count;
    measures.stillWidth = plan.size.width;
    measures.stillHeight = plan.size.height;
    return qv::sheetGeometry(measures);
}

} // namespace

Walk::Walk(const QStringList &themes) : m_problems(makeCorpus())
{
    std::vector<Run> runs;
    std::vector<QHash<QByteArray, QJsonObject> *> results;
    for (const bool quick : {false, true}) {
        Told &told = quick ? m_quick : m_exact;
        for (const QString &theme : themes) {
            runs.push_back({sheetArguments(theme, quick), {}, {}});
            results.push_back(&told.sheets);
            runs.push_back({infoArguments(theme, quick), {}, {}});
            results.push_back(&told.records);
        }
    }
    executeAll(runs);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        addTo(*results[i], runs[i].output);
        if (!runs[i].problem.isEmpty()) {
            m_problems.append(runs[i].problem);
        }
    }
}

Seen Walk::of(const Source &source) const
{
    return seenIn(m_exact, source);
}

Seen Walk::quickOf(const Source &source) const
{
    return seenIn(m_quick, source);
}

Seen Walk::seenIn(const Told &told, const Source &source)
{
    const QByteArray name = shownName(source.name);
    const QJsonObject sheet = told.sheets.value(name);
    Seen seen;
    seen.isTold = told.sheets.contains(name);
    seen.status = sheet.value(QStringLiteral("status")).toString();
    seen.reason = sheet.value(QStringLiteral("reason")).toString();
    seen.sheet = sheet.value(QStringLiteral("sheet")).toString();
    seen.drawn = sheet.value(QStringLiteral("pictures"))[QStringLiteral("drawn")].toInt();
    seen.road = sheet.value(QStringLiteral("road")).toString();
    const QJsonArray instants = sheet.value(QStringLiteral("instants")).toArray();
    for (const QJsonValue &instant : instants) {
        seen.instants.push_back(instant.toDouble());
    }
    seen.record =
        told.records.value(name).value(QStringLiteral("record")).toObject().toVariantMap();
    return seen;
}

// The grid is that of the plan that the command made from the same record.
std::vector<SeenCell> cellsOf(const Seen &seen, double tick)
{
    QVariantMap input = seen.record;
    input.insert(QStringLiteral("thNumberInt"), pictures);
    const qv::ExtractionPlan plan = qv::planExtraction(static_cast<int>(layout), input);
    const qv::SheetGeometry geometry = geometryOf(plan);
    const QImage sheet(seen.sheet);
    std::vector<SeenCell> cells;
    for (std::size_t i = 0; i < std::min(plan.pictures.size(), seen.instants.size()); ++i) {
        cells.push_back({seen.instants.at(i), readClock(sheet, geometry.cells[i], tick)});
    }
    return cells;
}
