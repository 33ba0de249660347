#include "rows.h"

#include "measuring.h"

#include <QDir>
#include <QFile>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace bench
{
namespace
{

[[noreturn]] void endWithUsage(const char *program, const QStringList &flags)
{
    std::fprintf(stderr, "usage: %s [--list] [--row NAME]... [--rounds N]", program);
    for (const QString &flag : flags) {
        std::fprintf(stderr, " [%s]", qUtf8Printable(flag));
    }
    std::fprintf(stderr, " FOLDER\n");
    std::exit(2);
}

bool takeOption(Options &options, QStringList &words, const QStringList &flags)
{
    const QString word = words.takeFirst();
    if (word == QLatin1String("--list")) {
        options.lists = true;
    } else if (word == QLatin1String("--row") && !words.isEmpty()) {
        options.rows.append(words.takeFirst());
    } else if (word == QLatin1String("--rounds") && !words.isEmpty()) {
        options.rounds = words.takeFirst().toInt();
    } else if (flags.contains(word)) {
        options.flags.append(word);
    } else if (options.folder.isEmpty() && !word.startsWith(QLatin1Char('-'))) {
        options.folder = QDir(word).absolutePath();
    } else {
        return false;
    }
    return options.rounds > 0;
}

bool isKnown(const std::vector<Row> &rows, const QString &name)
{
    return std::any_of(rows.begin(), rows.end(), [&](const Row &row) { return row.name == name; });
}

} // namespace

Options readOptions(int argc, char **argv, const QStringList &flags)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    Options options;
    QStringList words;
    for (int i = 1; i < argc; ++i) {
        words.append(QFile::decodeName(argv[i]));
    }
    while (!words.isEmpty()) {
        if (!takeOption(options, words, flags)) {
            endWithUsage(argv[0], flags);
        }
    }
    if (options.folder.isEmpty() && !options.lists) {
        endWithUsage(argv[0], flags);
    }
    return options;
}

int runRows(const Options &options, const std::vector<Row> &rows)
{
    for (const QString &name : options.rows) {
        if (!isKnown(rows, name)) {
            std::fprintf(stderr, "no row \"%s\"; --list prints them\n", qUtf8Printable(name));
            return 2;
        }
    }
    bool isGood = true;
    for (const Row &row : rows) {
        if (!options.rows.isEmpty() && !options.rows.contains(row.name)) {
            continue;
        }
        std::printf("%s\n", qUtf8Printable(row.name));
        setRow(row.name);
        isGood = (options.lists || row.measure()) && isGood;
    }
    printTable();
    return isGood ? 0 : 1;
}

} // namespace bench
