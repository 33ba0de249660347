#pragma once

#include "controller/admission.h"
#include "sheet/layout.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <tl/expected.hpp>

#include <optional>

// The command line, understood.
namespace qv
{

enum class Command { Sheet, Info, Plan, Read, Help, Version, Worker };

// The K-th of N parts of the list of sources.
struct Shard {
    int part = 1; // from 1
    int parts = 1;
};

struct Options {
    Command command = Command::Help;
    QString helpText; // of Help
    QStringList sources;
    QStringList from; // files that list more of them; "-": standard input

    QString output; // empty: the preferences' destination
    SheetLayout layout = SheetLayout::Medium;
    std::optional<int> count;
    std::optional<int> pictureChoice; // 0 JPEG, 1 PNG
    bool replace = false;
    bool update = false;  // replaces a sheet that a new one would differ from
    bool noPaths = false; // in what the sheets tell of themselves
    bool quick = false;   // key pictures near the instants
    bool strict = false;  // damaged sources are refused
    bool noTimecode = false;
    std::optional<QSet<QString>> captions; // of captionSwitches()
    QString background;                    // colour texts; empty: the preference
    QString borderColor;
    std::optional<double> borderSize;

    int jobs = 1; // sources worked on at a time
    std::optional<Shard> shard;
    QStringList sheetArguments; // what of the command line a copy of the command needs

    bool json = false;
    bool print0 = false; // sheets' paths end with NUL bytes
    QString logFile;
    bool verbose = false;
    bool quiet = false;
    std::optional<double> hangTimeout; // seconds
    bool noConfinement = false;
};

// `arguments` without the program's name. The error says what is wrong and where help is.
tl::expected<Options, QString> parseOptions(const QStringList &arguments);

} // namespace qv
