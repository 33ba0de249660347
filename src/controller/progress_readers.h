#pragma once

#include <QString>

#include <optional>

// Progress values out of what the tools print.
namespace qv
{

// How a run's output becomes a progress value.
enum ParseMode {
    CollectOutput = -1,
    FfmpegTime = 0,
    NoProgress = 1,
    Percentage = 2,
    BatchNumber = 3,
    ProcessingNumber = 4,
    PercentageQuiet = 5, // as Percentage, but no percent text is shown
    PictureRuns = 6,     // no value; maximum and mode outlive the run
};

// Seconds of "time=hh:mm:ss.ss"; 0 for any other shape.
float timeProgress(const QString &chunk);
// The number after "pourcentage    : ", "(batch ", "Processing ("; 0 when the marker is absent.
float percentageProgress(const QString &chunk);
float batchProgress(const QString &chunk);
float processingProgress(const QString &chunk);
// The number after "Enc1" as value / a / b x 100; 0 when absent or a divisor is 0.
float ratioProgress(const QString &chunk, float a, float b);

// A picture that a tool tells it has taken, in one line ("image          : 3 12.480").
struct ToldPicture {
    int index = 0;
    double seconds = 0; // from the start of the source
};
std::optional<ToldPicture> toldPicture(const QString &line);

// By mode; -1 for the modes without progress.
float progressValue(int mode, const QString &chunk);

} // namespace qv
