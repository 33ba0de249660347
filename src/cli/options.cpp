#include "cli/options.h"

#include "cli/option_values.h"
#include "cli/streams.h"
#include "settings/preferences_store.h"

#include <QCommandLineParser>
#include <QHash>
#include <QThread>

#include <algorithm>

namespace qv
{
namespace
{

tl::unexpected<QString> wrong(const QString &text)
{
    return tl::make_unexpected(text);
}

int processors()
{
    return std::clamp(QThread::idealThreadCount(), 1, jobsLimit);
}

// The options of one command, declared and read.
class CommandParser
{
public:
    explicit CommandParser(Command command) : m_command(command) { declare(); }

    Parsed<Options> parse(const QStringList &arguments)
    {
        QStringList withProgram{QStringLiteral("quorvantel-cli")};
        withProgram += arguments;
        if (!m_parser.parse(withProgram)) {
            return wrong(m_parser.errorText());
        }
        Options options;
        options.command = m_command;
        if (m_parser.isSet(QStringLiteral("help"))) {
            options.command = Command::Help;
            options.helpText = m_parser.helpText();
            return options;
        }
        return read(options);
    }

private:
    void add(const QStringList &names, const char *description, const char *value = nullptr)
    {
        QCommandLineOption option(names, QString::fromUtf8(description));
        m_names.append(names);
        if (value != nullptr) {
            option.setValueName(QLatin1String(value));
            m_valued.insert(names.last());
        }
        m_parser.addOption(option);
    }

    bool makesSheets() const { return m_command == Command::Sheet || m_command == Command::Worker; }

    void declare()
    {
        add({QStringLiteral("h"), QStringLiteral("help")}, "Shows this help.");
        m_parser.setApplicationDescription(QLatin1String(description()));
        if (makesSheets()) {
            declareSheetOptions();
        }
        if (m_command == Command::Read) {
            declareReadOptions();
            return;
        }
        if (m_command != Command::Info) {
            declarePlanOptions();
        }
        if (!makesSheets()) {
            add({QStringLiteral("quick")},
                "Asks the quick tool first, and ffmpeg when it is not sure.");
        }
        add({QStringLiteral("strict")},
            "Refuses damaged files, even if their pictures can be decoded. Default: the "
            "preference.");
        declareList();
        declareJson();
        declareToolOptions();
        m_parser.addPositionalArgument(QStringLiteral("SOURCE"),
                                       QStringLiteral("A video file or a folder."),
                                       QStringLiteral("SOURCE..."));
    }

    const char *description() const
    {
        switch (m_command) {
        case Command::Info:
            return "Shows what is known about each video file.";
        case Command::Plan:
            return "Shows which pictures a sheet would take, and how, without taking them.";
        case Command::Read:
            return "Shows what each sheet tells of itself: source, settings, instants.";
        default:
            return "Makes an index sheet of each video file, named or found in a named folder.\n"
                   "The sheets' paths go to standard output, one a line.";
        }
    }

    void declarePlanOptions()
    {
        add({QStringLiteral("l"), QStringLiteral("layout")},
            "big (2 columns), medium (3), minimum (6) or mixed (6 and a large picture). "
            "Default: medium.",
            "LAYOUT");
        add({QStringLiteral("n"), QStringLiteral("count")},
            "Number of pictures, rounded down to whole rows. Default: the layout's setting.", "N");
    }

    void declareToolOptions()
    {
        add({QStringLiteral("log")}, "Appends trace lines to FILE.", "FILE");
        add({QStringLiteral("verbose")}, "Traces in detail (to standard error without --log).");
        declareQuiet();
        add({QStringLiteral("hang-timeout")},
            "Ends a tool that has neither printed nor computed for so long. Default: 60.",
            "SECONDS");
        add({QStringLiteral("no-confinement")},
            "Lets the tools read and write anywhere and use the network. Default: they may not, "
            "where the system can see to it.");
    }

    void declareList()
    {
        add({QStringLiteral("from")},
            "Takes the files that FILE lists, too; - is standard input. One name a line, or each "
            "ended by a NUL byte. May be given several times.",
            "FILE");
    }

    void declareJson()
    {
        add({QStringLiteral("json")}, "Results as JSON, one object a line and file.");
    }

    void declareQuiet() { add({QStringLiteral("quiet")}, "Only errors on standard error."); }

    void declareReadOptions()
    {
        declareList();
        declareJson();
        declareQuiet();
        m_parser.addPositionalArgument(QStringLiteral("SHEET"),
                                       QStringLiteral("A JPEG or PNG file."),
                                       QStringLiteral("SHEET..."));
    }

