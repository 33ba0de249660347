#include "controller/preview.h"

#include "process/tool_environment.h"
#include "sheet/picture_attempts.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/variant_values.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

// Bytes that leave room for an extension and a random number in the longest name that common file
// systems take.
constexpr int stemLimit = 220;

QString startOffset(const MediaInfoRecord &record)
{
    const double duration = numberIn(record, QStringLiteral("w_duration")).value_or(0);
    for (const int offset : previewOffsets()) {
        if (duration > offset) {
            return QString::number(offset);
        }
    }
    return QStringLiteral("0");
}

} // namespace

QList<int> previewOffsets()
{
    return {120, 60, 10, 0};
}

float previewAspect(const MediaInfoRecord &record)
{
    if (const QString dar = stringIn(record, QStringLiteral("v0_dar")); !dar.isNull()) {
        return fractionStr2Float(dar);
    }
    const int width = intIn(record, QStringLiteral("v0_width")).value_or(0);
    const int height = intIn(record, QStringLiteral("v0_height")).value_or(0);
    if (width <= 0 || height <= 0) {
        return 1.77F;
    }
    const float aspect = nbArrondi(static_cast<float>(width) / static_cast<float>(height), 2);
    if (std::abs(aspect - 1.7F) <= 0.1F) {
        return 1.77F;
    }
    return std::abs(aspect - 1.3F) <= 0.1F ? 1.33F : aspect;
}

int previewHeight(float aspect)
{
    if (!(aspect > 0.01F)) {
        return previewWidth;
    }
    return std::max(1, static_cast<int>(static_cast<float>(previewWidth) / aspect));
}

QString proResTestPath()
{
    return appendPath(toolFolder(), QStringLiteral("proresTest.jpg"));
}

QString previewPath(const QString &sourcePath)
{
    QString name = lastPathComponent(sourcePath);
    // ffmpeg takes a "%" in a picture's name for a pattern.
    name.replace(QLatin1Char('%'), QLatin1Char('_'));
    const QString stem = fittedName(withoutExtension(name), QString(), stemLimit);
    const QString plain = appendPath(toolFolder(), stem + QStringLiteral(".jpg"));
    if (!fileExists(plain) && plain != proResTestPath()) {
        return plain;
    }
    const auto random = static_cast<qlonglong>(QRandomGenerator::global()->generate());
    return appendPath(toolFolder(), QStringLiteral("%1_%2.jpg").arg(stem).arg(random));
}

QStringList previewArguments(const MediaInfoRecord &record, const QString &sourcePath,
                             const QString &picturePath, PreviewFrame frame)
{
    const QString selector = frame == PreviewFrame::Intra ? intraSelector() : QString();
    const QString filter =
        selector +
        QStringLiteral("scale=%1:%2").arg(previewWidth).arg(previewHeight(previewAspect(record)));
    QStringList arguments{ffmpegPath(), QStringLiteral("-loglevel"), QStringLiteral("info")};
    if (frame != PreviewFrame::AnyAtStart) {
        arguments << QStringLiteral("-ss") << startOffset(record);
    }
    arguments << QStringLiteral("-t") << QStringLiteral("12") << QStringLiteral("-i") << sourcePath
              << QStringLiteral("-vframes") << QStringLiteral("1") << QStringLiteral("-vf")
              << filter << QStringLiteral("-an") << QStringLiteral("-sn") << QStringLiteral("-y")
              << picturePath;
    return arguments;
}

} // namespace qv
