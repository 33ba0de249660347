#include "media/walk.h"

#include "media/corpus.h"
#include "media/parallel.h"
#include "sheet/extraction_plan.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

namespace
{

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
    const QString options = "--json --format png -l medium --no-timecode --caption none "
                            "--border-size 0 -n %1 %2 -o";
    return QStringList{"sheet"} +
           options.arg(QString::number(pictures), quick ? "--quick" : "--keep").split(u' ') +
           QStringList{sheetsFolder() + (quick ? "/quick " : "/exact ") + theme,
                       QFile::decodeName(corpusFolder()) + u'/' + theme};
}

// The program in a bundle that lacks the quick tool, so that ffmpeg describes every source.
QString programWithoutQuickTool()
{
    const QFileInfo program(QStringLiteral(QV_CLI_PROGRAM));
    const QString contents = program.dir().absoluteFilePath(QStringLiteral(".."));
    const QString bundle = sheetsFolder() + QStringLiteral("/Plain.app/Contents/");
    QDir().mkpath(bundle + QStringLiteral("MacOS"));
    QDir().mkpath(bundle + QStringLiteral("Resources/tools"));
    const QString copy = bundle + QStringLiteral("MacOS/") + program.fileName();
    QFile::copy(program.filePath(), copy);
    for (const QString &folder :
         {QString(), QStringLiteral("Resources/"), QStringLiteral("Resources/tools/")}) {
        const QDir from(contents + u'/' + folder);
        for (const QString &name : from.entryList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
            if (!name.startsWith(QStringLiteral("quickThumbs"))) {
                QFile::link(from.absoluteFilePath(name), bundle + folder + name);
            }
        }
    }
    return copy;
}

QStringList infoArguments(const QString &theme, bool quick)
{
    const QStringList options = quick ? QStringList{"--quick"} : QStringList();
    return QStringList{"info"} + options +
           QStringList{"--json", QFile::decodeName(corpusFolder()) + u'/' + theme};
}

struct Run {
    QString program;
    QStringList arguments;
    QByteArray output;
    QString problem;
};

void execute(Run &run)
{
    QProcess process;
    process.start(run.program, run.arguments);
    const bool ended = process.waitForFinished(patience);
    run.output = process.readAllStandardOutput();
    // 1: some source was skipped or failed.
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() > 1) {
        run.problem = QStringLiteral("%1: %2").arg(
            run.arguments.join(u' '), QString::fromUtf8(process.readAllStandardError()));
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
        QString source = object.value("source").toString();
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
    const QString program = QStringLiteral(QV_CLI_PROGRAM);
    const QString plain = programWithoutQuickTool();
    std::vector<Run> runs;
    std::vector<QHash<QByteArray, QJsonObject> *> results;
    for (const bool quick : {false, true}) {
        Told &told = quick ? m_quick : m_exact;
        for (const QString &theme : themes) {
            runs.push_back({program, sheetArguments(theme, quick), {}, {}});
            results.push_back(&told.sheets);
            runs.push_back({quick ? program : plain, infoArguments(theme, quick), {}, {}});
            results.push_back(&told.records);
        }
    }
    forEachInParallel(runs.size(), [&](std::size_t i) { execute(runs[i]); });
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
    seen.status = sheet.value("status").toString();
    seen.reason = sheet.value("reason").toString();
    seen.sheet = sheet.value("sheet").toString();
    seen.drawn = sheet.value("pictures")["drawn"].toInt();
    seen.hasWrongColours = sheet.value("wrong_colors").toBool();
    seen.road = sheet.value("road").toString();
    const QJsonArray instants = sheet.value("instants").toArray();
    for (const QJsonValue &instant : instants) {
        seen.instants.push_back(instant.toDouble());
    }
    const QJsonObject info = told.records.value(name);
    seen.record = info.value("record").toObject().toVariantMap();
    seen.damage = info.value("damaged").toString();
    seen.duration = info.value("duration").toDouble();
    return seen;
}

// The grid is that of the plan that the command made from the same record.
std::vector<SeenCell> cellsOf(const Seen &seen, double tick)
{
    QVariantMap input = seen.record;
    input.insert("thNumberInt", pictures);
    const qv::ExtractionPlan plan = qv::planExtraction(static_cast<int>(layout), input);
    const qv::SheetGeometry geometry = geometryOf(plan);
    const QImage sheet(seen.sheet);
    std::vector<SeenCell> cells;
    for (std::size_t i = 0; i < std::min(plan.pictures.size(), seen.instants.size()); ++i) {
        const auto picture = qv::pictureInCell(geometry, geometry.cells[i]);
        cells.push_back(
            {seen.instants.at(i), readClock(sheet, picture, tick), readColours(sheet, picture)});
    }
    return cells;
}
