#include "cli/command.h"

#include "cli/exit_status.h"
#include "cli/headless_session.h"
#include "cli/name_list.h"
#include "cli/read_command.h"
#include "cli/record_commands.h"
#include "cli/sheet_command.h"
#include "cli/source_list.h"
#include "cli/worker.h"
#include "process/tool_confinement.h"
#include "support/bundle.h"

#include <QStringDecoder>

#include <algorithm>

namespace qv
{
namespace
{

// The arguments as text, and the bytes of those that the text does not tell. Several may read
// alike: each bad byte shows as the same replacement character, which a good name may hold, too.
struct DecodedArguments {
    QStringList texts;
    QHash<QString, QByteArrayList> raw;
};

DecodedArguments decode(const QByteArrayList &arguments)
{
    DecodedArguments decoded;
    for (const QByteArray &argument : arguments) {
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8.decode(argument);
        if (utf8.hasError() || text.contains(QChar::ReplacementCharacter)) {
            decoded.raw[text].append(argument);
        }
        decoded.texts.append(text);
    }
    return decoded;
}

// Folders are made and named as texts, so a name that is none would become another one's.
bool isForeign(const QString &value, const DecodedArguments &arguments)
{
    if (!value.contains(QChar::ReplacementCharacter)) {
        return false;
    }
    return std::any_of(arguments.raw.keyValueBegin(), arguments.raw.keyValueEnd(),
                       [&](const auto &entry) {
                           return entry.first.endsWith(value) &&
                                  entry.second != QByteArrayList{entry.first.toUtf8()};
                       });
}

// The sources as the system named them.
QByteArrayList bytesOf(const QStringList &sources, const DecodedArguments &arguments)
{
    QHash<QString, QByteArrayList> raw = arguments.raw;
    QByteArrayList names;
    for (const QString &source : sources) {
        const auto found = raw.find(source);
        names.append(found == raw.end() || found->isEmpty() ? source.toUtf8() : found->takeFirst());
    }
    return names;
}

// The sources of the command line, then those of the lists that it names.
tl::expected<QByteArrayList, QString>
namedSources(const Options &options, const DecodedArguments &arguments, const Streams &streams)
{
    QByteArrayList names = bytesOf(options.sources, arguments);
    for (const QString &list : options.from) {
        const bool isInput = list == QLatin1String("-");
        const auto listed = isInput ? readNames(streams.input) : readNamesOf(list);
        if (!listed) {
            return tl::make_unexpected(
                QStringLiteral("%1 is no list of sources: %2")
                    .arg(isInput ? QStringLiteral("standard input") : list, listed.error()));
        }
        names += *listed;
    }
    return names;
}

int wrongUsage(const Streams &streams, const QString &reason, const QString &command)
{
    streams.message(QStringLiteral("quorvantel-cli: %1").arg(reason));
    streams.message(QStringLiteral("Try 'quorvantel-cli %1 --help'.").arg(command));
    return WrongUsage;
}

void tellTroubles(const HeadlessSession &session, const Streams &streams)
{
    for (const QString &trouble : session.settingsTroubles()) {
        streams.message(trouble);
    }
    if (const QString gap = confinementGap(); !gap.isNull()) {
        streams.message(QStringLiteral("warning: ") + gap);
    }
}

// A number of pictures that the command line asks for, where it fills no whole rows.
void tellRounding(const Options &options, const Streams &streams)
{
    const int count = options.count ? wholeRowsCount(options.layout, *options.count) : 0;
    if (options.count && count != *options.count) {
        streams.message(QStringLiteral("%1 pictures instead of %2: the %3 layout has %4 columns")
                            .arg(QString::number(count), QString::number(*options.count),
                                 layoutName(options.layout),
                                 QString::number(columnsOf(options.layout))));
    }
}

int runWithSession(HeadlessSession &session, const Options &options, const Streams &streams,
                   const QByteArrayList &names)
{
    const QList<Source> sources = listSources(names, session.controller().admittedExtensions(),
                                              [&] { return session.isStopped(); });
    switch (options.command) {
    case Command::Info:
        return runInfoCommand(session, options, streams, sources);
    case Command::Plan:
        return runPlanCommand(session, options, streams, sources);
    default:
        return runSheetCommand(session, options, streams, sources);
    }
}

int runOnSources(const Options &options, const DecodedArguments &arguments, const Streams &streams)
{
    const auto names = namedSources(options, arguments, streams);
    if (!names) {
        return wrongUsage(streams, names.error(), arguments.texts.first());
    }
    if (options.command == Command::Read) {
        return runReadCommand(options, streams, *names);
    }
    const auto session = HeadlessSession::start(options);
    if (!session) {
        streams.message(session.error());
        return CannotWork;
    }
    if (!options.quiet) {
        tellTroubles(**session, streams);
        tellRounding(options, streams);
    }
    const int status = runWithSession(**session, options, streams, *names);
    if ((*session)->isLogIncomplete()) {
        streams.message(QStringLiteral("the log file %1 is incomplete: not everything could be "
                                       "written to it")
                            .arg(options.logFile));
    }
    return status;
}

int runArguments(const QByteArrayList &arguments, const Streams &streams)
{
    const DecodedArguments decoded = decode(arguments);
    const auto options = parseOptions(decoded.texts);
    if (!options) {
        streams.messageLines(QStringLiteral("quorvantel-cli: ") + options.error());
        return WrongUsage;
    }
    for (const QString &file : QStringList{options->output, options->logFile} + options->from) {
        if (isForeign(file, decoded)) {
            return wrongUsage(
                streams, QStringLiteral("an option names '%1', which is not valid UTF-8").arg(file),
                decoded.texts.first());
        }
    }
    switch (options->command) {
    case Command::Help:
        streams.out(options->helpText.toUtf8());
        return AllDone;
    case Command::Version:
        streams.out(versionLine());
        return AllDone;
    case Command::Worker:
        return runWorker(*options, streams);
    default:
        return runOnSources(*options, decoded, streams);
    }
}

} // namespace

bool needsFonts(const QByteArrayList &arguments)
{
    return arguments.value(0) == "sheet" || isWorker(arguments);
}

bool isWorker(const QByteArrayList &arguments)
{
    return arguments.value(0) == "worker";
}

QByteArray versionLine()
{
    return "quorvantel-cli " + Bundle::main().version().toUtf8() + '\n';
}

int runCommand(const QByteArrayList &arguments, const Streams &streams)
{
    const int status = runArguments(arguments, streams);
    const int error = streams.outError ? streams.outError() : 0;
    if (error == 0) {
        return status;
    }
    streams.message(QStringLiteral("not all results could be written to standard output: ") +
                    qt_error_string(error));
    return status < SignalBase ? int{CannotWork} : status;
}

} // namespace qv
