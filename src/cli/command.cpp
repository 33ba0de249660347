#include "cli/command.h"

#include "cli/exit_status.h"
#include "cli/headless_session.h"
#include "cli/record_commands.h"
#include "cli/sheet_command.h"
#include "cli/source_list.h"
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

int runOnSources(const Options &options, const DecodedArguments &arguments, const Streams &streams)
{
    const auto session = HeadlessSession::start(options);
    if (!session) {
        streams.message(session.error());
        return CannotWork;
    }
    const QList<Source> sources =
        listSources(options.sources, arguments.raw, (*session)->controller().admittedExtensions());
    switch (options.command) {
    case Command::Info:
        return runInfoCommand(**session, options, streams, sources);
    case Command::Plan:
        return runPlanCommand(**session, options, streams, sources);
    default:
        return runSheetCommand(**session, options, streams, sources);
    }
}

} // namespace

bool needsFonts(const QByteArrayList &arguments)
{
    return arguments.value(0) == "sheet";
}

QByteArray versionLine()
{
    return "quorvantel-cli " + Bundle::main().version().toUtf8() + '\n';
}

int runCommand(const QByteArrayList &arguments, const Streams &streams)
{
    const DecodedArguments decoded = decode(arguments);
    const auto options = parseOptions(decoded.texts);
    if (!options) {
        streams.message(QStringLiteral("quorvantel-cli: ") + options.error());
        return WrongUsage;
    }
    for (const QString &written : {options->output, options->logFile}) {
        if (isForeign(written, decoded)) {
            streams.message(QStringLiteral("quorvantel-cli: the name '%1' of what is to be written "
                                           "is not valid UTF-8\nTry 'quorvantel-cli %2 --help'.")
                                .arg(printable(written), decoded.texts.first()));
            return WrongUsage;
        }
    }
    switch (options->command) {
    case Command::Help:
        streams.out(options->helpText.toUtf8());
        return AllDone;
    case Command::Version:
        streams.out(versionLine());
        return AllDone;
    default:
        return runOnSources(*options, decoded, streams);
    }
}

} // namespace qv
