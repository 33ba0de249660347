#include "media/corpus.h"

#include "media/clock.h"
#include "media/parallel.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QLockFile>
#include <QProcess>
#include <QSet>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>

namespace
{

namespace fs = std::filesystem;

constexpr int patience = 120000; // milliseconds

const QString root = QStringLiteral(QV_MEDIA_CORPUS);
const QString ffmpeg = QStringLiteral(QV_FFMPEG);

// Names are bytes here: not all of them are texts.
fs::path pathOf(const QByteArray &name)
{
    return fs::path((corpusFolder() + '/' + name).toStdString());
}

QByteArray contentsOf(const fs::path &path)
{
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return QByteArray::fromStdString(bytes);
}

bool write(const fs::path &path, const QByteArray &contents)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(contents.constData(), contents.size());
    return file.good();
}

bool hasRecipe(const Source &source)
{
    return source.recipe[0] != '\0';
}

// ---- one source

// Runs ffmpeg; gives what went wrong.
QString run(const Source &source, const QString &output)
{
    QStringList arguments{"-nostdin", "-v", "error", "-y"};
    arguments += recipeArguments(source);
    QProcess process;
    if (source.pipe) {
        process.setStandardOutputFile(output);
        arguments.append("pipe:1");
    } else {
        arguments.append(output);
    }
    process.start(ffmpeg, arguments);
    const bool ended = process.waitForFinished(patience);
    if (ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return {};
    }
    return QStringLiteral("ffmpeg %1: %2")
        .arg(arguments.join(u' '), QString::fromUtf8(process.readAllStandardError()));
}

// Its own bytes before the change: from ffmpeg, another source, or none.
QString makeUnchanged(const Source &source, const fs::path &part)
{
    if (hasRecipe(source)) {
        return run(source, QString::fromStdString(part.string()));
    }
    const bool written = write(part, *source.from ? contentsOf(pathOf(source.from)) : QByteArray());
    return written ? QString() : "can't be written";
}

// Under a plain name first, with the extension that ffmpeg chooses the container by.
QString make(const Source &source, std::size_t number)
{
    const fs::path target = pathOf(source.name);
    std::error_code error;
    fs::create_directories(target.parent_path(), error);
    const fs::path part = pathOf("part-" + QByteArray::number(static_cast<qulonglong>(number)) +
                                 QByteArray::fromStdString(target.extension().string()));
    const QString problem = makeUnchanged(source, part);
    if (!problem.isEmpty()) {
        return problem;
    }
    if (source.change.apply && !write(part, source.change.apply(contentsOf(part)))) {
        return "can't be changed";
    }
    fs::rename(part, target, error);
    return QString::fromStdString(error ? error.message() : std::string());
}

// ---- all of them

QStringList makeRound(const std::vector<std::size_t> &numbers)
{
    std::mutex mutex;
    QStringList problems;
    forEachInParallel(numbers.size(), [&](std::size_t i) {
        const Source &source = allSources()[numbers[i]];
        const QString problem = make(source, numbers[i]);
        const std::lock_guard lock(mutex);
        if (!problem.isEmpty()) {
            problems.append(QString::fromUtf8(titleOf(source)) + ": " + problem);
        }
    });
    return problems;
}

// In rounds: those whose origin is made already.
QStringList makeAll()
{
    const Sources &sources = allSources();
    QSet<QByteArray> made;
    QStringList problems;
    while (static_cast<std::size_t>(made.size()) < sources.size()) {
        std::vector<std::size_t> round;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const bool isReady = !*sources[i].from || made.contains(sources[i].from);
            if (isReady && !made.contains(sources[i].name)) {
                round.push_back(i);
            }
        }
        if (round.empty()) {
            return problems << "some come from a source that isn't in the table, "
                               "or two have one name";
        }
        for (const std::size_t i : round) {
            made.insert(sources[i].name);
        }
        problems += makeRound(round);
    }
    return problems;
}

// What the files depend on.
QByteArray fingerprint()
{
    QProcess process;
    process.start(ffmpeg, {"-version"});
    process.waitForFinished(patience);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(process.readLine());
    for (const Source &source : allSources()) {
        hash.addData(source.name + '\n' + recipeArguments(source).join(u'\n').toUtf8() + '\n' +
                     source.from + (source.pipe ? "\npipe\n" : "\n") + source.change.says + '\n');
    }
    return hash.result().toHex();
}

} // namespace

QStringList recipeArguments(const Source &source)
{
    const QString input = "-i";
    const QString from = root + "/sources/" + QString::fromUtf8(source.from);
    const QStringList lavfi{"-f", "lavfi", input};
    const QString tone = QStringLiteral("sine=f=330:r=48000:d=%1").arg(source.picture.seconds);
    const QString x264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p -g 25";
    QStringList arguments;
    for (QString &word : QString::fromUtf8(source.recipe).split(u' ', Qt::SkipEmptyParts)) {
        if (word == QLatin1String("$clock")) {
            arguments << lavfi << clockFilters(source.picture);
        } else if (word == QLatin1String("$sound")) {
            arguments << lavfi << tone;
        } else if (word == QLatin1String("$from")) {
            arguments << input << from;
        } else if (word == QLatin1String("$x264")) {
            arguments << x264.split(u' ');
        } else {
            arguments << word.replace(QLatin1String("{from}"), from);
        }
    }
    return arguments;
}

QByteArray corpusFolder()
{
    return QFile::encodeName(root) + "/sources";
}

QStringList makeCorpus()
{
    QDir().mkpath(root);
    QLockFile lock(root + "/lock");
    lock.setStaleLockTime(0); // whoever is dead holds it no longer, however young the lock is
    lock.lock();
    const fs::path stamp = (root + "/made").toStdString();
    const QByteArray wanted = fingerprint();
    if (contentsOf(stamp) == wanted) {
        return {};
    }
    std::error_code error;
    fs::remove(stamp, error);
    fs::remove_all(fs::path(corpusFolder().toStdString()), error);
    fs::create_directories(fs::path(corpusFolder().toStdString()), error);
    const QStringList problems = makeAll();
    if (problems.isEmpty()) {
        write(stamp, wanted);
    }
    return problems;
}