    void declareSheetOptions()
    {
        add({QStringLiteral("o"), QStringLiteral("output")},
            "Folder that the sheets go straight into, made when missing. Default: the folder "
            "Quorvantel in the destination of the preferences.",
            "DIR");
        add({QStringLiteral("f"), QStringLiteral("format")},
            "jpg (960 pixels wide) or png (1920). Default: the preference.", "FORMAT");
        add({QStringLiteral("keep")}, "Keeps a source's sheet that is there already (default).");
        add({QStringLiteral("replace")}, "Replaces a source's sheet that is there already.");
        add({QStringLiteral("update")},
            "Replaces a source's sheet that is there already when the source or the settings have "
            "changed since.");
        add({QStringLiteral("no-paths")}, "Sheets don't carry in which folder their sources are.");
        add({QStringLiteral("print0")},
            "Ends each sheet's path on standard output with a NUL byte, for xargs -0.");
        add({QStringLiteral("jobs")},
            "Works on N sources at a time. Default: as many as there are processors.", "N");
        add({QStringLiteral("shard")},
            "Takes the K-th of N parts of the sources only, the same on every machine.", "K/N");
        add({QStringLiteral("quick")},
            "Takes the key picture nearest to each instant, which is much faster. The stamps say "
            "when the pictures really are.");
        add({QStringLiteral("no-timecode")}, "No time codes on the pictures.");
        add({QStringLiteral("caption")},
            "Captions shown, joined by commas: name, location, date, duration, picture, size, "
            "contents, timecode; or none. Default: the preferences.",
            "LIST");
        add({QStringLiteral("background")}, "Colour of the sheet: a name, #rrggbb, or r,g,b,a.",
            "COLOR");
        add({QStringLiteral("border-color")}, "Colour of the pictures' borders.", "COLOR");
        add({QStringLiteral("border-size")}, "Thickness of the borders in points, at most 10.",
            "SIZE");
    }

    bool isSet(const char *name) const { return m_parser.isSet(QLatin1String(name)); }
    QString value(const char *name) const { return m_parser.value(QLatin1String(name)); }

    // Stores what `parse` makes of an option that is given; false when it makes nothing of it.
    template <typename Target, typename Parse>
    bool take(const char *name, Target &target, Parse reader)
    {
        if (!isSet(name)) {
            return true;
        }
        auto parsed = reader(value(name));
        if (!parsed) {
            m_error = parsed.error();
            return false;
        }
        target = *parsed;
        return true;
    }

    Parsed<Options> read(Options options)
    {
        options.json = isSet("json");
        options.quiet = isSet("quiet");
        options.sources = m_parser.positionalArguments();
        if (m_command == Command::Read) {
            return withSources(options);
        }
        options.verbose = isSet("verbose");
        options.noConfinement = isSet("no-confinement");
        options.logFile = value("log");
        if (!take("hang-timeout", options.hangTimeout,
                  [](const QString &text) { return parseNumber(text, "time-out", 0.1, 1e6); })) {
            return wrong(m_error);
        }
        options.quick = isSet("quick");
        options.strict = isSet("strict");
        if (m_command != Command::Info && !readPlanOptions(options)) {
            return wrong(m_error);
        }
        if (makesSheets() && !readSheetOptions(options)) {
            return wrong(m_error);
        }
        if (m_command == Command::Worker) {
            return options;
        }
        return withSources(options);
    }

    Parsed<Options> withSources(Options options)
    {
        options.from = m_parser.values(QStringLiteral("from"));
        if (options.sources.isEmpty() && options.from.isEmpty()) {
            return wrong(m_command == Command::Read ? QStringLiteral("no sheet is named")
                                                    : QStringLiteral("no source is named"));
        }
        return options;
    }

    bool readPlanOptions(Options &options)
    {
        return take("layout", options.layout, parseLayout) &&
               take("count", options.count,
                    [&](const QString &text) { return parseCount(text, options.layout); });
    }

    // Everything that is said of the sheets themselves, and of the log.
    QStringList sheetArguments() const
    {
        static const QSet<QString> ofTheList{QStringLiteral("jobs"),  QStringLiteral("from"),
                                             QStringLiteral("shard"), QStringLiteral("json"),
                                             QStringLiteral("quiet"), QStringLiteral("print0")};
        QStringList arguments;
        for (const QStringList &names : m_names) {
            const QString &name = names.last();
            if (ofTheList.contains(name) || !m_parser.isSet(name)) {
                continue;
            }
            arguments << (m_valued.contains(name)
                              ? QStringLiteral("--%1=%2").arg(name, m_parser.value(name))
                              : QStringLiteral("--") + name);
        }
        return arguments;
    }

