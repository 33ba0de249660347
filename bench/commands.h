#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

// The commands that the benchmarks compare.
namespace bench
{

// What `plan --json` says of a source, for a sheet of 15 pictures.
struct Plan {
    QString source;
    int width = 0; // of a still, pixels
    int height = 0;
    int count = 0;                // of pictures; 0 when there is no plan
    double interval = 0;          // seconds
    std::vector<double> instants; // seconds
    QList<QStringList> commands;  // of the stills, in order
};

// With a message when there is no plan.
Plan planOf(const QString &source);

// Sheets of 15 pictures, made anew.
QStringList sheetCommand(const QStringList &sources, const QString &folder,
                         const QStringList &options = {});
QStringList infoCommand(const QString &source, const QStringList &options = {});

// A shell script that runs the plan's commands one after the other, the stills into `folder`.
QStringList planLoop(const Plan &plan, const QString &folder, const QString &name);
// The same for many plans, with that many of these scripts at a time.
QStringList planLoops(const std::vector<Plan> &plans, const QString &folder, int atOnce);

// The shell script with one ffmpeg run for each instant that somebody writes without looking for
// key pictures.
QStringList seekLoop(const Plan &plan, const QString &folder);

enum class Decodes { KeyPictures, All };
// The ffmpeg run that tiles a sheet by itself.
QStringList tileCommand(const Plan &plan, Decodes what, const QString &picture);
// The first picture of a source, by ffmpeg.
QStringList firstPicture(const QString &source, const QString &picture);

// The width of the stills that a quick sheet of three columns, as JPEG, asks for, and the height.
constexpr int usefulWidth = 628;
int usefulHeight(const Plan &plan);
// The program of quick_loop.cpp, for such stills.
QStringList libraryLoop(const Plan &plan);

} // namespace bench
