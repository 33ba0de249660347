#include "analysis/displayed_picture.h"

#include "support/numbers.h"
#include "support/variant_values.h"

#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <numeric>

namespace qv
{
namespace
{

const QString widthKey = QStringLiteral("v0_width");
const QString heightKey = QStringLiteral("v0_height");

// A video stream of the record: its number in the file and its keys without the prefix.
struct VideoStream {
    int id = -1;
    QVariantMap fields;
};

QList<VideoStream> takeVideoStreams(MediaInfoRecord &record)
{
    static const QRegularExpression videoKey(QStringLiteral("^v(\\d+)_([a-zA-Z]+)$"));
    QMap<int, VideoStream> streams;
    for (const QString &key : record.keys()) {
        const QRegularExpressionMatch match = videoKey.match(key);
        if (match.hasMatch()) {
            streams[intValue(match.captured(1))].fields.insert(match.captured(2), record.take(key));
        }
    }
    for (VideoStream &stream : streams) {
        stream.id = intIn(stream.fields, QStringLiteral("id")).value_or(-1);
    }
    return streams.values();
}

void putVideoStream(MediaInfoRecord &record, int index, const VideoStream &stream)
{
    for (auto it = stream.fields.begin(); it != stream.fields.end(); ++it) {
        record.insert(streamKey("v", index, it.key().toLatin1().constData()), it.value());
    }
}

bool isQuarterTurn(double degrees)
{
    // ffmpeg takes what is within a degree of it.
    const double rest = std::fmod(std::abs(degrees), 180.0);
    return std::abs(rest - 90) < 1;
}

enum class Shape { Unknown, AsStored, Turned };

// How the decoded frame lies, compared with the stored picture.
Shape shapeOf(const MediaInfoRecord &record, const DecodedFrame &frame)
{
    const int width = intIn(record, widthKey).value_or(0);
    const int height = intIn(record, heightKey).value_or(0);
    if (width == height || frame.width <= 0 || frame.height <= 0) {
        return Shape::Unknown;
    }
    if (frame.width == height && frame.height == width) {
        return Shape::Turned;
    }
    return frame.width == width && frame.height == height ? Shape::AsStored : Shape::Unknown;
}

bool isTurned(const MediaInfoRecord &record, const Turn &turn, const DecodedFrame &frame)
{
    if (!isQuarterTurn(turn.degrees)) {
        return false;
    }
    const Shape shape = shapeOf(record, frame);
    return shape == Shape::Unknown ? turn.byMatrix : shape == Shape::Turned;
}

// Whole degrees, from 0 to below 360. A report counts those of a matrix the other way.
int clockwise(const Turn &turn)
{
    constexpr int circle = 360;
    const double degrees = std::fmod(turn.byMatrix ? -turn.degrees : turn.degrees, circle);
    const int whole = static_cast<int>(std::lround(degrees));
    return (whole + circle) % circle;
}

void swapSides(MediaInfoRecord &record, const QString &key)
{
    const QStringList sides = stringIn(record, key).split(u':');
    if (sides.size() == 2) {
        record.insert(key, sides[1] + u':' + sides[0]);
    }
}

QString displayAspect(const DecodedFrame &frame)
{
    const QStringList sides = frame.pixelAspect.split(u':');
    const qint64 width = qint64(frame.width) * intValue(sides.value(0));
    const qint64 height = qint64(frame.height) * intValue(sides.value(1));
    const qint64 divisor = std::gcd(width, height);
    return divisor > 0 ? QStringLiteral("%1:%2").arg(width / divisor).arg(height / divisor)
                       : QString();
}

} // namespace

bool hasMovingPicture(const MediaInfoRecord &record, const ReportFacts &facts)
{
    MediaInfoRecord copy = record;
    const QList<VideoStream> streams = takeVideoStreams(copy);
    return std::any_of(streams.begin(), streams.end(), [&](const VideoStream &stream) {
        return !facts.covers.contains(stream.id);
    });
}

void settleVideoStreams(MediaInfoRecord &record, const ReportFacts &facts)
{
    QList<VideoStream> streams = takeVideoStreams(record);
    streams.removeIf([&](const VideoStream &stream) { return facts.covers.contains(stream.id); });
    std::stable_partition(streams.begin(), streams.end(),
                          [&](const VideoStream &stream) { return facts.picked == stream.id; });
    for (qsizetype i = 0; i < streams.size(); ++i) {
        putVideoStream(record, static_cast<int>(i), streams[i]);
    }
}

void turnPicture(MediaInfoRecord &record, const ReportFacts &facts, const DecodedFrame &frame)
{
    const int id = intIn(record, QStringLiteral("v0_id")).value_or(-1);
    const auto turn = facts.turns.constFind(id);
    if (turn == facts.turns.constEnd()) {
        return;
    }
    const bool isSideways = isTurned(record, *turn, frame);
    const int degrees = clockwise(*turn);
    if (degrees > 0 && (turn->byMatrix || isSideways)) {
        record.insert(QStringLiteral("v0_rotation"), degrees);
    }
    if (!isSideways) {
        return;
    }
    if (record.contains(widthKey) && record.contains(heightKey)) {
        std::swap(record[widthKey], record[heightKey]);
    }
    swapSides(record, QStringLiteral("v0_dar"));
    swapSides(record, QStringLiteral("v0_par"));
}

MediaInfoRecord frameRecord(const DecodedFrame &frame)
{
    MediaInfoRecord record;
    if (frame.width > 0 && frame.height > 0) {
        record.insert(widthKey, frame.width);
        record.insert(heightKey, frame.height);
        if (const QString aspect = displayAspect(frame); !aspect.isEmpty()) {
            record.insert(QStringLiteral("v0_dar"), aspect);
            record.insert(QStringLiteral("v0_par"), frame.pixelAspect);
        }
    }
    if (frame.fps > 0) {
        record.insert(QStringLiteral("v0_fps"), static_cast<float>(frame.fps));
    }
    return record;
}

} // namespace qv
