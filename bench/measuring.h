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
    long peakKilobytes = 0; // not below this process's own memory
    int status = -1;        // exit status; 128 when it crashed, -1 when it could not be started
};

// Runs a command with its output thrown away.
Measured run(const QStringList &command);

double median(std::vector<double> values);
// Of that many measurements.
double medianTime(int times, const std::function<double()> &measure);

// Prints the figure with its bound; false when it misses it.
bool atMost(const char *what, double value, double bound);
bool atLeast(const char *what, double value, double bound);

// Of the bundle that the build made.
QString builtCommand();
QString builtTool(const QString &name);

// A bundle in that folder with the built command, whose ffmpeg is the fake tool. Gives the command.
QString commandWithFakeTool(const QString &folder);
// A small picture, which the fake tool gives from now on. False when it can't be made.
bool makeFakePicture(const QString &path);

} // namespace bench