    // Null when the options agree.
    QString contradiction(const Options &options) const
    {
        if (int{isSet("keep")} + int{options.replace} + int{options.update} > 1) {
            return QStringLiteral("--keep, --replace and --update exclude each other");
        }
        if (options.json && options.print0) {
            return QStringLiteral("--json and --print0 exclude each other");
        }
        if (isSet("output") && options.output.isEmpty()) {
            return QStringLiteral("the output folder has no name");
        }
        if (options.output == QLatin1String("-")) {
            return QStringLiteral("sheets can't go to standard output; -o names a folder (./- for "
                                  "one that is named -)");
        }
        return {};
    }

    bool readSheetOptions(Options &options)
    {
        options.jobs = processors();
        options.sheetArguments = sheetArguments();
        options.output = value("output");
        options.replace = isSet("replace");
        options.update = isSet("update");
        options.noPaths = isSet("no-paths");
        options.noTimecode = isSet("no-timecode");
        options.print0 = isSet("print0");
        m_error = contradiction(options);
        if (!m_error.isNull()) {
            return false;
        }
        return take("jobs", options.jobs, parseJobs) && take("shard", options.shard, parseShard) &&
               take("format", options.pictureChoice, parseFormat) &&
               take("caption", options.captions, parseCaptions) &&
               take("background", options.background, parseColor) &&
               take("border-color", options.borderColor, parseColor) &&
               take("border-size", options.borderSize, [](const QString &text) {
                   return parseNumber(text, "border size", 0, largestBorderSize);
               });
    }

    Command m_command;
    QCommandLineParser m_parser;
    QList<QStringList> m_names; // of the options
    QSet<QString> m_valued;     // the options that take a value
    QString m_error;
};

QString generalHelp()
{
    return QStringLiteral(
        "Usage: quorvantel-cli COMMAND [options] SOURCE...\n"
        "Turns video files into index sheets: one picture a video, with its stills.\n"
        "\n"
        "Commands:\n"
        "  sheet SOURCE...   makes the sheets of files and folders\n"
        "  info SOURCE...    shows what is known about each source\n"
        "  plan SOURCE...    shows which pictures a sheet would take\n"
        "  read SHEET...     shows what a sheet tells of itself\n"
        "\n"
        "quorvantel-cli COMMAND --help shows a command's options, --version the version.\n"
        "Exit status: 0 all made or kept, 1 some source skipped or failed, 2 wrong usage,\n"
        "3 cannot work here, 130 stopped by Ctrl-C.\n");
}

QString hintFor(const QString &command)
{
    return command.isEmpty() ? QStringLiteral("Try 'quorvantel-cli --help'.")
                             : QStringLiteral("Try 'quorvantel-cli %1 --help'.").arg(command);
}

// "worker" is what "sheet" starts copies of itself as.
std::optional<Command> workNamed(const QString &word)
{
    static const QHash<QString, Command> commands{{QStringLiteral("sheet"), Command::Sheet},
                                                  {QStringLiteral("info"), Command::Info},
                                                  {QStringLiteral("plan"), Command::Plan},
                                                  {QStringLiteral("read"), Command::Read},
                                                  {QStringLiteral("worker"), Command::Worker}};
    const auto found = commands.constFind(word);
    return found == commands.cend() ? std::nullopt : std::optional(*found);
}

} // namespace

tl::expected<Options, QString> parseOptions(const QStringList &arguments)
{
    const QString word = arguments.value(0);
    Options options;
    if (word == QLatin1String("--help") || word == QLatin1String("-h") ||
        word == QLatin1String("help")) {
        options.helpText = generalHelp();
        return options;
    }
    if (word == QLatin1String("--version")) {
        options.command = Command::Version;
        return options;
    }
    const auto command = workNamed(word);
    if (!command) {
        const QString problem = word.isEmpty() ? QStringLiteral("no command is given")
                                               : QStringLiteral("unknown command '%1'").arg(word);
        return wrong(visibleText(problem) + QLatin1Char('\n') + hintFor({}));
    }
    auto parsed = CommandParser(*command).parse(arguments.mid(1));
    if (!parsed) {
        return wrong(visibleText(parsed.error()) + QLatin1Char('\n') + hintFor(word));
    }
    if (parsed->command == Command::Help) {
        parsed->helpText.replace(QStringLiteral("quorvantel-cli ["),
                                 QStringLiteral("quorvantel-cli %1 [").arg(word));
    }
    return parsed;
}

} // namespace qv
