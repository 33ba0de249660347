#include "analysis/merge_table.h"

#include "support/numbers.h"
#include "support/variant_values.h"

#include <QRegularExpression>
#include <QSet>

#include <vector>

namespace qv
{
namespace
{

using Order = std::vector<Probe>;

struct Trust {
    const char *key; // "v_width" stands for v0_width, v1_width, ...
    Order ffmpegRoad;
    Order movieRoad;
};

constexpr Probe report = Probe::Report;
constexpr Probe frame = Probe::Frame;
constexpr Probe mpeg = Probe::Mpeg;
constexpr Probe recorder = Probe::Recorder;
constexpr Probe movie = Probe::Movie;
constexpr Probe offsets = Probe::Offsets;

// A report knows the container and all streams. The decoded frame is what the pictures will be, but
// of it only the header is known. The MPEG reader knows sequence headers, and time codes of
// elementary streams, of which a report only guesses. The movie framework is believed where it
// makes the pictures.
const std::vector<Trust> &trustTable()
{
    static const std::vector<Trust> table{
        {"wrapper", {report, mpeg, movie}, {report, movie, mpeg}},
        {"w_duration", {report, mpeg, recorder, movie}, {movie, report, mpeg, recorder}},
        {"w_offset", {report, mpeg, movie}, {report, movie, mpeg}},
        {"w_bitrate", {report, movie}, {report, movie}},
        {"w_width", {movie}, {movie}},
        {"w_height", {movie}, {movie}},
        {"w_dar", {movie}, {movie}},
        {"v_codec", {report, mpeg, movie}, {movie, report}},
        {"v_chroma", {report, mpeg, movie}, {report, movie, mpeg}},
        {"v_width", {report, frame, mpeg, movie}, {movie, report, mpeg}},
        {"v_height", {report, frame, mpeg, movie}, {movie, report, mpeg}},
        {"v_par", {report, movie}, {movie, report}},
        {"v_dar", {report, frame, mpeg, movie}, {movie, report, mpeg}},
        {"v_bitrate", {report, mpeg, movie}, {report, movie, mpeg}},
        {"v_fps", {report, frame, mpeg, movie}, {movie, report, mpeg}},
        // ffmpeg's decoder sees the flags of real frames; a header only whether all are
        // progressive.
        {"v_fields", {frame, movie, mpeg}, {movie, frame, mpeg}},
        {"a_codec", {report, movie}, {report, movie}},
        {"a_rate", {report, movie}, {report, movie}},
        {"a_channels", {report, movie}, {report, movie}},
    };
    return table;
}

// Keys that are in no line of the table come from whichever probe has them.
const Trust &trustOf(const QString &generalKey)
{
    static const Trust anyOther{"",
                                {report, frame, mpeg, recorder, movie, offsets},
                                {report, movie, frame, mpeg, recorder, offsets}};
    for (const Trust &trust : trustTable()) {
        if (generalKey == QLatin1String(trust.key)) {
            return trust;
        }
    }
    return anyOther;
}

// "v12_width" gives "v_width".
QString generalKey(const QString &key)
{
    static const QRegularExpression number(QStringLiteral("^([vas])\\d+_"));
    QString general = key;
    return general.replace(number, QStringLiteral("\\1_"));
}

bool isAspect(const QString &text)
{
    const QStringList sides = text.split(u':');
    return sides.size() == 2 && intValue(sides[0]) > 0 && intValue(sides[1]) > 0;
}

bool isPositive(const QVariant &value)
{
    return numberValue(value).value_or(0) > 0;
}

bool isGiven(const QString &generalKey, const QVariant &value)
{
    static const QSet<QString> positive{QStringLiteral("w_duration"), QStringLiteral("w_width"),
                                        QStringLiteral("w_height"),   QStringLiteral("v_width"),
                                        QStringLiteral("v_height"),   QStringLiteral("v_fps")};
    static const QSet<QString> aspects{QStringLiteral("w_dar"), QStringLiteral("v_dar"),
                                       QStringLiteral("v_par")};
    if (positive.contains(generalKey)) {
        return isPositive(value);
    }
    return aspects.contains(generalKey) ? isAspect(value.toString()) : value.isValid();
}

QSet<QString> allKeys(const QMap<Probe, MediaInfoRecord> &probes)
{
    QSet<QString> keys;
    for (const MediaInfoRecord &record : probes) {
        for (auto it = record.begin(); it != record.end(); ++it) {
            keys.insert(it.key());
        }
    }
    return keys;
}

QVariant trustedValue(const QString &key, const QMap<Probe, MediaInfoRecord> &probes, Road road)
{
    const QString general = generalKey(key);
    const Trust &trust = trustOf(general);
    for (const Probe probe : road == Road::Ffmpeg ? trust.ffmpegRoad : trust.movieRoad) {
        const QVariant value = probes.value(probe).value(key);
        if (isGiven(general, value)) {
            return value;
        }
    }
    return {};
}

} // namespace

MediaInfoRecord mergeByTrust(const QMap<Probe, MediaInfoRecord> &probes, Road road)
{
    MediaInfoRecord merged;
    for (const QString &key : allKeys(probes)) {
        const QVariant value = trustedValue(key, probes, road);
        if (value.isValid()) {
            merged.insert(key, value);
        }
    }
    return merged;
}

} // namespace qv
