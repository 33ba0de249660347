#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// The command line of a benchmark with several rows:
//
//   PROGRAM [--list] [--row NAME]... [--rounds N] [FLAG]... FOLDER
namespace bench
{

struct Row {
    QString name;
    std::function<bool()> measure; // false when it misses a bound or fails
};

struct Options {
    QString folder;   // for clips; made when missing
    QStringList rows; // to run; empty: all
    int rounds = 5;   // of what is compared
    bool lists = false;
    QStringList flags;
};

// Ends the process with status 2 when the command line is wrong. `flags` are the program's own.
Options readOptions(int argc, char **argv, const QStringList &flags = {});

// Runs the rows that were asked for, prints the table of their figures, and gives the exit status:
// 0 when all are good, 1 when one is not, 2 when a row is unknown.
int runRows(const Options &options, const std::vector<Row> &rows);

} // namespace bench
