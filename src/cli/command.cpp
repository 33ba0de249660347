#include "cli/command.h"

#include "cli/exit_status.h"
#include "cli/headless_session.h"
#include "cli/record_commands.h"
#include "cli/sheet_command.h"
#include "cli/source_list.h"
#include "support/bundle.h"

#include <QStringDecoder>

namespace qv
{
namespace
{

// The arguments as text, and the bytes of those that are no UTF-8.
struct DecodedArguments {
    QStringList texts;
    QHash<QString, QByteArray> raw;
};

DecodedArguments decode(const QByteArrayList &arguments)
{
    DecodedArguments decoded;
    for (const QByteArray &argument : arguments) {
        QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
        const QString text = utf8.decode(argument);
        if (utf8.hasError()) {
            decoded.raw.insert(text, argument);
        }
        decoded.texts.append(text);
    }
    return decoded;
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
