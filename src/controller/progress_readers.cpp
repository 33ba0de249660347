#include "controller/progress_readers.h"

#include "support/numbers.h"

#include <QRegularExpression>
#include <QStringList>

namespace qv
{
namespace
{

float numberAfter(const QString &chunk, QLatin1String marker)
{
    const qsizetype at = chunk.indexOf(marker);
    return at < 0 ? 0 : floatValue(chunk.mid(at + marker.size()));
}

} // namespace

// frame=   35 fps=0.0 q=2.0 size=N/A time=00:01:30.50 bitrate=N/A speed=2.5x
float timeProgress(const QString &chunk)
{
    const QLatin1String marker("time=");
    const qsizetype at = chunk.indexOf(marker);
    if (at < 0) {
        return 0;
    }
    const QStringList parts =
        chunk.mid(at + marker.size()).section(QLatin1Char(' '), 0, 0).split(QLatin1Char(':'));
    if (parts.size() != 3) {
        return 0;
    }
    return static_cast<float>(doubleValue(parts[0]) * 3600 + doubleValue(parts[1]) * 60 +
                              doubleValue(parts[2]));
}

float percentageProgress(const QString &chunk)
{
    return numberAfter(chunk, QLatin1String("pourcentage    : "));
}

float batchProgress(const QString &chunk)
{
    return numberAfter(chunk, QLatin1String("(batch "));
}

float processingProgress(const QString &chunk)
{
    return numberAfter(chunk, QLatin1String("Processing ("));
}

float ratioProgress(const QString &chunk, float a, float b)
{
    if (a == 0 || b == 0) {
        return 0;
    }
    return numberAfter(chunk, QLatin1String("Enc1")) / a / b * 100;
}

std::optional<ToldPicture> toldPicture(const QString &line)
{
    static const QRegularExpression told(QStringLiteral("image +: (\\d{1,5}) ([\\d.]+)\\b"));
    const QRegularExpressionMatch match = told.match(line);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    return ToldPicture{intValue(match.captured(1)), doubleValue(match.captured(2))};
}

float progressValue(int mode, const QString &chunk)
{
    switch (mode) {
    case FfmpegTime:
        return timeProgress(chunk);
    case Percentage:
    case PercentageQuiet:
        return percentageProgress(chunk);
    case BatchNumber:
        return batchProgress(chunk);
    case ProcessingNumber:
        return processingProgress(chunk);
    default:
        return -1;
    }
}

} // namespace qv
