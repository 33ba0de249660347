#include "controller/startup.h"

#include "analysis/ffmpeg_probes.h"
#include "controller/store_keys.h"
#include "process/tool_confinement.h"
#include "process/tool_environment.h"
#include "sheet/stills_folder.h"
#include "support/files.h"
#include "support/localized_strings.h"
#include "support/log.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QSysInfo>

namespace qv
{
namespace
{

constexpr qsizetype longestVersionLine = 200;

QString processorFamily(const QString &architecture)
{
    return architecture.startsWith(QLatin1String("arm")) ? QStringLiteral("ARM")
                                                         : QStringLiteral("Intel");
}

QString infoText(const Bundle &bundle, const QString &key)
{
    const QVariant value = bundle.infoValue(key);
    return value.isValid() ? value.toString() : QStringLiteral("nil");
}

} // namespace

std::optional<Refusal> refuseProcessor(const platform::Processor &processor)
{
    const bool intel = processor.architecture == QLatin1String("x86_64") && processor.hasSse2;
    const bool arm = processor.architecture == QLatin1String("arm64");
    if (processor.wordBits == 64 && (intel || arm)) {
        return std::nullopt;
    }
    return Refusal{localized(QStringLiteral("DL_loi_2")), localized(QStringLiteral("D_check_CPU"))};
}

std::optional<Refusal> refuseInstance(int runningCopies)
{
    if (runningCopies < 2) {
        logLine(QStringLiteral("only one opened app :-)"));
        return std::nullopt;
    }
    logLine(QStringLiteral("APP number of copy  :-( %1").arg(runningCopies));
    return Refusal{localized(QStringLiteral("D_appAlreadyOpened_2")),
                   localized(QStringLiteral("D_appAlreadyOpened_1")).arg(Bundle::main().name())};
}

std::optional<Refusal> refusePath(const QString &resourcePath)
{
    if (!resourcePath.contains(QLatin1Char('\\'))) {
        logLine(QStringLiteral("no backslash in path:-)"));
        return std::nullopt;
    }
    logLine(QStringLiteral("KVS's path contains character '\\' :-( %1").arg(resourcePath));
    return Refusal{localized(QStringLiteral("D_KVpref_ouvert_2")),
                   localized(QStringLiteral("D_appAlreadyOpened_3"))};
}

tl::expected<std::unique_ptr<ScratchFolder>, QString> makeTemporaryFolder(const Bundle &bundle)
{
    const QString usual = appendPath(temporaryRoot(), bundle.name());
    std::unique_ptr<ScratchFolder> folder = ScratchFolder::take(usual);
    if (!folder) {
        logLine(QStringLiteral("TMPFOLDER           :-( %1").arg(usual));
        folder = ScratchFolder::create(bundle.name() + QStringLiteral("-private-"));
    }
    if (!folder) {
        return tl::make_unexpected(
            localized(QStringLiteral("startNoTemporaryFolder")).arg(temporaryRoot()));
    }
    adoptTemporaryFolder(folder->path(), bundle);
    return folder;
}

void clearLeftStills(const PreferencesStore &preferences)
{
    const QString folder =
        preferences.prefReadChildDico(keys::work, QStringLiteral("dstPathStr")).toString();
    const QString mark =
        preferences.prefReadChildDico(keys::work, QStringLiteral("stillsMark")).toString();
    if (purgeStillsFolder(folder, mark)) {
        logLine(QStringLiteral("left stills         : %1").arg(folder));
    }
}

void logEnvironment(const Bundle &bundle)
{
    const platform::Processor processor = platform::processor();
    logLine(QStringLiteral("arch                ? ") + processorFamily(processor.architecture));
    logLine(QStringLiteral("processors          : %1 (%2)")
                .arg(QString::number(processor.cores), processor.architecture));
    logLine(
        QStringLiteral("system              : %1 (%2 %3)")
            .arg(QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion()));
    logLine(QStringLiteral("Qt                  : %1").arg(QLatin1String(qVersion())));
    logLine(
        QStringLiteral("graphics            : raster (%1)").arg(QGuiApplication::platformName()));
    logLine(QStringLiteral("app                 : %1 - %2 (%3)")
                .arg(bundle.name(), bundle.version(),
                     infoText(bundle, QStringLiteral("CFBundleVersion"))));
    logConfinement();
}

void makeMovieFolder()
{
    const QString folder = expandTilde(QStringLiteral("~/Library/QuickTime"));
    mkdir(folder);
    logLine(QStringLiteral("QT's user folder    ? %1").arg(QFileInfo(folder).isDir() ? 1 : 0));
}

FfmpegQuery::FfmpegQuery(QObject *parent) : QObject(parent) {}

void FfmpegQuery::start()
{
    m_query.ask({ffmpegPath(), QStringLiteral("-version")}, [this](const QByteArray &printed) {
        const QString text = QString::fromUtf8(printed);
        m_line = text.section(QLatin1Char('\n'), 0, 0).trimmed().left(longestVersionLine);
        m_revision = ffRevisionFromText(text);
        logLine(QStringLiteral("ffmpeg              : ") + m_line);
        Q_EMIT answered();
    });
}

QStringList DecoderQuery::codes()
{
    return {QStringLiteral("WMV "), QStringLiteral("VP60"), QStringLiteral("ICOD"),
            QStringLiteral("APCH"), QStringLiteral("M2V "), QStringLiteral("MTS ")};
}

DecoderQuery::DecoderQuery(MovieTool &movies, QObject *parent) : QObject(parent), m_movies(movies)
{
    m_movies.setDecoders({});
}

void DecoderQuery::start()
{
    m_query.ask({Bundle::main().toolPath(QStringLiteral("qtThumbs")), QStringLiteral("-decoders")},
                [this](const QByteArray &printed) { take(printed); });
}

void DecoderQuery::take(const QByteArray &printed)
{
    m_decoders = parseDecoders(printed);
    m_movies.setDecoders(m_decoders);
    logLine(QStringLiteral("movie framework     : ") + parseFrameworkVersion(printed));
    const struct {
        const char *label = nullptr;
        QLatin1String code;
    } shown[] = {{"qt aic              :-", QLatin1String("ICOD")},
                 {"qt mts              :-", QLatin1String("MTS ")},
                 {"qt prores dec       :-", QLatin1String("APCH")}};
    for (const auto &[label, code] : shown) {
        logLine(QLatin1String(label) + QLatin1Char(m_decoders.value(code) ? ')' : '('));
    }
    Q_EMIT answered();
}

QList<bool> DecoderQuery::flags() const
{
    QList<bool> flags;
    for (const QString &code : codes()) {
        flags.append(m_decoders.value(code));
    }
    return flags;
}

} // namespace qv
