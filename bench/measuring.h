#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// What the benchmarks share: running programs, medians, and figures with their bounds.
namespace bench
{

struct Measured {
    double milliseconds = 0;
    double processorMilliseconds = 0; // user and system, with all children that were waited for
    long peakKilobytes = 0;           // not below this process's own memory
    int status = -1; // exit status; 128 when it crashed, -1 when it could not be started
};

// Runs a command with its output thrown away.
Measured run(const QStringList &command);

double median(std::vector<double> values);
// Of that many measurements.
double medianTime(int times, const std::function<double()> &measure);

// The row that the next figures belong to.
void setRow(const QString &name);
// Prints the figure with its bound and keeps it for the table; false when it misses the bound.
bool atMost(const QString &what, double value, double bound);
bool atLeast(const QString &what, double value, double bound);
// The same for a quotient. `unit` is that of both values.
bool ratioAtMost(const QString &what, double over, double under, const char *unit, double bound);
// A figure without a bound.
void note(const QString &what, const QString &figure);
// Prints all figures so far, if any, as a Markdown table.
void printTable();

// Of the bundle that the build made.
QString builtCommand();
QString builtTool(const QString &name);

// A bundle in that folder with the built command, whose ffmpeg is the fake tool. Gives the command.
QString commandWithFakeTool(const QString &folder);
// A small picture, which the fake tool gives from now on. False when it can't be made.
bool makeFakePicture(const QString &path);

} // namespace bench
